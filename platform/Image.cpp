#include "Image.h"

namespace vb {

Image::Image(Form& form, ContainerBase* container, const QString& name, int index)
    : Control(form, container, name, index) {}

}  // namespace vb
