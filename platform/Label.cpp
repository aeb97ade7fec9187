#include "Label.h"

#include <QLabel>
#include <QMouseEvent>
#include <algorithm>

#include "ControlSupport.h"
#include "DialogHost.h"

namespace vb {

using namespace detail;

namespace {

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

}  // namespace vb
