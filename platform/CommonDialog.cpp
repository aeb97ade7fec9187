#include "CommonDialog.h"

#include <QFileInfo>

#include "DialogHost.h"
#include "Form.h"

namespace vb {

CommonDialog::CommonDialog(Form& form, ContainerBase* container, const QString& name, int index)
    : Control(form, container, name, index) {}

// Without a folder of the caller's the dialog starts where the user last chose a file.
bool CommonDialog::RunFileDialog(bool save) {
    const QString own = InitDir;
    if (own.isEmpty()) InitDir = LastFolder();
    const bool chosen = save ? Host().ShowSave(*this, &form_) : Host().ShowOpen(*this, &form_);
    InitDir = own;
    if (chosen && !FileName.isEmpty()) SetLastFolder(QFileInfo(FileName).absolutePath());
    return chosen;
}

void CommonDialog::ShowOpen() {
    if (RunFileDialog(false)) return;
    FileName.clear();
    if (CancelError) Raise(ErrCancel);
}

QString FilterEnding(const QString& filter, int index) {
    const QStringList parts = filter.split(QLatin1Char('|'));
    const qsizetype at = 2 * qsizetype(index - 1) + 1;
    if (index < 1 || at >= parts.size()) return {};
    const QString first = parts[at].section(QLatin1Char(';'), 0, 0).trimmed();
    const QString ending = first.mid(1);
    if (!first.startsWith(QLatin1String("*.")) || ending.size() < 2 || ending.contains(QLatin1Char('*')) ||
        ending.contains(QLatin1Char('?')))
        return {};
    return ending;
}

void CommonDialog::ShowSave() {
    if (RunFileDialog(true)) {
        // A typed name without an ending gets the one of the chosen type, as users expect.
        const QString base = FileName.section(QLatin1Char('/'), -1);
        // A folder's name is a name already, which writing then refuses.
        if (!base.isEmpty() && !base.contains(QLatin1Char('.')) && !QFileInfo(FileName).isDir())
            FileName += FilterEnding(Filter, FilterIndex);
        return;
    }
    FileName.clear();
    if (CancelError) Raise(ErrCancel);
}

void CommonDialog::ShowColor() {
    const uint32_t before = Color;
    if (Host().ShowColor(*this, &form_)) return;
    Color = before;
    if (CancelError) Raise(ErrCancel);
}

}  // namespace vb
