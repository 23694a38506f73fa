/* The session in C as a compiler of C89 reads it. The checks are by numbers of lines: 0 is good. */
#include "session/KSLCore.h"

#include <string.h>

#define REQUIRE(condition) \
  if (!(condition))        \
  return __LINE__

int checkSession(const char* library, const char* noLibrary);

struct heard {
  int done;
  int failed;
  size_t changes;
};

static void hear(ksl_session* session, int done, void* data)
{
  struct heard* heard = (struct heard*)data;
  if (done)
    ++heard->done;
  else
    ++heard->failed;
  while (ksl_changes(session, heard->changes))
    ++heard->changes;
  if (done && !ksl_errors(session, 0))
    ksl_run(session, "NONE: n\nEND"); /* fails; what the caller asks for below must be of his own command */
}

static int checkCommands(ksl_session* session)
{
  const ksl_change* change;
  REQUIRE(ksl_run(session, "CUT: a\n  Offset = 25 [cm]\nEND"));
  REQUIRE((change = ksl_changes(session, 0)) && change->kind == KSL_CREATED);
  REQUIRE(strcmp(change->path, "/CUT:a") == 0);
  REQUIRE((change = ksl_changes(session, 1)) && change->kind == KSL_VALUE && !change->internal);
  REQUIRE(strcmp(change->parameter, "Offset") == 0 && strcmp(change->value, "25 [cm]") == 0);
  REQUIRE(!ksl_errors(session, 0));
  REQUIRE(!ksl_run(session, "CUT: a\n  None = 1\nEND"));
  REQUIRE(ksl_errors(session, 0) && ksl_errors(session, 0)->type == KSL_ERROR && !ksl_errors(session, 1));
  REQUIRE(strncmp(ksl_errors(session, 0)->text, "error[4] ", 9) == 0);
  REQUIRE(ksl_errors(session, 0)->line == 2 && ksl_errors(session, 0)->column == 3);
  REQUIRE(strcmp(ksl_errors(session, 0)->object, "/CUT:a") == 0 && !*ksl_errors(session, 0)->source);
  REQUIRE(!ksl_changes(session, 0));
  REQUIRE(!ksl_run(session, "CUT: a\n  Axis = W\nEND"));
  REQUIRE(strcmp(ksl_errors(session, 0)->hint, "allowed: X, Y, Z") == 0);
  REQUIRE(ksl_set(session, "a", "Offset", "50 [cm]"));
  REQUIRE(ksl_undo(session) && strcmp(ksl_get(session, "a", "Offset"), "25 [cm]") == 0);
  REQUIRE(ksl_redo(session) && strcmp(ksl_get(session, "a", "Offset"), "50 [cm]") == 0);
  REQUIRE(ksl_redo(session) && ksl_errors(session, 0)->type == KSL_WARNING);
  return 0;
}

static int checkQuestions(ksl_session* session)
{
  double value = 1;
  const char* const* paths;
  REQUIRE(ksl_quantity(session, "/CUT:a", "Offset", "m", &value) && value == 0.5);
  REQUIRE(!ksl_quantity(session, "/CUT:a", "Offset", "s", &value) && value == 0.5);
  REQUIRE(strcmp(ksl_errors(session, 0)->class_name, "UnitsConverter") == 0);
  REQUIRE((paths = ksl_children(session, "/")) && strcmp(paths[0], "/CUT:a") == 0 && !paths[1]);
  REQUIRE((paths = ksl_objects(session, "BAND")) && !paths[0]);
  REQUIRE(strncmp(ksl_state(session, "a"), "CUT:a\n", 6) == 0);
  REQUIRE(strncmp(ksl_state(session, NULL), "CUT:a\n", 6) == 0);
  REQUIRE(!ksl_children(session, "none"));
  REQUIRE(strcmp(ksl_errors(session, 0)->message, "Object 'none' does not exist.") == 0);
  REQUIRE(!ksl_get(session, "a", NULL));
  REQUIRE(strcmp(ksl_errors(session, 0)->message, "Input parameter parameter is a null pointer.") == 0);
  return 0;
}

static int checkNull(void)
{
  REQUIRE(!ksl_run(NULL, "") && !ksl_state(NULL, NULL) && !ksl_errors(NULL, 0) && !ksl_changes(NULL, 0));
  REQUIRE(!ksl_observe(NULL, NULL, NULL) && !ksl_open(NULL, NULL));
  ksl_close(NULL);
  return 0;
}

int checkSession(const char* library, const char* noLibrary)
{
  ksl_session* session = NULL;
  ksl_session* other = NULL;
  struct heard heard = {0, 0, 0};
  int line;
  REQUIRE(strcmp(ksl_version(), KSL_VERSION) == 0);
  REQUIRE(!ksl_open(noLibrary, &session) && session && ksl_errors(session, 0));
  REQUIRE(!ksl_run(session, "CUT: a\nEND") && !ksl_state(session, NULL));
  ksl_close(session);
  REQUIRE(ksl_open(library, &session) && ksl_open(NULL, &other));
  if ((line = checkCommands(session)) || (line = checkQuestions(session)) || (line = checkNull()))
    return line;
  REQUIRE(ksl_state(other, NULL)[0] == '\0'); /* nothing of the first session is in the second */

  REQUIRE(ksl_observe(session, hear, &heard));
  REQUIRE(ksl_run(session, "CUT: b\nEND") && !ksl_errors(session, 0) && ksl_changes(session, 0));
  REQUIRE(heard.done == 1 && heard.failed == 1 && heard.changes == 1);
  REQUIRE(ksl_observe(session, NULL, NULL) && ksl_undo(session) && heard.done == 1);
  ksl_close(session);
  ksl_close(other);
  return 0;
}
