#include "ScriptedDialogHost.h"

#include <gtest/gtest.h>

#include "Controls.h"
#include "Form.h"

namespace testing_support {

ScriptedDialogHost::ScriptedDialogHost() : previous_(&vb::Host()) { vb::SetHost(this); }

ScriptedDialogHost::~ScriptedDialogHost() {
    vb::SetHost(previous_);
    EXPECT_TRUE(msgAnswers_.empty()) << msgAnswers_.size() << " scripted message box answer(s) unused";
    EXPECT_TRUE(fileAnswers_.empty()) << fileAnswers_.size() << " scripted file answer(s) unused";
    EXPECT_TRUE(colorAnswers_.empty()) << colorAnswers_.size() << " scripted colour answer(s) unused";
    EXPECT_TRUE(modalAnswers_.empty()) << modalAnswers_.size() << " scripted modal form answer(s) unused";
}

int ScriptedDialogHost::MsgBox(const QString& prompt, int buttons, const QString& title, QWidget*) {
    Boxes.push_back({prompt, buttons, title});
    if (msgAnswers_.empty()) {
        ADD_FAILURE() << "unexpected message box: \"" << prompt.toStdString() << "\" titled \"" << title.toStdString()
                      << "\"";
        return vb::vbOK;
    }
    const int answer = msgAnswers_.front();
    msgAnswers_.pop_front();
    return answer;
}

namespace {
bool FileAnswer(std::deque<std::optional<QString>>& answers, vb::CommonDialog& dlg, const char* what) {
    if (answers.empty()) {
        ADD_FAILURE() << "unexpected " << what << " dialog";
        return false;
    }
    const std::optional<QString> answer = answers.front();
    answers.pop_front();
    if (!answer) return false;
    dlg.FileName = *answer;
    return true;
}
}  // namespace

bool ScriptedDialogHost::ShowOpen(vb::CommonDialog& dlg, QWidget*) { return FileAnswer(fileAnswers_, dlg, "open"); }

bool ScriptedDialogHost::ShowSave(vb::CommonDialog& dlg, QWidget*) { return FileAnswer(fileAnswers_, dlg, "save"); }

bool ScriptedDialogHost::ShowColor(vb::CommonDialog& dlg, QWidget*) {
    if (colorAnswers_.empty()) {
        ADD_FAILURE() << "unexpected colour dialog";
        return false;
    }
    const std::optional<uint32_t> answer = colorAnswers_.front();
    colorAnswers_.pop_front();
    if (!answer) return false;
    dlg.Color = *answer;
    return true;
}

void ScriptedDialogHost::ShowModal(vb::Form& form, QWidget*) {
    if (modalAnswers_.empty()) {
        ADD_FAILURE() << "unexpected modal form " << form.Name().toStdString();
        return;
    }
    const auto user = std::move(modalAnswers_.front());
    modalAnswers_.pop_front();
    user(form);
}

void ScriptedDialogHost::SetBusy(bool busy) { BusyDepth += busy ? 1 : -1; }

void ScriptedDialogHost::End(int) { ++Ends; }

}  // namespace testing_support
