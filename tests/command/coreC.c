/* The C functions, called as a C compiler understands their header; CoreCTest.cpp says what with. */
#include "command/KSLCoreC.h"
#include "examples/embed/query.c" /* compiled, and run by the test */

#include <string.h>

/* The text returned; null where there is none. */
char* textFromC(const char* function, const char* object, const char* argument);
/* The number returned; reportError has none, so the level comes back. */
int numberFromC(const char* function, const char* object, const char* argument, int level);

char* textFromC(const char* function, const char* object, const char* argument)
{
  if (strcmp(function, "getParamValue") == 0)
    return getParamValue(object, argument);
  if (strcmp(function, "getObjectType") == 0)
    return getObjectType(object);
  if (strcmp(function, "getObjectChildren") == 0)
    return getObjectChildren(object);
  if (strcmp(function, "getObjectChildrenByCategory") == 0)
    return getObjectChildrenByCategory(object, argument);
  if (strcmp(function, "getObjectParameters") == 0)
    return getObjectParameters(object);
  if (strcmp(function, "getObjectParameterInfo") == 0)
    return getObjectParameterInfo(object, argument);
  return NULL;
}

int numberFromC(const char* function, const char* object, const char* argument, int level)
{
  if (strcmp(function, "isObjectCategory") == 0)
    return isObjectCategory(object, argument);
  if (strcmp(function, "objectExists") == 0)
    return objectExists(object);
  if (strcmp(function, "reportError") == 0)
    reportError(object, level);
  return level;
}
