#pragma once
// A hidden holder of one picture (an icon).
#include "Control.h"

namespace vb {

class Image : public Control {
public:
    Image(Form& form, ContainerBase* container, const QString& name, int index = -1);
    bool Visible() const override { return visible_; }
    void SetVisible(bool visible) override { visible_ = visible; }
    const Picture& GetPicture() const { return picture_; }
    void SetPicture(const Picture& picture) { picture_ = picture; }

private:
    Picture picture_;
};

}  // namespace vb
