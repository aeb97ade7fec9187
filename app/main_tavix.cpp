#include "Wiring.h"

int main(int argc, char** argv) { return tavix::RunProgram(1, argc, argv); }
