#pragma once
#include <cstdint>

namespace tavix {

class frmMain;

// Loads the icons compiled into the program.
void InitResources();

// Connects every handler of every subsystem to the controls and events of the main window.
void WireMain(frmMain& f);

// The whole program for one variant: start-up, the window, the event loop.
int RunProgram(int16_t programType, int argc, char** argv);

}  // namespace tavix
