#include "Wiring.h"

int main(int argc, char** argv) { return tavix::RunProgram(0, argc, argv); }
