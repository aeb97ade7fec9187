#include "CommandArea.h"

#include "frmMain.h"

namespace tavix {

namespace {
bool InArea(const vb::Control* control, const vb::ContainerBase& area) {
    // Windowless controls without Enabled (lines, shapes) are passed over.
    return control->HasEnabled() && control->Container() == &area;
}
}  // namespace

void EnableCommandArea(frmMain& f, const vb::ContainerBase& area) {
    for (vb::Control* control : f.Controls)
        if (InArea(control, area)) control->SetEnabled(true);
    if (&area == f.picViewCommandArea) {
        // The adjust button belongs to the live view, saving results to the still view.
        if (f.ViewMode != ViewMode::Live) f.cmdPinProp->SetEnabled(false);
        if (f.ViewMode == ViewMode::Live) f.chkMeasureSave->SetEnabled(false);
    }
}

void DisableCommandArea(frmMain& f, const vb::ContainerBase& area, bool all) {
    for (vb::Control* control : f.Controls) {
        if (!InArea(control, area)) continue;
        if (all || control->Tag != QLatin1String("NoDisable")) control->SetEnabled(false);
    }
}

}  // namespace tavix
