#include "ScriptedDialogHost.h"

#include <gtest/gtest.h>

#include "Controls.h"
#include "Form.h"

namespace testing_support {

namespace {
// The next scripted answer; none, and a failed test, when nobody expected the dialog.
template <class T>
std::optional<T> Next(std::deque<T>& answers, const std::string& what) {
    if (answers.empty()) {
        ADD_FAILURE() << "unexpected " << what;
        return std::nullopt;
    }
    T answer = std::move(answers.front());
    answers.pop_front();
    return answer;
}

// The dialog's value set from the next scripted answer; false for Cancel.
template <class T, class U>
bool Answered(std::deque<std::optional<T>>& answers, U& into, const char* what) {
    const std::optional<T> answer = Next(answers, what + std::string(" dialog")).value_or(std::nullopt);
    if (answer) into = *answer;
    return answer.has_value();
}
}  // namespace

ScriptedDialogHost::ScriptedDialogHost() : previous_(&vb::Host()) { vb::SetHost(this); }

ScriptedDialogHost::~ScriptedDialogHost() {
    vb::SetHost(previous_);
    EXPECT_EQ((std::vector{msgAnswers_.size(), fileAnswers_.size(), colorAnswers_.size(), modalAnswers_.size()}),
              std::vector<size_t>(4, 0))
        << "scripted answers unused: message boxes, files, colours, modal forms";
}

int ScriptedDialogHost::MsgBox(const QString& prompt, int buttons, const QString& title, QWidget*) {
    Boxes.push_back({prompt, buttons, title});
    const std::string what = "message box: \"" + prompt.toStdString() + "\" titled \"" + title.toStdString() + "\"";
    return Next(msgAnswers_, what).value_or(vb::vbOK);
}

bool ScriptedDialogHost::ShowOpen(vb::CommonDialog& d, QWidget*) { return Answered(fileAnswers_, d.FileName, "open"); }
bool ScriptedDialogHost::ShowSave(vb::CommonDialog& d, QWidget*) { return Answered(fileAnswers_, d.FileName, "save"); }
bool ScriptedDialogHost::ShowColor(vb::CommonDialog& d, QWidget*) { return Answered(colorAnswers_, d.Color, "colour"); }

void ScriptedDialogHost::ShowModal(vb::Form& form, QWidget*) {
    if (const auto user = Next(modalAnswers_, "modal form " + form.Name().toStdString())) (*user)(form);
}

void ScriptedDialogHost::SetBusy(bool busy) { BusyDepth += busy ? 1 : -1; }

void ScriptedDialogHost::End(int) { ++Ends; }

}  // namespace testing_support
