#pragma once

namespace tavix {

class frmMain;

// Replaces the still by a picture file chosen by the user, with the comment kept beside it.
void cmdPicLoad_Click(frmMain& f);

}  // namespace tavix
