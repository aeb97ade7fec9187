#include "PictureBox.h"

#include "DialogHost.h"

#include <QEvent>
#include <QFontMetricsF>
#include <QFrame>
#include <QMouseEvent>
#include <QPainter>
#include <QPen>
#include <algorithm>
#include <cmath>

#include "Form.h"

namespace vb {

namespace {

// The raster engine cannot paint on images wider or taller than this, and a canvas above
// the byte limit is refused before the allocator can overcommit memory it cannot give.
constexpr int MaxCanvasSide = 32767;
constexpr qint64 MaxCanvasBytes = qint64(1) << 30;

// A null image when the size is over the limits or the memory is not there.
QImage MakeCanvas(const QSize& size) {
    if (size.isEmpty() || size.width() > MaxCanvasSide || size.height() > MaxCanvasSide) return {};
    if (qint64(size.width()) * size.height() * 4 > MaxCanvasBytes) return {};
    return QImage(size, QImage::Format_RGB32);
}

// Scale positions to whole pixels the way device coordinates are rounded: half up.
int ToWholePixel(double v) {
    if (std::isnan(v)) return 0;
    return static_cast<int>(std::floor(std::clamp(v, -1e9, 1e9) + 0.5));
}

// The pixels from a to b, both corners included, whichever way round they come.
QRect Span(const QPoint& a, const QPoint& b) {
    return QRect(QPoint(std::min(a.x(), b.x()), std::min(a.y(), b.y())),
                 QPoint(std::max(a.x(), b.x()), std::max(a.y(), b.y())));
}

int ButtonCode(Qt::MouseButton button) {
    switch (button) {
    case Qt::LeftButton: return 1;
    case Qt::RightButton: return 2;
    case Qt::MiddleButton: return 4;
    default: return 0;
    }
}

int ButtonsHeld(Qt::MouseButtons buttons) {
    int code = 0;
    if (buttons & Qt::LeftButton) code |= 1;
    if (buttons & Qt::RightButton) code |= 2;
    if (buttons & Qt::MiddleButton) code |= 4;
    return code;
}

int ShiftCode(Qt::KeyboardModifiers mods) {
    int code = 0;
    if (mods & Qt::ShiftModifier) code |= 1;
    if (mods & Qt::ControlModifier) code |= 2;
    if (mods & Qt::AltModifier) code |= 4;
    return code;
}

}  // namespace

// The outer widget: the border, and the watcher of the container when the canvas is bounded.
class PictureFrame : public QFrame {
public:
    explicit PictureFrame(PictureBox* box) : box_(box) {}

protected:
    void resizeEvent(QResizeEvent* event) override {
        QFrame::resizeEvent(event);
        box_->ClientResized();
    }
    void moveEvent(QMoveEvent* event) override {
        QFrame::moveEvent(event);
        if (box_->CanvasBoundedByContainer()) box_->ClientResized();
    }
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Resize) box_->ClientResized();
        return QFrame::eventFilter(watched, event);
    }

private:
    PictureBox* box_;
};

// The client area: origin of the scale, parent of the child widgets, shows the canvas.
class PictureClient : public QWidget {
public:
    PictureClient(PictureBox* box, QWidget* parent) : QWidget(parent), box_(box) {
        setAttribute(Qt::WA_OpaquePaintEvent);
        setMouseTracking(true);
    }

protected:
    void paintEvent(QPaintEvent* event) override {
        QPainter painter(this);
        box_->PaintClient(painter, event->rect());
    }
    void mousePressEvent(QMouseEvent* event) override {
        if (box_->OnMouseDown) Fire(box_->OnMouseDown, ButtonCode(event->button()), event);
    }
    void mouseMoveEvent(QMouseEvent* event) override {
        if (box_->OnMouseMove) Fire(box_->OnMouseMove, ButtonsHeld(event->buttons()), event);
    }
    void mouseReleaseEvent(QMouseEvent* event) override {
        if (box_->OnMouseUp) Fire(box_->OnMouseUp, ButtonCode(event->button()), event);
    }

private:
    void Fire(const std::function<void(int, int, float, float)>& handler, int button, QMouseEvent* event) {
        const QPointF pos = event->position();
        const int shift = ShiftCode(event->modifiers());
        const auto x = static_cast<float>(box_->FromPixelX(pos.x()));
        const auto y = static_cast<float>(box_->FromPixelY(pos.y()));
        RunEvent([&] { handler(button, shift, x, y); });
    }
    PictureBox* box_;
};

PictureBox::PictureBox(Form& form, ContainerBase* container, const QString& name, int index, bool pixelScale,
                       bool border)
    : Control(form, container, name, index) {
    scaleMode_ = pixelScale ? Pixels : Twips;
    unitsPerPixelX_ = unitsPerPixelY_ = pixelScale ? 1.0 : 15.0;
    borderStyle_ = border ? 1 : 0;
    auto* frame = new PictureFrame(this);
    frame->setFrameStyle(border ? (QFrame::WinPanel | QFrame::Sunken) : QFrame::NoFrame);
    outer_ = frame;
    client_ = new PictureClient(this, frame);
    PlaceClient();
    AttachWidget();
}

PictureBox::~PictureBox() {
    // Gone while the box is whole, so no event of the frame reaches a half-destroyed box.
    // The container's widget may have taken the frame with it already.
    delete outer_.data();
}

QWidget* PictureBox::Widget() const { return outer_.data(); }

QWidget* PictureBox::ClientWidget() const { return client_; }

void PictureBox::SetEnabled(bool enabled) {
    Control::SetEnabled(enabled);
    if (outer_) outer_->setAttribute(Qt::WA_TransparentForMouseEvents, !enabled);
}

void PictureBox::SetAlign(int align) {
    if (align < 0 || align > 4) Raise(ErrInvalidPropertyValue);
    if (align == align_) return;
    align_ = align;
    // Docking changes at once, as it does when the value is set at run time.
    ParentForm().LayoutAligned();
}

void PictureBox::SetBorderStyle(int style) {
    borderStyle_ = style ? 1 : 0;
    static_cast<QFrame*>(outer_.data())
        ->setFrameStyle(borderStyle_ ? (QFrame::WinPanel | QFrame::Sunken) : QFrame::NoFrame);
    PlaceClient();
    ClientResized();
}

// ---- Scale ----

void PictureBox::SetScaleMode(int mode) {
    switch (mode) {
    case User: ToUserScale(); break;
    case Twips:
        scaleMode_ = Twips;
        scaleLeft_ = scaleTop_ = 0;
        unitsPerPixelX_ = unitsPerPixelY_ = 15.0;
        break;
    case Pixels:
        scaleMode_ = Pixels;
        scaleLeft_ = scaleTop_ = 0;
        unitsPerPixelX_ = unitsPerPixelY_ = 1.0;
        break;
    default: Raise(ErrInvalidPropertyValue);
    }
    ScaleChanged();
}

double PictureBox::ScaleLeft() const { return scaleLeft_; }
double PictureBox::ScaleTop() const { return scaleTop_; }
double PictureBox::ScaleWidth() const { return ClientPixelWidth() * unitsPerPixelX_; }
double PictureBox::ScaleHeight() const { return ClientPixelHeight() * unitsPerPixelY_; }

void PictureBox::SetScaleLeft(double v) {
    ToUserScale();
    scaleLeft_ = v;
    ScaleChanged();
}

void PictureBox::SetScaleTop(double v) {
    ToUserScale();
    scaleTop_ = v;
    ScaleChanged();
}

void PictureBox::SetScaleWidth(double v) {
    if (v == 0 || !std::isfinite(v)) Raise(ErrInvalidPropertyValue);
    ToUserScale();
    unitsPerPixelX_ = v / std::max(1, ClientPixelWidth());
    ScaleChanged();
}

void PictureBox::SetScaleHeight(double v) {
    if (v == 0 || !std::isfinite(v)) Raise(ErrInvalidPropertyValue);
    ToUserScale();
    unitsPerPixelY_ = v / std::max(1, ClientPixelHeight());
    ScaleChanged();
}

void PictureBox::ToUserScale() { scaleMode_ = User; }

void PictureBox::ScaleChanged() {
    PlaceChildren();
    client_->update();
}

int PictureBox::ClientPixelWidth() const { return client_->width(); }
int PictureBox::ClientPixelHeight() const { return client_->height(); }

double PictureBox::ToPixelX(double x) const { return (x - scaleLeft_) / unitsPerPixelX_; }
double PictureBox::ToPixelY(double y) const { return (y - scaleTop_) / unitsPerPixelY_; }
double PictureBox::ToPixelW(double w) const { return w / unitsPerPixelX_; }
double PictureBox::ToPixelH(double h) const { return h / unitsPerPixelY_; }
double PictureBox::FromPixelX(double px) const { return scaleLeft_ + px * unitsPerPixelX_; }
double PictureBox::FromPixelY(double py) const { return scaleTop_ + py * unitsPerPixelY_; }
double PictureBox::FromPixelW(double pw) const { return pw * unitsPerPixelX_; }
double PictureBox::FromPixelH(double ph) const { return ph * unitsPerPixelY_; }

// ---- Geometry ----

void PictureBox::ApplyGeometry() {
    if (!outer_ || !container_) return;
    Control::ApplyGeometry();
    // A hidden frame gets its resize event only when shown, so the client follows here.
    PlaceClient();
    ClientResized();
}

void PictureBox::PlaceClient() {
    if (!outer_) return;
    const int b = static_cast<QFrame*>(outer_.data())->frameWidth();
    client_->setGeometry(b, b, std::max(0, outer_->width() - 2 * b), std::max(0, outer_->height() - 2 * b));
}

void PictureBox::ClientResized() {
    UpdateCanvasRect();
    client_->update();
}

void PictureBox::SetCanvasBoundedByContainer(bool on) {
    if (on == bounded_) return;
    bounded_ = on;
    QWidget* area = container_ ? container_->ClientWidget() : nullptr;
    if (area && outer_) {
        if (on)
            area->installEventFilter(outer_);
        else
            area->removeEventFilter(outer_);
    }
    ClientResized();
}

void PictureBox::UpdateCanvasRect() {
    QRect r(0, 0, ClientPixelWidth(), ClientPixelHeight());
    if (bounded_ && container_ && outer_) {
        if (QWidget* area = container_->ClientWidget()) {
            QPoint origin = outer_->parentWidget() == area
                                ? outer_->pos()
                                : QPoint(qRound(container_->ToPixelX(left_)), qRound(container_->ToPixelY(top_)));
            origin += client_->pos();
            r &= QRect(-origin, area->size());
        }
    }
    if (r.isEmpty()) r = QRect();
    if (r == canvasRect_) return;

    const QRect oldRect = canvasRect_;
    QImage old = std::move(canvas_);
    canvas_ = QImage();
    canvasRect_ = r;
    // A canvas nobody has drawn on yet stays unmade; one that has keeps what overlaps.
    if (old.isNull() || r.isEmpty()) return;
    QImage next = MakeCanvas(r.size());
    if (next.isNull()) return;  // the next drawing call reports it
    FillBackground(next, r);
    QPainter p(&next);
    p.drawImage(oldRect.topLeft() - r.topLeft(), old);
    p.end();
    canvas_ = std::move(next);
}

// ---- Canvas ----

void PictureBox::FillBackground(QImage& image, const QRect& area) const {
    image.fill(ToQColor(backColor_));
    if (!picture_.isNull()) {
        QPainter p(&image);
        p.drawImage(-area.topLeft(), picture_);
    }
}

bool PictureBox::EnsureCanvas() {
    UpdateCanvasRect();
    if (canvasRect_.isEmpty()) return false;
    if (canvas_.isNull()) {
        QImage image = MakeCanvas(canvasRect_.size());
        if (image.isNull()) Raise(ErrOutOfMemory);
        FillBackground(image, canvasRect_);
        canvas_ = std::move(image);
    }
    return true;
}

QPoint PictureBox::ToCanvas(double x, double y) const {
    return QPoint(ToWholePixel(ToPixelX(x)), ToWholePixel(ToPixelY(y))) - canvasRect_.topLeft();
}

void PictureBox::Changed(const QRect& canvasArea) { client_->update(canvasArea.translated(canvasRect_.topLeft())); }

void PictureBox::SetAutoRedraw(bool on) { autoRedraw_ = on; }

void PictureBox::SetAutoSize(bool on) {
    autoSize_ = on;
    if (on && !picture_.isNull()) SetPicture(picture_);
}

void PictureBox::SetPicture(const QImage& picture) {
    picture_ = picture;
    // The picture replaces whatever was drawn; the canvas is made again from it when needed.
    canvas_ = QImage();
    if (autoSize_ && !picture_.isNull() && container_) {
        const int b = 2 * static_cast<QFrame*>(outer_.data())->frameWidth();
        width_ = container_->FromPixelW(picture_.width() + b);
        height_ = container_->FromPixelH(picture_.height() + b);
        ApplyGeometry();
    }
    client_->update();
}

QImage PictureBox::GetImage() const {
    auto* self = const_cast<PictureBox*>(this);
    self->UpdateCanvasRect();
    if (!video_.isNull()) {
        // Only the video frame is seen, so that is the image; scaled as the screen has it.
        const QSize client(ClientPixelWidth(), ClientPixelHeight());
        if (client.isEmpty()) return {};
        if (video_.size() == client) return video_;
        const bool reduced = client.width() < video_.width() || client.height() < video_.height();
        return video_.scaled(client, Qt::IgnoreAspectRatio,
                             reduced ? Qt::SmoothTransformation : Qt::FastTransformation);
    }
    // A picture nothing was drawn over, filling the box, is the image itself: no copy.
    if (canvas_.isNull() && !picture_.isNull() && canvasRect_ == QRect(QPoint(), picture_.size())) return picture_;
    if (!self->EnsureCanvas()) return {};
    return canvas_;
}

void PictureBox::SetBackColor(uint32_t color) {
    Control::SetBackColor(color);
    client_->update();
}

void PictureBox::RepaintOverlay(const QRect& area) { client_->update(area & client_->rect()); }

void PictureBox::PaintClient(QPainter& painter, const QRect& dirty) {
    if (!video_.isNull()) {
        const QRect client(0, 0, ClientPixelWidth(), ClientPixelHeight());
        const bool reduced = client.width() < video_.width() || client.height() < video_.height();
        painter.setRenderHint(QPainter::SmoothPixmapTransform, reduced);
        painter.drawImage(client, video_);
        painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
    } else {
        painter.fillRect(dirty, ToQColor(backColor_));
        if (!canvas_.isNull()) {
            const QRect shown = dirty & canvasRect_;
            if (!shown.isEmpty()) painter.drawImage(shown, canvas_, shown.translated(-canvasRect_.topLeft()));
        } else if (!picture_.isNull()) {
            painter.drawImage(QPoint(0, 0), picture_);
        }
    }
    painter.setRenderHint(QPainter::Antialiasing, false);
    for (Control* child : Children) {
        if (!child->Visible()) continue;
        painter.save();
        if (auto* item = dynamic_cast<OverlayItem*>(child)) item->Paint(painter);
        painter.restore();
    }
}

// ---- Drawing ----

namespace {

QPen DrawPen(uint32_t color, int width) {
    return QPen(ToQColor(color), std::max(1, width), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
}

}  // namespace

void PictureBox::Cls() {
    CurrentX = ScaleLeft();
    CurrentY = ScaleTop();
    UpdateCanvasRect();
    // Without a canvas nothing was drawn; the next drawing makes it from background and picture.
    if (canvas_.isNull() || canvasRect_.isEmpty()) return;
    FillBackground(canvas_, canvasRect_);
    client_->update();
}

void PictureBox::Line(double x1, double y1, double x2, double y2, uint32_t color) {
    if (EnsureCanvas()) {
        const QPoint a = ToCanvas(x1, y1), b = ToCanvas(x2, y2);
        QPainter p(&canvas_);
        p.setPen(DrawPen(color, DrawWidth));
        // Both end points are drawn, as a one-pixel segment when they meet.
        if (a == b)
            p.drawPoint(a);
        else
            p.drawLine(a, b);
        const int m = std::max(1, DrawWidth);
        Changed(Span(a, b).adjusted(-m, -m, m, m));
    }
    CurrentX = x2;
    CurrentY = y2;
}

void PictureBox::LineBox(double x1, double y1, double x2, double y2, uint32_t color, bool filled) {
    if (EnsureCanvas()) {
        // Both corners belong to the box: (X-1,Y-1)-(X+1,Y+1) is three pixels square.
        const QRect box = Span(ToCanvas(x1, y1), ToCanvas(x2, y2));
        QPainter p(&canvas_);
        const int m = std::max(1, DrawWidth);
        if (filled || (m == 1 && (box.width() <= 2 || box.height() <= 2))) {
            p.fillRect(box, ToQColor(color));
        } else {
            QPen pen = DrawPen(color, DrawWidth);
            pen.setJoinStyle(Qt::MiterJoin);
            p.setPen(pen);
            p.drawRect(QRect(box.topLeft(), box.size() - QSize(1, 1)));
        }
        Changed(box.adjusted(-m, -m, m, m));
    }
    CurrentX = x2;
    CurrentY = y2;
}

void PictureBox::Circle(double x, double y, double radius, uint32_t color) {
    if (EnsureCanvas()) {
        const QPoint c = ToCanvas(x, y);
        // The radius is in X units and the circle is round on the screen.
        const double r = std::min(std::abs(ToPixelW(radius)), 1e7);
        QPainter p(&canvas_);
        p.setPen(DrawPen(color, DrawWidth));
        p.drawEllipse(QPointF(c), r, r);
        const int m = static_cast<int>(std::ceil(r)) + std::max(1, DrawWidth);
        Changed(QRect(c - QPoint(m, m), c + QPoint(m, m)));
    }
    CurrentX = x;
    CurrentY = y;
}

void PictureBox::Print(const QString& text) {
    const QFontMetricsF fm(Font());
    QString body = text;
    body.remove(QLatin1Char('\r'));
    const QStringList lines = body.split(QLatin1Char('\n'));
    const bool drawable = EnsureCanvas();
    for (const QString& line : lines) {
        if (drawable && !line.isEmpty()) {
            const QPoint at = ToCanvas(CurrentX, CurrentY);
            QPainter p(&canvas_);
            p.setFont(Font());
            p.setPen(ToQColor(ForeColor()));
            p.drawText(QPointF(at.x(), at.y() + fm.ascent()), line);
            Changed(QRect(at, QSize(int(std::ceil(fm.horizontalAdvance(line))) + 2, int(std::ceil(fm.height())) + 1)));
        }
        CurrentX = ScaleLeft();
        CurrentY += FromPixelH(fm.height());
    }
}

int PictureBox::failNextPaints_ = 0;

void PictureBox::FailNextPaints(int n) { failNextPaints_ = n; }

void PictureBox::PaintPicture(const QImage& src, double x, double y, double w, double h) {
    PaintPicture(src, x, y, w, h, 0, 0, src.width(), src.height());
}

void PictureBox::PaintPicture(const QImage& src, double x, double y, double w, double h, double sx, double sy,
                              double sw, double sh) {
    if (failNextPaints_ > 0) {
        --failNextPaints_;
        Raise(ErrOutOfMemory);
    }
    if (src.isNull() || !EnsureCanvas()) return;
    // The far edges are exclusive: w units cover exactly the pixels they map to.
    const QRect target = Span(ToCanvas(x, y), ToCanvas(x + w, y + h)).adjusted(0, 0, -1, -1);
    const QRectF source = QRectF(sx, sy, sw, sh).normalized();
    if (target.isEmpty() || source.isEmpty()) return;
    QPainter p(&canvas_);
    // Enlarged pictures keep sharp pixel edges (one picture pixel stays a visible block to
    // measure on); reduced ones are filtered so that thin lines do not vanish.
    const bool reduced = target.width() < source.width() || target.height() < source.height();
    p.setRenderHint(QPainter::SmoothPixmapTransform, reduced);
    p.drawImage(QRectF(target), src, source);
    Changed(target);
}

void PictureBox::ShowVideoFrame(const QImage& frame) {
    if (frame.isNull() && video_.isNull()) return;
    video_ = frame;
    client_->update();
}

double PictureBox::TextWidth(const QString& text) const {
    const QFontMetricsF fm(Font());
    double widest = 0;
    for (const QString& line : QString(text).remove(QLatin1Char('\r')).split(QLatin1Char('\n')))
        widest = std::max(widest, fm.horizontalAdvance(line));
    return FromPixelW(widest);
}

double PictureBox::TextHeight(const QString& text) const {
    const QFontMetricsF fm(Font());
    const auto lines = text.count(QLatin1Char('\n')) + 1;
    return FromPixelH(fm.height() * lines);
}

}  // namespace vb
