#include "DialogHost.h"

#include <QApplication>
#include <QColorDialog>
#include <QCoreApplication>
#include <QDialog>
#include <QEventLoop>
#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <utility>

#include "App.h"
#include "CommonDialog.h"
#include "Errors.h"
#include "Form.h"

namespace vb {

void RunEvent(const std::function<void()>& handler) {
    if (!handler) return;
    const int err = Trap(handler);
    if (err == 0) return;
    Host().MsgBox(QStringLiteral("Run-time error '%1'").arg(err), vbOKOnly | vbCritical, App::Title(), nullptr);
    Host().End(1);
}

namespace {

DialogHost* g_host = nullptr;
bool g_busy = false;

constexpr int vbAbortRetryIgnore = 2;
constexpr int vbRetryCancel = 5;
constexpr int vbAbort = 3, vbRetry = 4, vbIgnore = 5;

struct ButtonSet {
    std::vector<QMessageBox::StandardButton> buttons;  // in the order shown, for the default
    QMessageBox::StandardButton escape;
};

ButtonSet ButtonsFor(int style) {
    using B = QMessageBox;
    switch (style & 7) {
    case vbOKCancel: return {{B::Ok, B::Cancel}, B::Cancel};
    case vbAbortRetryIgnore: return {{B::Abort, B::Retry, B::Ignore}, B::NoButton};
    case vbYesNoCancel: return {{B::Yes, B::No, B::Cancel}, B::Cancel};
    case vbYesNo: return {{B::Yes, B::No}, B::NoButton};
    case vbRetryCancel: return {{B::Retry, B::Cancel}, B::Cancel};
    default: return {{B::Ok}, B::Ok};
    }
}

int ResultOf(QMessageBox::StandardButton b) {
    switch (b) {
    case QMessageBox::Ok: return vbOK;
    case QMessageBox::Cancel: return vbCancel;
    case QMessageBox::Abort: return vbAbort;
    case QMessageBox::Retry: return vbRetry;
    case QMessageBox::Ignore: return vbIgnore;
    case QMessageBox::Yes: return vbYes;
    case QMessageBox::No: return vbNo;
    default: return vbCancel;
    }
}

QMessageBox::Icon IconFor(int style) {
    switch (style & 0x70) {
    case vbCritical: return QMessageBox::Critical;
    case vbQuestion: return QMessageBox::Question;
    case vbExclamation: return QMessageBox::Warning;
    case vbInformation: return QMessageBox::Information;
    default: return QMessageBox::NoIcon;
    }
}

// The window system puts the application's name in an empty title; a blank keeps it empty.
QString ShownTitle(const QString& title) { return title.isEmpty() ? QStringLiteral(" ") : title; }

bool RunFileDialog(CommonDialog& dlg, QWidget* owner, bool save) {
    QFileDialog d(owner, ShownTitle(dlg.DialogTitle), dlg.InitDir);
    d.setOption(QFileDialog::DontUseNativeDialog);
    d.setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    if (save) {
        d.setFileMode(QFileDialog::AnyFile);
        d.setOption(QFileDialog::DontConfirmOverwrite, !(dlg.Flags & cdlOFNOverwritePrompt));
    } else {
        d.setFileMode((dlg.Flags & cdlOFNFileMustExist) ? QFileDialog::ExistingFile : QFileDialog::AnyFile);
    }
    const QString qtFilter = QtFilterFromPlatform(dlg.Filter);
    const QStringList filters = qtFilter.isEmpty() ? QStringList() : qtFilter.split(QStringLiteral(";;"));
    if (!filters.isEmpty()) {
        d.setNameFilters(filters);
        const int i = dlg.FilterIndex - 1;
        d.selectNameFilter(filters.value(i >= 0 && i < filters.size() ? i : 0));
        if (save) {
            // A typed name without an ending takes the chosen type's before the overwrite
            // question, so that question is asked about the file really written.
            const auto takeEnding = [&d, &dlg, filters](const QString& chosen) {
                d.setDefaultSuffix(FilterEnding(dlg.Filter, static_cast<int>(filters.indexOf(chosen)) + 1).mid(1));
            };
            takeEnding(d.selectedNameFilter());
            QObject::connect(&d, &QFileDialog::filterSelected, &d, takeEnding);
        }
    }
    if (!dlg.FileName.isEmpty()) d.selectFile(dlg.FileName);
    if (d.exec() != QDialog::Accepted || d.selectedFiles().isEmpty()) return false;
    dlg.FileName = d.selectedFiles().first();
    if (!filters.isEmpty()) dlg.FilterIndex = static_cast<int>(filters.indexOf(d.selectedNameFilter())) + 1;
    return true;
}

}  // namespace

DialogHost& Host() {
    static QtDialogHost fallback;
    return g_host ? *g_host : fallback;
}

void SetHost(DialogHost* host) { g_host = host; }

namespace {
QString g_lastFolder;
}

QString LastFolder() { return g_lastFolder; }

void SetLastFolder(const QString& folder) { g_lastFolder = folder; }

AnsweredOpen::AnsweredOpen(const QString& path) : previous_(Host()), path_(path) { SetHost(this); }

AnsweredOpen::~AnsweredOpen() { SetHost(&previous_); }

int AnsweredOpen::MsgBox(const QString& prompt, int buttons, const QString& title, QWidget* owner) {
    return previous_.MsgBox(prompt, buttons, title, owner);
}

bool AnsweredOpen::ShowOpen(CommonDialog& dlg, QWidget* owner) {
    if (path_.isEmpty()) return previous_.ShowOpen(dlg, owner);
    dlg.FileName = std::exchange(path_, QString());
    return true;
}

bool AnsweredOpen::ShowSave(CommonDialog& dlg, QWidget* owner) { return previous_.ShowSave(dlg, owner); }
bool AnsweredOpen::ShowColor(CommonDialog& dlg, QWidget* owner) { return previous_.ShowColor(dlg, owner); }
void AnsweredOpen::ShowModal(Form& form, QWidget* owner) { previous_.ShowModal(form, owner); }
void AnsweredOpen::SetBusy(bool busy) { previous_.SetBusy(busy); }
void AnsweredOpen::End(int code) { previous_.End(code); }

QString QtFilterFromPlatform(const QString& filter) {
    const QStringList parts = filter.split(QLatin1Char('|'));
    QStringList out;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        QString patterns = parts[i + 1];
        patterns.replace(QLatin1Char(';'), QLatin1Char(' '));
        patterns = patterns.simplified();
        if (patterns.isEmpty()) patterns = QStringLiteral("*");
        out << QStringLiteral("%1 (%2)").arg(parts[i].trimmed(), patterns);
    }
    return out.join(QStringLiteral(";;"));
}

int QtDialogHost::MsgBox(const QString& prompt, int buttons, const QString& title, QWidget* owner) {
    QMessageBox box(owner);
    box.setWindowTitle(ShownTitle(title));
    box.setText(prompt);
    box.setIcon(IconFor(buttons));
    const ButtonSet set = ButtonsFor(buttons);
    QMessageBox::StandardButtons all;
    for (auto b : set.buttons) all |= b;
    box.setStandardButtons(all);
    const size_t def = static_cast<size_t>((buttons >> 8) & 3);
    box.setDefaultButton(set.buttons[def < set.buttons.size() ? def : 0]);
    if (set.escape != QMessageBox::NoButton) box.setEscapeButton(set.escape);
    box.exec();
    QAbstractButton* clicked = box.clickedButton();
    if (!clicked) return ResultOf(set.escape);
    return ResultOf(box.standardButton(clicked));
}

bool QtDialogHost::ShowOpen(CommonDialog& dlg, QWidget* owner) { return RunFileDialog(dlg, owner, false); }

bool QtDialogHost::ShowSave(CommonDialog& dlg, QWidget* owner) { return RunFileDialog(dlg, owner, true); }

bool QtDialogHost::ShowColor(CommonDialog& dlg, QWidget* owner) {
    QColorDialog d(ToQColor(dlg.Color), owner);
    d.setOption(QColorDialog::DontUseNativeDialog);
    if (!dlg.DialogTitle.isEmpty()) d.setWindowTitle(dlg.DialogTitle);
    if (d.exec() != QDialog::Accepted) return false;
    dlg.Color = FromQColor(d.selectedColor());
    return true;
}

void QtDialogHost::ShowModal(Form& form, QWidget* owner) {
    // A form of its own, placed over its owner like a dialog, blocking every other window.
    // The form's own flags stay: a dialog without a close box keeps having none.
    form.setParent(owner, form.windowFlags() | Qt::Dialog);
    form.setWindowModality(Qt::ApplicationModal);
    form.show();
    while (form.isVisible() && !form.Unloaded())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents);
    form.hide();
}

// The hourglass is on or off, not counted: two "on" need only one "off".
void QtDialogHost::SetBusy(bool busy) {
    if (busy == g_busy) return;
    g_busy = busy;
    if (busy)
        QApplication::setOverrideCursor(Qt::WaitCursor);
    else
        QApplication::restoreOverrideCursor();
}

void QtDialogHost::End(int code) {
    std::cout.flush();
    std::cerr.flush();
    std::fflush(nullptr);
    std::_Exit(code);
}

}  // namespace vb
