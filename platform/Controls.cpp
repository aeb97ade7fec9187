#include "Controls.h"

#include <QApplication>
#include <QComboBox>
#include <QFileInfo>
#include <QFontMetrics>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QMouseEvent>
#include <QPainter>
#include <QSignalBlocker>
#include <QSlider>
#include <QStyleOptionButton>
#include <QStylePainter>
#include <QTimer>
#include <QToolButton>
#include <QValidator>
#include <algorithm>
#include <cmath>

#include "ControlSupport.h"
#include "DialogHost.h"
#include "Form.h"

namespace vb {

using namespace detail;

namespace {

constexpr int IconPixels = 32;

QFont InitialFont(Form& form, ContainerBase* container) {
    if (auto* holder = dynamic_cast<Control*>(container)) return holder->Font();
    if (container && container->ClientWidget()) return container->ClientWidget()->font();
    return form.font();
}

QColor SystemColor(uint32_t index) {
    const QPalette pal = QGuiApplication::palette();
    switch (index) {
    case 0x00: return pal.color(QPalette::Button);           // scroll bars
    case 0x01: return pal.color(QPalette::Dark);             // desktop
    case 0x02: return pal.color(QPalette::Highlight);        // active title bar
    case 0x03: return pal.color(QPalette::Mid);              // inactive title bar
    case 0x04: return pal.color(QPalette::Window);           // menu bar
    case 0x05: return pal.color(QPalette::Base);             // window background
    case 0x06: return pal.color(QPalette::Shadow);           // window frame
    case 0x07: return pal.color(QPalette::WindowText);       // menu text
    case 0x08: return pal.color(QPalette::Text);             // window text
    case 0x09: return pal.color(QPalette::HighlightedText);  // active title text
    case 0x0A:
    case 0x0B: return pal.color(QPalette::Button);  // borders
    case 0x0C: return pal.color(QPalette::Mid);     // application workspace
    case 0x0D: return pal.color(QPalette::Highlight);
    case 0x0E: return pal.color(QPalette::HighlightedText);
    case 0x0F: return pal.color(QPalette::Button);                    // button face
    case 0x10: return pal.color(QPalette::Dark);                      // button shadow
    case 0x11: return pal.color(QPalette::Disabled, QPalette::Text);  // grey text
    case 0x12: return pal.color(QPalette::ButtonText);
    case 0x13: return pal.color(QPalette::Text);      // inactive title text
    case 0x14: return pal.color(QPalette::Light);     // 3-D highlight
    case 0x15: return pal.color(QPalette::Shadow);    // 3-D dark shadow
    case 0x16: return pal.color(QPalette::Midlight);  // 3-D light
    case 0x17: return pal.color(QPalette::ToolTipText);
    case 0x18: return pal.color(QPalette::ToolTipBase);
    default: return pal.color(QPalette::Window);
    }
}

QStringList FamiliesFor(const QString& name) {
    // The Windows gothics are not installed; the IPA fonts carry the same glyphs, and the
    // proportional one stands in for the proportional "Ｐゴシック".
    const bool proportional =
        name.contains(QChar(0xFF30)) || name.contains(QStringLiteral("PGothic"), Qt::CaseInsensitive);
    QStringList families{name};
    if (proportional)
        families << QStringLiteral("IPAPGothic") << QStringLiteral("IPAGothic");
    else
        families << QStringLiteral("IPAGothic") << QStringLiteral("IPAPGothic");
    families << QStringLiteral("Noto Sans CJK JP") << QStringLiteral("sans-serif");
    return families;
}

// The non-graphical check box: a tool button that draws itself as a check box, so it
// shares the click path of the graphical one.
class CheckLookButton : public QToolButton {
public:
    explicit CheckLookButton(QWidget* parent) : QToolButton(parent) {
        setBackgroundRole(QPalette::Window);
        setForegroundRole(QPalette::WindowText);
    }
    bool partial = false;

protected:
    void paintEvent(QPaintEvent*) override {
        QStylePainter p(this);
        QStyleOptionButton opt;
        opt.initFrom(this);
        opt.text = text();
        opt.state |= partial ? QStyle::State_NoChange : (isChecked() ? QStyle::State_On : QStyle::State_Off);
        if (isDown()) opt.state |= QStyle::State_Sunken;
        p.drawControl(QStyle::CE_CheckBox, opt);
    }
};

class ClickLabel : public QLabel {
public:
    explicit ClickLabel(QWidget* parent) : QLabel(parent) {}
    std::function<void()> clicked;

protected:
    void mouseReleaseEvent(QMouseEvent* e) override {
        QLabel::mouseReleaseEvent(e);
        if (e->button() == Qt::LeftButton && rect().contains(e->position().toPoint()) && clicked) clicked();
    }
};

}  // namespace

// ---- colours ----

QColor ToQColor(uint32_t color) {
    if (color & 0x80000000u) return SystemColor(color & 0xFFu);
    return QColor(color & 0xFF, (color >> 8) & 0xFF, (color >> 16) & 0xFF);
}

uint32_t FromQColor(const QColor& color) {
    const QColor c = color.toRgb();
    return static_cast<uint32_t>(c.red()) | (static_cast<uint32_t>(c.green()) << 8) |
           (static_cast<uint32_t>(c.blue()) << 16);
}

// ---- ContainerBase ----

ContainerBase::~ContainerBase() {
    for (Control* c : Children) c->container_ = nullptr;
}

void ContainerBase::PlaceChildren() {
    for (Control* c : Children) c->ApplyGeometry();
}

// ---- Control ----

Control::Control(Form& form, ContainerBase* container, const QString& name, int index)
    : form_(form), container_(container), name_(name), index_(index), font_(InitialFont(form, container)) {
    form.Register(this);
    if (container_) container_->Children.push_back(this);
}

Control::~Control() {
    if (widget_) {
        // Nothing of the half-destroyed control may be called back while the widget goes.
        widget_->blockSignals(true);
        delete widget_.data();
    }
    if (container_) {
        auto& kids = container_->Children;
        kids.erase(std::remove(kids.begin(), kids.end(), this), kids.end());
    }
    form_.Unregister(this);
}

void Control::AttachWidget() {
    QWidget* w = Widget();
    widget_ = w;
    if (!w) return;
    QWidget* parent = ParentFor(form_, container_);
    if (w->parentWidget() != parent) w->setParent(parent);
    w->setObjectName(index_ >= 0 ? QStringLiteral("%1(%2)").arg(name_).arg(index_) : name_);
    ApplyFont();
    ApplyColors();
    w->setEnabled(enabled_);
    ApplyGeometry();
    // Under a parent not shown yet the widget shows along with it; under a shown one it
    // has to be shown itself.
    if (!visible_)
        w->hide();
    else if (parent->isVisible())
        w->show();
}

bool Control::Enabled() const { return enabled_; }

void Control::SetEnabled(bool enabled) {
    enabled_ = enabled;
    if (widget_) widget_->setEnabled(enabled);
}

bool Control::Visible() const { return visible_; }

void Control::SetVisible(bool visible) {
    visible_ = visible;
    if (widget_) widget_->setVisible(visible);
}

void Control::SetFocus() {
    QWidget* w = Widget();
    if (!w || !w->isEnabled() || !w->isVisibleTo(w->window())) Raise(ErrInvalidCall);
    w->setFocus(Qt::OtherFocusReason);
}

void Control::SetLeft(double v) {
    left_ = v;
    ApplyGeometry();
}

void Control::SetTop(double v) {
    top_ = v;
    ApplyGeometry();
}

void Control::SetWidth(double v) {
    if (v < 0) Raise(ErrInvalidPropertyValue);
    width_ = v;
    ApplyGeometry();
}

void Control::SetHeight(double v) {
    if (v < 0) Raise(ErrInvalidPropertyValue);
    height_ = v;
    ApplyGeometry();
}

void Control::Move(double left, double top, double width, double height) {
    if (width < 0 || height < 0) Raise(ErrInvalidPropertyValue);
    left_ = left;
    top_ = top;
    width_ = width;
    height_ = height;
    ApplyGeometry();
}

void Control::ApplyGeometry() {
    if (!widget_ || !container_) return;
    widget_->setGeometry(MapToPixels(*container_, left_, top_, width_, height_));
}

void Control::SetBackColor(uint32_t color) {
    backColor_ = color;
    colorsSet_ = true;
    ApplyColors();
}

void Control::SetForeColor(uint32_t color) {
    foreColor_ = color;
    colorsSet_ = true;
    ApplyColors();
}

void Control::ApplyColors() {
    if (!widget_ || !colorsSet_) return;
    QWidget* w = widget_;
    QPalette pal = w->palette();
    const QColor back = ToQColor(backColor_), fore = ToQColor(foreColor_);
    // The face keeps its colour when disabled; only the text greys out.
    pal.setColor(w->backgroundRole(), back);
    pal.setColor(QPalette::Active, w->foregroundRole(), fore);
    pal.setColor(QPalette::Inactive, w->foregroundRole(), fore);
    w->setPalette(pal);
    if (qobject_cast<QLabel*>(w) || w->backgroundRole() == QPalette::Window) w->setAutoFillBackground(true);
}

QString Control::FontName() const {
    const QStringList families = font_.families();
    return families.isEmpty() ? font_.family() : families.first();
}

double Control::FontSize() const { return font_.pointSizeF(); }

bool Control::FontBold() const { return font_.bold(); }

void Control::SetFontName(const QString& name) {
    font_.setFamilies(FamiliesFor(name));
    ApplyFont();
}

void Control::SetFontSize(double points) {
    if (!(points > 0)) Raise(ErrInvalidPropertyValue);
    font_.setPointSizeF(points);
    ApplyFont();
}

void Control::SetFontBold(bool bold) {
    font_.setBold(bold);
    ApplyFont();
}

void Control::ApplyFont() {
    if (widget_) widget_->setFont(font_);
}

// ---- CommandButton ----

CommandButton::CommandButton(Form& form, ContainerBase* container, const QString& name, int index, bool graphical)
    : CommandButton(form, container, name, index, graphical, new QToolButton(ParentFor(form, container))) {}

CommandButton::CommandButton(Form& form, ContainerBase* container, const QString& name, int index, bool graphical,
                             QToolButton* button)
    : Control(form, container, name, index), button_(button), graphical_(graphical) {
    button_->setToolButtonStyle(graphical ? Qt::ToolButtonTextUnderIcon : Qt::ToolButtonTextOnly);
    button_->setIconSize(QSize(IconPixels, IconPixels));
    button_->setFocusPolicy(Qt::StrongFocus);
    QObject::connect(button_, &QToolButton::clicked, button_, [this] { UserClicked(); });
    AttachWidget();
}

QWidget* CommandButton::Widget() const { return button_; }

QString CommandButton::Caption() const { return button_->text(); }

void CommandButton::SetCaption(const QString& caption) { button_->setText(caption); }

void CommandButton::SetPicture(const Picture& picture) {
    picture_ = picture;
    UpdateIcon();
}

void CommandButton::SetDisabledPicture(const Picture& picture) {
    disabledPicture_ = picture;
    UpdateIcon();
}

void CommandButton::Click() { button_->click(); }

void CommandButton::UserClicked() { RunEvent(OnClick); }

void CommandButton::ApplyGeometry() { Control::ApplyGeometry(); }

void CommandButton::UpdateIcon() {
    if (!graphical_) return;
    if (disabledPicture_.isNull()) {
        button_->setIcon(picture_);
        return;
    }
    // Without its own disabled pixmap a button greys its picture out; with one it shows that.
    const QSize size(IconPixels, IconPixels);
    QIcon icon;
    if (!picture_.isNull()) {
        icon.addPixmap(picture_.pixmap(size), QIcon::Normal);
        icon.addPixmap(picture_.pixmap(size, QIcon::Active), QIcon::Active);
    }
    icon.addPixmap(disabledPicture_.pixmap(size), QIcon::Disabled);
    button_->setIcon(icon);
}

// ---- CheckBox ----

CheckBox::CheckBox(Form& form, ContainerBase* container, const QString& name, int index, bool graphical)
    : CommandButton(
          form, container, name, index, graphical,
          graphical ? new QToolButton(ParentFor(form, container)) : new CheckLookButton(ParentFor(form, container))) {
    button_->setCheckable(true);
}

int CheckBox::Value() const { return value_; }

void CheckBox::SetValue(int value) {
    if (value < 0 || value > 2) Raise(ErrInvalidPropertyValue);
    if (value == value_) return;
    value_ = value;
    {
        const QSignalBlocker block(button_);
        button_->setChecked(value == 1);
    }
    if (auto* look = dynamic_cast<CheckLookButton*>(button_)) {
        look->partial = value == 2;
        look->update();
    }
    if (OnClick) OnClick();
}

void CheckBox::UserClicked() {
    value_ = button_->isChecked() ? 1 : 0;
    if (auto* look = dynamic_cast<CheckLookButton*>(button_)) look->partial = false;
    RunEvent(OnClick);
}

// ---- ComboBox ----

ComboBox::ComboBox(Form& form, ContainerBase* container, const QString& name, int index)
    : Control(form, container, name, index), combo_(new QComboBox(ParentFor(form, container))) {
    combo_->setEditable(false);
    backColor_ = vbWindowBackground;
    foreColor_ = vbWindowText;
    // activated is the user's choice only, and comes also when the same item is chosen again.
    QObject::connect(combo_, &QComboBox::activated, combo_, [this](int) {
        if (settingFromCode_) return;
        RunEvent(OnClick);
    });
    AttachWidget();
}

QWidget* ComboBox::Widget() const { return combo_; }

void ComboBox::Clear() { combo_->clear(); }

void ComboBox::AddItem(const QString& item) {
    const bool wasEmpty = combo_->count() == 0;
    combo_->addItem(item);
    // A list gets no selection by being filled.
    if (wasEmpty) combo_->setCurrentIndex(-1);
}

int ComboBox::ListCount() const { return combo_->count(); }

QString ComboBox::List(int i) const {
    if (i < 0 || i >= combo_->count()) Raise(ErrInvalidArrayIndex);
    return combo_->itemText(i);
}

int ComboBox::ListIndex() const { return combo_->currentIndex(); }

void ComboBox::SetListIndex(int index) {
    if (index < -1 || index >= combo_->count()) Raise(ErrInvalidPropertyValue);
    settingFromCode_ = true;
    combo_->setCurrentIndex(index);
    settingFromCode_ = false;
    if (OnClick) OnClick();
}

void ComboBox::SetList(int i, const QString& item) {
    if (i < 0 || i >= combo_->count()) Raise(ErrInvalidArrayIndex);
    combo_->setItemText(i, item);
}

QString ComboBox::Text() const { return combo_->currentText(); }

// ---- TextBox ----

// MaxLength limits what the user enters, not what the program sets: text set from code is
// kept whole, and an entry that does not fit is cut to what does.
class TextLengthLimit : public QValidator {
public:
    TextLengthLimit(TextBox& box, QObject* parent) : QValidator(parent), box_(box) {}
    State validate(QString& input, int& pos) const override {
        if (box_.settingText_ || box_.maxLength_ <= 0) return Acceptable;
        const int limit = std::max(box_.maxLength_, box_.lastLength_);
        const int excess = static_cast<int>(input.size()) - limit;
        if (excess <= 0) return Acceptable;
        const int from = pos - excess;
        if (from < 0) return Invalid;
        input.remove(from, excess);
        pos = from;
        return Acceptable;
    }

private:
    TextBox& box_;
};

TextBox::TextBox(Form& form, ContainerBase* container, const QString& name, int index)
    : Control(form, container, name, index), edit_(new QLineEdit(ParentFor(form, container))) {
    backColor_ = vbWindowBackground;
    foreColor_ = vbWindowText;
    edit_->setValidator(new TextLengthLimit(*this, edit_));
    QObject::connect(edit_, &QLineEdit::textChanged, edit_, [this](const QString& text) {
        lastLength_ = static_cast<int>(text.size());
        RunEvent(OnChange);
    });
    AttachWidget();
}

QWidget* TextBox::Widget() const { return edit_; }

QString TextBox::Text() const { return edit_->text(); }

void TextBox::SetText(const QString& text) {
    settingText_ = true;
    edit_->setText(text);
    // Text set from code is read from its start, like a freshly filled field.
    edit_->setCursorPosition(0);
    settingText_ = false;
    lastLength_ = static_cast<int>(edit_->text().size());
}

int TextBox::MaxLength() const { return maxLength_; }

void TextBox::SetMaxLength(int n) {
    if (n < 0) Raise(ErrInvalidPropertyValue);
    maxLength_ = n;
}

bool TextBox::Locked() const { return edit_->isReadOnly(); }

void TextBox::SetLocked(bool locked) { edit_->setReadOnly(locked); }

// ---- Label ----

OptionButton::OptionButton(Form& form, ContainerBase* container, const QString& name, int index)
    : Control(form, container, name, index), radio_(new QRadioButton(ParentFor(form, container))) {
    radio_->setAutoExclusive(true);
    QObject::connect(radio_, &QRadioButton::clicked, radio_, [this] { RunEvent(OnClick); });
    AttachWidget();
}

QWidget* OptionButton::Widget() const { return radio_; }

QString OptionButton::Caption() const { return radio_->text(); }

void OptionButton::SetCaption(const QString& caption) { radio_->setText(caption); }

bool OptionButton::Value() const { return radio_->isChecked(); }

void OptionButton::SetValue(bool value) {
    if (!value) {
        // Auto-exclusive buttons cannot be turned off one by one.
        radio_->setAutoExclusive(false);
        radio_->setChecked(false);
        radio_->setAutoExclusive(true);
        return;
    }
    radio_->setChecked(true);
    if (OnClick) OnClick();
}

// ---- Slider ----

Slider::Slider(Form& form, ContainerBase* container, const QString& name, int index)
    : Control(form, container, name, index), slider_(new QSlider(Qt::Horizontal, ParentFor(form, container))) {
    slider_->setTickPosition(QSlider::TicksBelow);
    QObject::connect(slider_, &QSlider::valueChanged, slider_, [this](int) {
        if (!settingFromCode_) RunEvent(OnChange);
    });
    AttachWidget();
}

QWidget* Slider::Widget() const { return slider_; }

int Slider::Min() const { return slider_->minimum(); }

int Slider::Max() const { return slider_->maximum(); }

void Slider::SetRange(int min, int max) {
    if (min > max) Raise(ErrInvalidPropertyValue);
    settingFromCode_ = true;
    slider_->setRange(min, max);
    settingFromCode_ = false;
}

int Slider::Value() const { return slider_->value(); }

void Slider::SetValue(int value) {
    if (value < Min() || value > Max()) Raise(ErrInvalidPropertyValue);
    if (value == slider_->value()) return;
    settingFromCode_ = true;
    slider_->setValue(value);
    settingFromCode_ = false;
    if (OnChange) OnChange();
}

void Slider::SetTickFrequency(int step) { slider_->setTickInterval(step); }

void Slider::SetLargeChange(int step) { slider_->setPageStep(step); }

Label::Label(Form& form, ContainerBase* container, const QString& name, int index)
    : Control(form, container, name, index) {
    auto* label = new ClickLabel(ParentFor(form, container));
    label->clicked = [this] { RunEvent(OnClick); };
    label_ = label;
    label_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    label_->setTextFormat(Qt::PlainText);
    AttachWidget();
}

QWidget* Label::Widget() const { return label_; }

QString Label::Caption() const { return label_->text(); }

void Label::SetCaption(const QString& caption) {
    label_->setText(caption);
    ApplyGeometry();
}

// A borderless caption longer than its box runs on to the right, as far as its container
// allows, rather than being cut: a translated caption is often longer than the design's.
// Width keeps its design value.
void Label::ApplyGeometry() {
    Control::ApplyGeometry();
    if (!container_ || label_->frameShape() != QFrame::NoFrame) return;
    const int needed = label_->sizeHint().width();
    const int room = container_->ClientWidget()->width() - label_->x();
    if (needed > label_->width() && room > label_->width()) label_->resize(std::min(needed, room), label_->height());
}

void Label::ApplyFont() {
    Control::ApplyFont();
    ApplyGeometry();
}

void Label::SetAlignment(int alignment) {
    static const Qt::Alignment horizontal[] = {Qt::AlignLeft, Qt::AlignRight, Qt::AlignHCenter};
    if (alignment < 0 || alignment > 2) Raise(ErrInvalidPropertyValue);
    label_->setAlignment(horizontal[alignment] | (label_->alignment() & Qt::AlignVertical_Mask));
}

void Label::SetBorderStyle(int style) {
    if (style < 0 || style > 1) Raise(ErrInvalidPropertyValue);
    // A boxed number sits in the middle of its box, whatever the font's line height.
    const Qt::Alignment horizontal = label_->alignment() & Qt::AlignHorizontal_Mask;
    if (style == 1) {
        label_->setFrameStyle(QFrame::Panel | QFrame::Sunken);
        label_->setLineWidth(1);
        label_->setAlignment(horizontal | Qt::AlignVCenter);
    } else {
        label_->setFrameStyle(QFrame::NoFrame);
        label_->setAlignment(horizontal | Qt::AlignTop);
    }
}

// ---- Frame ----

Frame::Frame(Form& form, ContainerBase* container, const QString& name, int index, bool border)
    : Control(form, container, name, index), border_(border) {
    QWidget* parent = ParentFor(form, container);
    if (border)
        frame_ = new QGroupBox(parent);
    else
        frame_ = new QWidget(parent);
    AttachWidget();
}

QWidget* Frame::Widget() const { return frame_; }

QWidget* Frame::ClientWidget() const { return frame_; }

// A bare panel shows no caption but still has one.
QString Frame::Caption() const {
    if (border_) return static_cast<QGroupBox*>(frame_)->title();
    return frame_->windowTitle();
}

void Frame::SetCaption(const QString& caption) {
    if (border_)
        static_cast<QGroupBox*>(frame_)->setTitle(caption);
    else
        frame_->setWindowTitle(caption);
}

// ---- Image ----

Image::Image(Form& form, ContainerBase* container, const QString& name, int index)
    : Control(form, container, name, index) {}

// ---- Timer ----

Timer::Timer(Form& form, ContainerBase* container, const QString& name, int index)
    : Control(form, container, name, index), timer_(new QTimer) {
    QObject::connect(timer_, &QTimer::timeout, timer_, [this] { RunEvent(OnTimer); });
}

Timer::~Timer() { delete timer_; }

void Timer::SetEnabled(bool enabled) {
    if (enabled == enabled_) return;
    enabled_ = enabled;
    Restart();
}

void Timer::SetInterval(int ms) {
    if (ms < 0 || ms > 65535) Raise(ErrInvalidPropertyValue);
    interval_ = ms;
    Restart();
}

void Timer::Restart() {
    timer_->stop();
    if (enabled_ && interval_ > 0) timer_->start(interval_);
}

// ---- CommonDialog ----

CommonDialog::CommonDialog(Form& form, ContainerBase* container, const QString& name, int index)
    : Control(form, container, name, index) {}

// Without a folder of the caller's the dialog starts where the user last chose a file.
bool CommonDialog::RunFileDialog(bool save) {
    const QString own = InitDir;
    if (own.isEmpty()) InitDir = LastFolder();
    const bool chosen = save ? Host().ShowSave(*this, &form_) : Host().ShowOpen(*this, &form_);
    InitDir = own;
    if (chosen && !FileName.isEmpty()) SetLastFolder(QFileInfo(FileName).absolutePath());
    return chosen;
}

void CommonDialog::ShowOpen() {
    if (RunFileDialog(false)) return;
    FileName.clear();
    if (CancelError) Raise(ErrCancel);
}

QString FilterEnding(const QString& filter, int index) {
    const QStringList parts = filter.split(QLatin1Char('|'));
    const qsizetype at = 2 * qsizetype(index - 1) + 1;
    if (index < 1 || at >= parts.size()) return {};
    const QString first = parts[at].section(QLatin1Char(';'), 0, 0).trimmed();
    const QString ending = first.mid(1);
    if (!first.startsWith(QLatin1String("*.")) || ending.size() < 2 || ending.contains(QLatin1Char('*')) ||
        ending.contains(QLatin1Char('?')))
        return {};
    return ending;
}

void CommonDialog::ShowSave() {
    if (RunFileDialog(true)) {
        // A typed name without an ending gets the one of the chosen type, as users expect.
        const QString base = FileName.section(QLatin1Char('/'), -1);
        // A folder's name is a name already, which writing then refuses.
        if (!base.isEmpty() && !base.contains(QLatin1Char('.')) && !QFileInfo(FileName).isDir())
            FileName += FilterEnding(Filter, FilterIndex);
        return;
    }
    FileName.clear();
    if (CancelError) Raise(ErrCancel);
}

void CommonDialog::ShowColor() {
    const uint32_t before = Color;
    if (Host().ShowColor(*this, &form_)) return;
    Color = before;
    if (CancelError) Raise(ErrCancel);
}

}  // namespace vb
