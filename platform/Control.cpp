#include "Control.h"

#include <QGuiApplication>
#include <QLabel>
#include <QPalette>
#include <algorithm>

#include "ControlSupport.h"
#include "Form.h"

namespace vb {

using namespace detail;

namespace {

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

}  // namespace vb
