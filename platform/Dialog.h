#pragma once
// A modal dialog: its window flags, its controls' font, its size, its place over the owner,
// and the buttons Enter and Escape press. Shown through the dialog host like any form.
#include <functional>

#include "Form.h"

namespace vb {

class Dialog : public Form {
public:
    enum class Style {
        // A form of the design: the forms' font, a fixed size and no close box, so that it
        // ends only through its own buttons.
        Fixed,
        // Built at run time: the desktop's font and a close box, which the caller takes as Cancel.
        Closable,
    };
    explicit Dialog(const QString& name, Style style = Style::Fixed);

    // Places a control in twips, gives it the dialog's font and, when there is one, its
    // design caption (UTF-8).
    template <class T>
    T* Place(T* control, double left, double top, double width, double height, const char* caption = nullptr) {
        control->Move(left, top, width, height);
        Dress(*control, caption);
        return control;
    }
    // The client size in twips; a fixed dialog keeps it.
    void SetDialogSize(double widthTwips, double heightTwips);
    // The button Enter presses, unless another button has the focus, and the one Escape
    // presses; each runs its handler when pressed.
    void SetDefaultButton(CommandButton* button, std::function<void()> onClick);
    void SetCancelButton(CommandButton* button, std::function<void()> onClick);

    // Shown over an owner, the dialog stands centred on it, inside the owner's screen.
    void setVisible(bool visible) override;

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void Dress(Control& control, const char* caption) const;

    Style style_;
    CommandButton* default_ = nullptr;
    CommandButton* cancel_ = nullptr;
};

}  // namespace vb
