#pragma once

namespace vb {
class ContainerBase;
}

namespace tavix {

class frmMain;

// Gives back every control whose direct container is area (picViewCommandArea or
// picMeasureCommandArea).
void EnableCommandArea(frmMain& f, const vb::ContainerBase& area);
// Shuts off every control whose direct container is area; with all False the controls
// tagged "NoDisable" are left as they are.
void DisableCommandArea(frmMain& f, const vb::ContainerBase& area, bool all);

}  // namespace tavix
