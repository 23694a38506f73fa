/* Questions about the objects of the model that is current, for C and for languages that call C. Start-up and commands
 * are C++ (command/KSLInterface.h, command/KSLCoreAPI.h), or those of session/KSLCore.h.
 *
 * `object` names an object: with a leading "/" by its path ("/" is the root), else by its name, which must be
 * that of one top-level object. All texts end in a null character and are encoded as the definitions are.
 *
 * A text returned is newly allocated and its caller's, to be freed with freeKSLText. A list has one entry a
 * line, and each line ends with "\n", so a list without entries is the empty text. These formats do not
 * change.
 *
 * Nothing is thrown. What fails is reported through the library's error reporter, and the function returns null
 * or 0: an argument that is null ("Input parameter %s is a null pointer.", class "KSLCoreC") or empty ("Input
 * parameter %s is empty.") with the name that it has here; a name that several top-level objects have ("Object
 * name %s is ambiguous."); an object that does not exist ("Object '%s' does not exist.", class "KSLCoreC"),
 * except where it is what is asked; lack of memory.
 *
 * Asks the model that is current for the calling thread. Costs are those of a look-up plus the text returned. */
#pragma once

#include "platform/ORVExport.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The value as stored; empty for one that is empty. A parameter that the object lacks is reported: "Parameter
 * '%s' does not exist on object %s.". */
ORV_API char* getParamValue(const char* object, const char* parameter);

/* The type of the object; "ROOT" of the root. */
ORV_API char* getObjectType(const char* object);

/* Paths of the objects directly below, in their order; the second, only those of the category. A category that
 * nobody registered has no objects. */
ORV_API char* getObjectChildren(const char* object);
ORV_API char* getObjectChildrenByCategory(const char* object, const char* category);

/* 1 when the object is of the category, or of the type of that name; else 0. */
ORV_API int isObjectCategory(const char* object, const char* category);

/* Lines "name = value" of all parameters, in name order. A line end within a value, which no command can write
 * but a calculation can, is shown as a blank here and in the next one. */
ORV_API char* getObjectParameters(const char* object);

/* One parameter, in eleven lines "key = text" in this order, with the words of the RULES where they have one.
 * The text may be empty. Set and Internal are "True" or "False"; allowed values are separated by ", ". Reports
 * a parameter that the object lacks as getParamValue does.
 *
 *    Name, Value, Default, Set, Internal, Parameter Type, Parameter Category, Local Type, Remote Type,
 *    Remote Path, Allowed String List */
ORV_API char* getObjectParameterInfo(const char* object, const char* parameter);

/* 1 when there is such an object; else 0. */
ORV_API int objectExists(const char* object);

/* Reports a text of the caller's, as class "KSLCoreC" and function "reportError". Any level but these is taken
 * as KSL_ERROR. */
enum {
  KSL_SYSTEM_FAILURE = 1, /* the machine or the system failed */
  KSL_ERROR = 4,          /* what the user asked for could not be done */
  KSL_WARNING = 8,        /* something was skipped */
  KSL_INTERNAL_ERROR = 32 /* a fault of a program */
};
ORV_API void reportError(const char* text, int level);

/* Frees a text that a function of this header returned; null is ignored. */
ORV_API void freeKSLText(char* text);

#ifdef __cplusplus
}
#endif
