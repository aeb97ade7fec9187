#pragma once
// What a desktop program's user takes for granted on the main window: the keys, the tooltips
// of the picture buttons, a picture file dropped on the window, result rows copied as text.
#include <QString>

namespace vb {
class CommandButton;
}

namespace tavix {

class frmMain;

void WireDesktopHabits(frmMain& f);

// The tooltip of a picture button: its caption and its key, if it has one.
QString ToolTipOf(const frmMain& f, const vb::CommandButton& button);

// The selected result rows, or all of them when the selection holds none, as tab-separated
// lines under the grid's headings.
QString ResultRowsAsText(const frmMain& f);

}  // namespace tavix
