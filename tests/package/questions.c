/* A program in C alone: nobody has started the library, so there are no objects. */
#include <orvksl/command/KSLCoreC.h>
#include <stdio.h>

int main(void)
{
  reportError("a text", 8);
  fflush(stderr);
  puts(objectExists("/CUT:a") ? "there" : "nothing there");
  return 1;
}
