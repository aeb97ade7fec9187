#pragma once
#include <QString>

namespace tavix {

class frmMain;

// Gives back every control whose direct container is the named area.
void EnableCommandArea(frmMain& f, const QString& areaName);
// Shuts off every control whose direct container is the named area; with all False the
// controls tagged "NoDisable" are left as they are.
void DisableCommandArea(frmMain& f, const QString& areaName, bool all);

}  // namespace tavix
