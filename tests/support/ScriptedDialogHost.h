#pragma once
// A dialog host that answers from a script, records every box, and fails the test on a
// box nobody expected. End() is recorded instead of ending the process.
#include <QString>
#include <deque>
#include <functional>
#include <optional>
#include <ostream>
#include <vector>

#include "DialogHost.h"

namespace testing_support {

struct RecordedBox {
    QString Prompt;
    int Buttons = 0;
    QString Title;
    bool operator==(const RecordedBox&) const = default;
};
inline void PrintTo(const RecordedBox& b, std::ostream* os) {
    *os << '"' << b.Prompt.toStdString() << "\" " << b.Buttons << " \"" << b.Title.toStdString() << '"';
}

class ScriptedDialogHost : public vb::DialogHost {
public:
    ScriptedDialogHost();
    ~ScriptedDialogHost() override;  // restores the previous host; fails on unused answers

    // The answer to the next message box.
    void AnswerMsgBox(int result) { msgAnswers_.push_back(result); }
    // The next file dialog returns this path; an empty optional is Cancel.
    void AnswerFile(std::optional<QString> path) { fileAnswers_.push_back(std::move(path)); }
    void AnswerColor(std::optional<uint32_t> color) { colorAnswers_.push_back(color); }
    // The next modal form is handed to this, which plays the user (types, presses OK or Cancel).
    void AnswerModal(std::function<void(vb::Form&)> user) { modalAnswers_.push_back(std::move(user)); }

    std::vector<RecordedBox> Boxes;
    int Ends = 0;
    int BusyDepth = 0;

    int MsgBox(const QString& prompt, int buttons, const QString& title, QWidget* owner) override;
    bool ShowOpen(vb::CommonDialog& dlg, QWidget* owner) override;
    bool ShowSave(vb::CommonDialog& dlg, QWidget* owner) override;
    bool ShowColor(vb::CommonDialog& dlg, QWidget* owner) override;
    void ShowModal(vb::Form& form, QWidget* owner) override;
    void SetBusy(bool busy) override;
    void End(int code) override;

private:
    vb::DialogHost* previous_;
    std::deque<int> msgAnswers_;
    std::deque<std::optional<QString>> fileAnswers_;
    std::deque<std::optional<uint32_t>> colorAnswers_;
    std::deque<std::function<void(vb::Form&)>> modalAnswers_;
};

}  // namespace testing_support
