#pragma once
// The file and colour dialogs, run through the dialog host.
#include "Control.h"

namespace vb {

// The ending of the first pattern of the filter's index-th type (from 1), ".bmp" of
// "Bitmap|*.bmp;*.dib"; empty when that pattern has no fixed ending ("*.*", "*").
QString FilterEnding(const QString& filter, int index);

// The file and colour dialogs, run through the dialog host.
class CommonDialog : public Control {
public:
    CommonDialog(Form& form, ContainerBase* container, const QString& name, int index = -1);
    bool HasGeometry() const override { return false; }
    bool Visible() const override { return false; }
    void SetVisible(bool) override {}
    void ApplyGeometry() override {}
    QString DialogTitle;
    QString Filter;
    int FilterIndex = 1;
    QString FileName;
    QString InitDir;
    int Flags = 0;
    uint32_t Color = 0;
    bool CancelError = false;
    // On Cancel: error 32755 when CancelError, else FileName is left empty.
    void ShowOpen();
    void ShowSave();
    void ShowColor();

private:
    bool RunFileDialog(bool save);
};

}  // namespace vb
