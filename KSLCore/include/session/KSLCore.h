/* A session in C, and for languages that call C. docs/embedding.md has an example.
 *
 * Objects are named by path ("/CUT:a"; "/" is the root), top-level ones also by name. Texts are those of the C++ classes
 * (session/Session.h), encoded as they were given.
 *
 * Nothing is thrown. What fails gives 0 or null, and ksl_errors says why. A null session, and a null text where none is
 * allowed, fails so too; of a null session there is nothing to say.
 *
 * What a function returns belongs to the session. It holds until the next call of the same function for this session
 * unless something else is said, and until ksl_close at most. Texts given are copied.
 *
 * A session is for one thread at a time.
 */
#pragma once

#include "command/KSLCoreC.h"

#include <stddef.h>

#define KSL_VERSION_MAJOR 1
#define KSL_VERSION_MINOR 0
#define KSL_VERSION_PATCH 0
#define KSL_VERSION "1.0.0"

#ifdef __cplusplus
extern "C" {
#endif

/* The version of the library that runs; KSL_VERSION is that of the header. Holds for ever. */
ORV_API const char* ksl_version(void);

typedef struct ksl_session ksl_session;

/* Begins a session with the definitions of these files or directories, separated by commas; null: those of the
 * environment variable ORV_KSL_LIBRARY_PATH when it is set, else those installed with the library. 1 when it has begun.
 * Else *session is one that can do nothing but say why (ksl_errors), or null when there is no memory even for that.
 * Close it in any case.
 */
ORV_API int ksl_open(const char* library, ksl_session** session);
/* Ends it, with all that it gave out. Null is ignored. Not from an observer. */
ORV_API void ksl_close(ksl_session* session);

/* ---- Commands: each is done as a whole, which gives 1, or not at all. Each is one undo step. When there is no memory
 * to tell what came of one ("Insufficient memory"), it may have been done.
 */

/* KSL text: blocks and action lines. */
ORV_API int ksl_run(ksl_session* session, const char* text);
/* Sets a parameter of an object that is there. */
ORV_API int ksl_set(ksl_session* session, const char* object, const char* parameter, const char* value);
/* With nothing to undo or redo, they do nothing, and ksl_errors has a warning. */
ORV_API int ksl_undo(ksl_session* session);
ORV_API int ksl_redo(ksl_session* session);

/* One report. More members may follow in later versions. */
typedef struct ksl_error {
  int type; /* KSL_ERROR, KSL_WARNING, KSL_SYSTEM_FAILURE or KSL_INTERNAL_ERROR */
  const char* class_name;
  const char* function;
  const char* message;
  const char* text; /* all of it as people see it, on one or more lines */
  /* Where and what: texts are empty, numbers 0, where it is not known. */
  const char* source; /* of the text: a file; empty for one that was given to ksl_run */
  size_t line;        /* from 1 */
  size_t column;      /* from 1, in bytes */
  const char* object; /* its path */
  const char* parameter;
  const char* hint; /* what would be right */
} ksl_error;

/* What the last command reported, or the last question that failed: for (i = 0; (error = ksl_errors(s, i)); ++i). Null
 * behind the last one. Holds until the next call for this session that is neither this nor ksl_changes.
 */
ORV_API const ksl_error* ksl_errors(const ksl_session* session, size_t index);

enum { KSL_CREATED = 0, KSL_VALUE = 1, KSL_REMOVED = 2, KSL_DELETED = 3 };

/* One change of an object. More members may follow in later versions. */
typedef struct ksl_change {
  int kind;         /* KSL_CREATED, ... */
  const char* path; /* of the object */
  const char* parameter;
  const char* value; /* as stored; of KSL_VALUE */
  int internal;      /* a parameter of the program's, not of the user's */
} ksl_change;

/* What the last command changed, in the order in which it was done; null behind the last one. Holds until the next
 * command.
 */
ORV_API const ksl_change* ksl_changes(const ksl_session* session, size_t index);

/* Is told of each command when it is over: 1 for one that was done. It may ask questions and run commands. */
typedef void (*ksl_observer)(ksl_session* session, int done, void* data);
/* Sets the one observer, in the place of the one before; null for none. */
ORV_API int ksl_observe(ksl_session* session, ksl_observer observer, void* data);

/* ---- Questions */

/* KSL text that can be read back: of the object with all below it, of all there is when it is null. */
ORV_API const char* ksl_state(ksl_session* session, const char* object);
/* The value as stored. */
ORV_API const char* ksl_get(ksl_session* session, const char* object, const char* parameter);
/* Puts the number that the parameter is, in these units, into *value; null or "": in its own. */
ORV_API int ksl_quantity(ksl_session* session, const char* object, const char* parameter, const char* units,
                         double* value);
/* Paths, with a null behind the last one: of the objects directly below; of all objects of a type or category, parents
 * before children.
 */
ORV_API const char* const* ksl_children(ksl_session* session, const char* object);
ORV_API const char* const* ksl_objects(ksl_session* session, const char* type_or_category);

#ifdef __cplusplus
}
#endif
