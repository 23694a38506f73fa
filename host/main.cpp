// ksl, the command-line host.
#include "Program.h"

int main(int argc, char** argv)
{
  return runProgram(argc, argv);
}
