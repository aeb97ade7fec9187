#pragma once
// Everything modal goes through one host, so tests can script the answers.
#include <QString>
#include <functional>

class QWidget;

namespace vb {

// Buttons, icons and default button of a message box, and its results.
enum MsgBoxStyle : int {
    vbOKOnly = 0,
    vbOKCancel = 1,
    vbYesNoCancel = 3,
    vbYesNo = 4,
    vbCritical = 16,
    vbQuestion = 32,
    vbExclamation = 48,
    vbInformation = 64,
    vbDefaultButton1 = 0,
    vbDefaultButton2 = 256,
};
enum MsgBoxResult : int { vbOK = 1, vbCancel = 2, vbYes = 6, vbNo = 7 };

// Flags of the file dialogs.
enum FileDialogFlags : int {
    cdlOFNReadOnly = 0x1,
    cdlOFNOverwritePrompt = 0x2,
    cdlOFNHideReadOnly = 0x4,
    cdlOFNNoReadOnlyReturn = 0x8000,
    cdlOFNPathMustExist = 0x800,
    cdlOFNFileMustExist = 0x1000,
};

class CommonDialog;
class Form;

class DialogHost {
public:
    virtual ~DialogHost() = default;
    virtual int MsgBox(const QString& prompt, int buttons, const QString& title, QWidget* owner) = 0;
    // The file dialogs fill dlg.FileName and dlg.FilterIndex; false on Cancel.
    virtual bool ShowOpen(CommonDialog& dlg, QWidget* owner) = 0;
    virtual bool ShowSave(CommonDialog& dlg, QWidget* owner) = 0;
    // Fills dlg.Color; false on Cancel.
    virtual bool ShowColor(CommonDialog& dlg, QWidget* owner) = 0;
    // Shows a form as a modal dialog over owner; returns when the form has unloaded or hidden.
    virtual void ShowModal(Form& form, QWidget* owner) = 0;
    // The hourglass pointer on (true) or back to normal.
    virtual void SetBusy(bool busy) = 0;
    // Ends the process at once. The test host records it and returns, so callers
    // return right after calling it.
    virtual void End(int code) = 0;
};

// Runs an event handler for the event loop. A run-time error no routine trapped ends the
// program as the platform always did: a critical box with the error number, then the end.
// Errors never travel through Qt's event dispatch.
void RunEvent(const std::function<void()>& handler);

// The host in use; the program installs the Qt host, tests a scripted one.
DialogHost& Host();
void SetHost(DialogHost* host);

// The folder the file dialogs start in when the caller gives none: the one of the file last
// chosen in any of them. Empty until a file was chosen or a folder was kept from before.
QString LastFolder();
void SetLastFolder(const QString& folder);

// While it lives, the next open dialog is answered with path, as a dropped file answers it;
// everything else still goes to the host in use.
class AnsweredOpen : public DialogHost {
public:
    explicit AnsweredOpen(const QString& path);
    ~AnsweredOpen() override;
    AnsweredOpen(const AnsweredOpen&) = delete;
    AnsweredOpen& operator=(const AnsweredOpen&) = delete;
    int MsgBox(const QString& prompt, int buttons, const QString& title, QWidget* owner) override;
    bool ShowOpen(CommonDialog& dlg, QWidget* owner) override;
    bool ShowSave(CommonDialog& dlg, QWidget* owner) override;
    bool ShowColor(CommonDialog& dlg, QWidget* owner) override;
    void ShowModal(Form& form, QWidget* owner) override;
    void SetBusy(bool busy) override;
    void End(int code) override;

private:
    DialogHost& previous_;
    QString path_;
};

// The host of the running program: Qt's boxes and dialogs, and _Exit.
class QtDialogHost : public DialogHost {
public:
    int MsgBox(const QString& prompt, int buttons, const QString& title, QWidget* owner) override;
    bool ShowOpen(CommonDialog& dlg, QWidget* owner) override;
    bool ShowSave(CommonDialog& dlg, QWidget* owner) override;
    bool ShowColor(CommonDialog& dlg, QWidget* owner) override;
    void ShowModal(Form& form, QWidget* owner) override;
    void SetBusy(bool busy) override;
    void End(int code) override;
};

// Converts the platform's "Description|*.bmp;*.jpg|…" filter to Qt's "Description (*.bmp *.jpg);;…".
QString QtFilterFromPlatform(const QString& filter);

}  // namespace vb
