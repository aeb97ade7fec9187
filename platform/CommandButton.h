#pragma once
// Push button; "graphical" puts the picture above the caption.
#include "Control.h"

class QToolButton;

namespace vb {

class CommandButton : public Control {
public:
    CommandButton(Form& form, ContainerBase* container, const QString& name, int index = -1, bool graphical = false);
    QWidget* Widget() const override;
    QString Caption() const override;
    void SetCaption(const QString& caption) override;
    const Picture& GetPicture() const { return picture_; }
    void SetPicture(const Picture& picture);
    void SetDisabledPicture(const Picture& picture);
    bool Graphical() const { return graphical_; }
    // Presses the button as a user would.
    void Click();

protected:
    // For subclasses that bring their own button.
    CommandButton(Form& form, ContainerBase* container, const QString& name, int index, bool graphical,
                  QToolButton* button);
    // A press by the user (or Click()).
    virtual void UserClicked();
    void ApplyGeometry() override;
    QToolButton* button_;
    Picture picture_;
    Picture disabledPicture_;
    bool graphical_;
    void UpdateIcon();
};

}  // namespace vb
