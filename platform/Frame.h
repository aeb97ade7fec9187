#pragma once
// A frame; with a caption it draws a titled border, without one it is a bare panel.
#include "Control.h"

namespace vb {

class Frame : public Control, public ContainerBase {
public:
    Frame(Form& form, ContainerBase* container, const QString& name, int index = -1, bool border = true);
    QWidget* Widget() const override;
    QWidget* ClientWidget() const override;
    QString Caption() const override;
    void SetCaption(const QString& caption) override;

private:
    QWidget* frame_;
    bool border_;
};

}  // namespace vb
