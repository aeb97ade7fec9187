#include "CommandArea.h"

#include "frmMain.h"

namespace tavix {

namespace {
bool InArea(const vb::Control* control, const QString& areaName) {
    // Windowless controls without Enabled (lines, shapes) are passed over.
    return control->HasEnabled() && control->Container() &&
           control->Container()->ContainerName() == areaName;
}
}  // namespace

void EnableCommandArea(frmMain& f, const QString& areaName) {
    for (vb::Control* control : f.Controls)
        if (InArea(control, areaName)) control->SetEnabled(true);
    if (areaName == QLatin1String("picViewCommandArea")) {
        // The adjust button belongs to the live view, saving results to the still view.
        if (f.ViewMode != ViewMode::Live) f.cmdPinProp->SetEnabled(false);
        if (f.ViewMode == ViewMode::Live) f.chkMeasureSave->SetEnabled(false);
    }
}

void DisableCommandArea(frmMain& f, const QString& areaName, bool all) {
    for (vb::Control* control : f.Controls) {
        if (!InArea(control, areaName)) continue;
        if (all || control->Tag != QLatin1String("NoDisable")) control->SetEnabled(false);
    }
}

}  // namespace tavix
