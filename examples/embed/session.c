/* A session in C: reads definitions, runs the commands of its standard input, and prints the state. docs/embedding.md
 * goes through it.
 *
 *   cc -std=c89 session.c $(pkg-config --cflags --libs orvksl) -o session
 *   printf 'CUT: a\nEND\n' | ./session
 */
#include "session/KSLCore.h"

#include <stdio.h>

static int runAll(const char* library, const char* text)
{
  ksl_session* session;
  const ksl_error* error;
  size_t i;
  int done = ksl_open(library, &session) && ksl_run(session, text);
  for (i = 0; (error = ksl_errors(session, i)) != NULL; ++i)
    fprintf(stderr, "%s\n", error->text);
  if (done)
    fputs(ksl_state(session, NULL), stdout);
  ksl_close(session);
  return done;
}

int main(int argc, char** argv)
{
  static char text[100000];
  text[fread(text, 1, sizeof text - 1, stdin)] = '\0';
  return runAll(argc > 1 ? argv[1] : NULL, text) ? 0 : 1;
}
