/* Questions in C, inside a program that has started the library. docs/embedding.md goes through it.
 *
 *   cc -c $(pkg-config --cflags orvksl) query.c
 */
#include "command/KSLCoreC.h"

#include <stdio.h>

int printObject(FILE* out, const char* object);

static int printText(FILE* out, char* text)
{
  if (!text) /* it has been reported why */
    return 0;
  fputs(text, out);
  freeKSLText(text);
  return 1;
}

int printObject(FILE* out, const char* object)
{
  if (!objectExists(object))
    return 0;
  return printText(out, getObjectParameters(object)) && printText(out, getObjectChildren(object));
}
