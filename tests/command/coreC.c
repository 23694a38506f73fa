/* The C functions, called as a C compiler understands their header; CoreCTest.cpp says what with. */
#include "command/KSLCoreC.h"
#include "examples/embed/query.c" /* compiled, and run by the test */

#include <string.h>

/* The text returned, or null; the number returned by those that give none. */
char* askFromC(const char* function, const char* object, const char* argument, int* number);

char* askFromC(const char* function, const char* object, const char* argument, int* number)
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
  *number = strcmp(function, "objectExists") == 0 ? objectExists(object) : isObjectCategory(object, argument);
  return NULL;
}
