#include "Form.h"

#include <QCloseEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QShortcut>
#include <QTimer>
#include <QResizeEvent>
#include <QShowEvent>
#include <algorithm>

#include "DialogHost.h"
#include "PictureBox.h"

namespace vb {

namespace {

constexpr double TwipsPerPixel = 15.0;

struct FlagScope {
    bool& flag;
    explicit FlagScope(bool& f) : flag(f) { flag = true; }
    ~FlagScope() { flag = false; }
};

void Place(PictureBox& box, double left, double top, double width, double height) {
    if (box.Left() != left) box.SetLeft(left);
    if (box.Top() != top) box.SetTop(top);
    if (box.Width() != width) box.SetWidth(width);
    if (box.Height() != height) box.SetHeight(height);
}

}  // namespace

// Without a parent the form is a window of its own; with one it fills a part of it
// (the client of a dialog window).
Form::Form(const QString& name, QWidget* parent) : QWidget(parent), name_(name) { setObjectName(name); }

Form::~Form() {
    // Controls go newest first, and before QWidget deletes the child widgets, so a
    // control never outlives its container.
    while (!owned_.empty()) {
        std::unique_ptr<Control> last = std::move(owned_.back());
        owned_.pop_back();
        last.reset();
    }
    Controls.clear();
}

void Form::Register(Control* control) {
    Controls.push_back(control);
    owned_.emplace_back(control);
}

void Form::Unregister(Control* control) {
    Controls.erase(std::remove(Controls.begin(), Controls.end(), control), Controls.end());
    for (auto it = owned_.begin(); it != owned_.end(); ++it) {
        if (it->get() == control) {
            it->release();  // the caller is deleting it, or takes it over
            owned_.erase(it);
            break;
        }
    }
}

Control* Form::FindControl(const QString& name, int index) const {
    for (Control* c : Controls)
        if (c->Index() == index && c->Name() == name) return c;
    return nullptr;
}

QString Form::Caption() const { return window()->windowTitle(); }

void Form::SetCaption(const QString& caption) {
    setWindowTitle(caption);
    if (!isWindow()) window()->setWindowTitle(caption);
}

void Form::SetIcon(const QIcon& icon) {
    setWindowIcon(icon);
    if (!isWindow()) window()->setWindowIcon(icon);
}

QSize Form::FrameExtra() const {
    if (!isWindow() || !isVisible()) return {0, 0};
    const QRect outer = frameGeometry(), inner = geometry();
    return {std::max(0, outer.width() - inner.width()), std::max(0, outer.height() - inner.height())};
}

double Form::Width() const { return (width() + FrameExtra().width()) * TwipsPerPixel; }

double Form::Height() const { return (height() + FrameExtra().height()) * TwipsPerPixel; }

void Form::SetWidth(double twips) {
    if (WindowState() != 0) Raise(ErrCantSizeMinMax);
    if (twips < 0) Raise(ErrInvalidPropertyValue);
    const int client = std::max(0, qRound(twips / TwipsPerPixel) - FrameExtra().width());
    resize(client, height());
    // A shown window has had its resize event inside resize(); a hidden one gets it only
    // when shown, but the logic counts on Resize inside the statement.
    LayoutAligned();
    FireResize();
}

void Form::SetHeight(double twips) {
    if (WindowState() != 0) Raise(ErrCantSizeMinMax);
    if (twips < 0) Raise(ErrInvalidPropertyValue);
    const int client = std::max(0, qRound(twips / TwipsPerPixel) - FrameExtra().height());
    resize(width(), client);
    LayoutAligned();
    FireResize();
}

double Form::ScaleWidth() const { return width() * TwipsPerPixel; }

double Form::ScaleHeight() const { return height() * TwipsPerPixel; }

void Form::SetClientSize(double widthTwips, double heightTwips) {
    const QSize size(qRound(widthTwips / TwipsPerPixel), qRound(heightTwips / TwipsPerPixel));
    resize(size);
    // A dialog window without a layout takes the size of the form it holds.
    QWidget* win = window();
    if (win != this && parentWidget() == win && !win->layout()) win->resize(size);
    LayoutAligned();
    lastReported_ = size;
}

int Form::WindowState() const {
    const Qt::WindowStates state = window()->windowState();
    if (state & Qt::WindowMinimized) return 1;
    if (state & (Qt::WindowMaximized | Qt::WindowFullScreen)) return 2;
    return 0;
}

void Form::SetWindowState(int state) {
    static const Qt::WindowState states[] = {Qt::WindowNoState, Qt::WindowMinimized, Qt::WindowMaximized};
    if (state < 0 || state > 2) Raise(ErrInvalidPropertyValue);
    window()->setWindowState(states[state]);
}

void Form::FireResize(bool force) {
    const QSize now = size();
    if (!force && now == lastReported_) return;
    // Recorded first: a handler that sets Width or Height fires Resize again, inside it.
    lastReported_ = now;
    if (!OnResize) return;
    RunEvent(OnResize);
    // The handler sizes the aligned areas (a right-hand area's Width); they dock again.
    LayoutAligned();
}

void Form::LayoutAligned() {
    if (inLayout_) return;  // setting an aligned box's size asks for the layout again
    const FlagScope guard(inLayout_);
    std::vector<PictureBox*> boxes;
    for (Control* c : Controls) {
        if (c->Container() != static_cast<ContainerBase*>(this)) continue;
        auto* box = dynamic_cast<PictureBox*>(c);
        // A hidden area takes no room.
        if (box && box->Align() != 0 && box->Visible()) boxes.push_back(box);
    }
    const double clientW = ScaleWidth(), clientH = ScaleHeight();
    double top = 0, bottom = clientH;
    for (PictureBox* b : boxes) {
        if (b->Align() != 1) continue;
        Place(*b, 0, top, clientW, b->Height());
        top += b->Height();
    }
    for (PictureBox* b : boxes) {
        if (b->Align() != 2) continue;
        bottom -= b->Height();
        Place(*b, 0, bottom, clientW, b->Height());
    }
    const double sideH = std::max(0.0, bottom - top);
    double left = 0, right = clientW;
    for (PictureBox* b : boxes) {
        if (b->Align() != 3) continue;
        Place(*b, left, top, b->Width(), sideH);
        left += b->Width();
    }
    for (PictureBox* b : boxes) {
        if (b->Align() != 4) continue;
        right -= b->Width();
        Place(*b, right, top, b->Width(), sideH);
    }
}

void Form::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    LayoutAligned();
    // Before the first show the size is the design's; Resize comes with the show.
    if (shown_) FireResize();
}

void Form::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (shown_) return;
    shown_ = true;
    lastState_ = WindowState();
    LayoutAligned();
    FireResize(true);
}

void Form::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() != QEvent::WindowStateChange) return;
    const int state = WindowState();
    if (state == lastState_) return;
    const int before = lastState_;
    lastState_ = state;
    if (!shown_) return;
    // Minimizing and restoring leave the size alone, so they fire on their own; between
    // normal and maximized the size changes and fires (once) when it has.
    if (before == 1 || state == 1) {
        LayoutAligned();
        FireResize(true);
    } else {
        FireResize();
    }
}

void Form::closeEvent(QCloseEvent* event) {
    if (unloaded_ || inUnload_) {
        event->accept();
        return;
    }
    bool unloaded = false;
    RunEvent([&] { unloaded = RunUnload(vbFormControlMenu); });
    if (unloaded)
        event->accept();
    else
        event->ignore();
}

bool Form::RunUnload(int mode) {
    if (mode == vbFormControlMenu && !controlBox_) return false;
    const FlagScope guard(inUnload_);
    bool cancel = false;
    if (OnQueryUnload) OnQueryUnload(cancel, mode);
    if (cancel) return false;
    if (OnUnload) OnUnload(cancel);
    if (cancel) return false;
    unloaded_ = true;
    return true;
}

bool Form::Unload() {
    if (unloaded_) return true;
    if (inUnload_) return false;
    if (!RunUnload(vbFormCode)) return false;
    // The handlers have run; the close events that follow only let the window go.
    if (isWindow())
        close();
    else
        window()->close();
    return true;
}

void Form::AddKey(const QKeySequence& key, std::function<void()> handler) {
    auto* shortcut = new QShortcut(key, this);
    shortcut->setContext(Qt::WindowShortcut);
    QObject::connect(shortcut, &QShortcut::activated, this, [this, key] { PressKey(key); });
    keys_.emplace_back(key, std::move(handler));
}

bool Form::PressKey(const QKeySequence& key) {
    for (const auto& [k, handler] : keys_) {
        if (k != key) continue;
        RunEvent(handler);
        return true;
    }
    return false;
}

void Form::AcceptFileDrops(std::function<bool()> allowed, std::function<void(const QString& path)> open) {
    dropAllowed_ = std::move(allowed);
    dropOpen_ = std::move(open);
    setAcceptDrops(true);
}

QString Form::DroppableFile(const QMimeData* mime) const {
    if (!mime || !dropOpen_ || !mime->hasUrls() || mime->urls().size() != 1) return {};
    const QUrl url = mime->urls().first();
    if (!url.isLocalFile()) return {};
    if (dropAllowed_ && !dropAllowed_()) return {};
    return url.toLocalFile();
}

bool Form::DropFile(const QMimeData* mime) {
    const QString path = DroppableFile(mime);
    if (path.isEmpty()) return false;
    RunEvent([&] { dropOpen_(path); });
    return true;
}

void Form::dragEnterEvent(QDragEnterEvent* event) {
    if (!DroppableFile(event->mimeData()).isEmpty()) event->acceptProposedAction();
}

void Form::dragMoveEvent(QDragMoveEvent* event) {
    if (!DroppableFile(event->mimeData()).isEmpty()) event->acceptProposedAction();
}

void Form::dropEvent(QDropEvent* event) {
    const QString path = DroppableFile(event->mimeData());
    if (path.isEmpty()) return;
    event->acceptProposedAction();
    // Opened once the drop has ended, so the program the file came from is not kept
    // waiting behind a question box.
    QTimer::singleShot(0, this, [this, path] { RunEvent([&] { dropOpen_(path); }); });
}

}  // namespace vb
