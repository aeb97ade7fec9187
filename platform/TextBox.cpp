#include "TextBox.h"

#include <QLineEdit>
#include <QValidator>
#include <algorithm>

#include "ControlSupport.h"
#include "DialogHost.h"

namespace vb {

using namespace detail;

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

}  // namespace vb
