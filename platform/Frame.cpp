#include "Frame.h"

#include <QGroupBox>

#include "ControlSupport.h"

namespace vb {

using namespace detail;

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

}  // namespace vb
