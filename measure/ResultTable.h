#pragma once
// The result list beside the still: emptying it, removing selected rows, saving it as text,
// and repainting when the selection moves.
namespace tavix {

class frmMain;

// Empties grid and table, selects row 1, clears ResultDirty and repaints the bare still.
// Asks nothing: callers ask first, by ResultDirty.
void ClearResults(frmMain& f);

// Empties the list after a Yes to the question; nothing when the list is empty.
void cmdResultClear_Click(frmMain& f);

// Removes the selected rows holding results, after a Yes; the rows behind close up and are
// numbered anew.
void cmdResultRemove_Click(frmMain& f);

// Writes the grid's rows, cells joined by ",", one CR LF line each, to a file the user names.
void cmdResultSave_Click(frmMain& f);

// The selected rows of grdResult changed: repaint, so the highlight follows.
void grdResult_SelChange(frmMain& f);

}  // namespace tavix
