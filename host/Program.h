// The program ksl.
#pragma once

// Does what the command line says. Returns the exit status.
int runProgram(int argc, char** argv);
