#pragma once
// Label: a caption that can be clicked, with an alignment and an optional border.
#include "Control.h"

class QLabel;

namespace vb {

class Label : public Control {
public:
    Label(Form& form, ContainerBase* container, const QString& name, int index = -1);
    QWidget* Widget() const override;
    QString Caption() const override;
    void SetCaption(const QString& caption) override;
    // 0 left, 1 right, 2 centre.
    void SetAlignment(int alignment);
    // 0 none, 1 fixed single.
    void SetBorderStyle(int style);
    void ApplyGeometry() override;

protected:
    void ApplyFont() override;

private:
    QLabel* label_;
};

}  // namespace vb
