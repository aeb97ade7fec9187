#pragma once

namespace tavix {

class frmMain;

// Keeps the window above its least size and fits the areas and the picture to it.
void Form_Resize(frmMain& f);

}  // namespace tavix
