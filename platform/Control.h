#pragma once
// What every control has: geometry in its container's scale, containers by name, Tag,
// Visible/Enabled, colours 0x00BBGGRR, fonts and Click; and the containers themselves.
#include <QFont>
#include <QIcon>
#include <QPointer>
#include <QString>
#include <QWidget>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "Errors.h"

namespace vb {

class Form;
class Control;

// System colours (top bit set) as the palette gives them.
constexpr uint32_t vbButtonFace = 0x8000000F;
constexpr uint32_t vbWindowBackground = 0x80000005;
constexpr uint32_t vbWindowText = 0x80000008;
constexpr uint32_t vb3DDKShadow = 0x80000015;
constexpr uint32_t vbButtonText = 0x80000012;

// 0x00BBGGRR (or a system colour) to a QColor, and back.
QColor ToQColor(uint32_t color);
uint32_t FromQColor(const QColor& color);

using Picture = QIcon;

// Anything that holds controls: the form, frames and picture boxes.
class ContainerBase {
public:
    // Children outliving their container are left with no Container.
    virtual ~ContainerBase();
    // The widget that child widgets are parented to; (0,0) is the origin of the scale.
    virtual QWidget* ClientWidget() const = 0;
    // The container's scale to client pixels and back. Forms and frames work in twips.
    virtual double ToPixelX(double x) const { return x / 15.0; }
    virtual double ToPixelY(double y) const { return y / 15.0; }
    virtual double ToPixelW(double w) const { return w / 15.0; }
    virtual double ToPixelH(double h) const { return h / 15.0; }
    virtual double FromPixelX(double px) const { return px * 15.0; }
    virtual double FromPixelY(double py) const { return py * 15.0; }
    virtual double FromPixelW(double pw) const { return pw * 15.0; }
    virtual double FromPixelH(double ph) const { return ph * 15.0; }
    // Windowless children (Line, Shape) ask to be drawn again over the part (client pixels)
    // where they were or now are.
    virtual void RepaintOverlay(const QRect& /*area*/) {}
    // Called when the scale changes, so children can be placed again.
    void PlaceChildren();
    std::vector<Control*> Children;
};

class Control {
public:
    Control(Form& form, ContainerBase* container, const QString& name, int index = -1);
    virtual ~Control();
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

    const QString& Name() const { return name_; }
    int Index() const { return index_; }
    Form& ParentForm() const { return form_; }
    ContainerBase* Container() const { return container_; }
    QString Tag;

    // null for windowless controls (Timer, Line, Shape, Image, CommonDialog).
    virtual QWidget* Widget() const { return nullptr; }
    // Line and Shape have no Enabled: area commands pass them over.
    virtual bool HasEnabled() const { return true; }
    // A windowless control has no place of its own (Timer, CommonDialog).
    virtual bool HasGeometry() const { return true; }

    // The control's own Enabled: a disabled container disables what it holds without this changing.
    virtual bool Enabled() const;
    virtual void SetEnabled(bool enabled);
    // The control's own Visible flag.
    virtual bool Visible() const;
    virtual void SetVisible(bool visible);
    // Moves the keyboard focus here; a hidden or disabled control, or one with no window, is error 5.
    void SetFocus();

    // Geometry in the container's scale units.
    double Left() const { return left_; }
    double Top() const { return top_; }
    double Width() const { return width_; }
    double Height() const { return height_; }
    virtual void SetLeft(double v);
    virtual void SetTop(double v);
    virtual void SetWidth(double v);
    virtual void SetHeight(double v);
    void Move(double left, double top, double width, double height);
    // Maps the stored geometry onto the widget (again, e.g. after the container's scale changed).
    virtual void ApplyGeometry();

    virtual QString Caption() const { return {}; }
    virtual void SetCaption(const QString&) {}

    uint32_t BackColor() const { return backColor_; }
    uint32_t ForeColor() const { return foreColor_; }
    virtual void SetBackColor(uint32_t color);
    virtual void SetForeColor(uint32_t color);

    QString FontName() const;
    double FontSize() const;
    bool FontBold() const;
    virtual void SetFontName(const QString& name);
    virtual void SetFontSize(double points);
    virtual void SetFontBold(bool bold);
    const QFont& Font() const { return font_; }

    std::function<void()> OnClick;

protected:
    virtual void ApplyFont();
    virtual void ApplyColors();
    // Derived classes call this once their widget exists.
    void AttachWidget();

    Form& form_;
    ContainerBase* container_;
    QString name_;
    int index_;
    double left_ = 0, top_ = 0, width_ = 0, height_ = 0;
    bool enabled_ = true;
    bool visible_ = true;
    uint32_t backColor_ = vbButtonFace;
    uint32_t foreColor_ = vbButtonText;
    bool colorsSet_ = false;
    QFont font_;

private:
    friend class ContainerBase;
    // Guarded: the widget may go with its container's widget first.
    QPointer<QWidget> widget_;
};

}  // namespace vb
