// Instructions of each kind of work, for the guard of "make bench-count": counts repeat where times do not.
//   valgrind --tool=callgrind --instr-atstart=no --callgrind-out-file=FILE bench_counts [OBJECTS]
// writes a FILE.N for each work, described by its name; tools/bench_count.py runs it and compares.
#include "bench/LibraryPeer.h"
#include "bench/Model.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <valgrind/callgrind.h>

using namespace bench;

namespace {

template <class Work>
void count(const char* name, Work work)
{
  CALLGRIND_START_INSTRUMENTATION;
  CALLGRIND_ZERO_STATS;
  work();
  CALLGRIND_DUMP_STATS_AT(name);
  CALLGRIND_STOP_INSTRUMENTATION;
}

constexpr long edits = 200;

}  // namespace

int main(int argc, char** argv)
{
  const Shape shape{argc > 1 ? std::atol(argv[1]) : 5000};
  const std::string text = modelText(shape);
  const std::string file =
      (std::filesystem::temp_directory_path() / ("bench-counts-" + std::to_string(getpid()) + ".qst"))
          .string();

  LibraryPeer peer;
  count("load", [&] { peer.load(text); });
  count("undo load", [&] { peer.undo(); });
  count("redo load", [&] { peer.redo(); });
  count("edit", [&] {
    for (long k = 0; k < edits; ++k)
      peer.run(editText(scattered(k, shape.objects), shape, paramName(1), "brass-" + std::to_string(k)));
  });
  count("undo", [&] {
    for (long k = 0; k < edits; ++k)
      peer.undo();
  });
  count("redo", [&] {
    for (long k = 0; k < edits; ++k)
      peer.redo();
  });
  count("savestate", [&] { peer.run("> savestate filename=" + file); });
  count("delete", [&] {
    for (long group = 0; group < shape.objects; group += shape.group)
      peer.erase("/GROUP:" + groupName(group, shape));
  });
  count("readstate", [&] { peer.run("> readstate filename=" + file); });
  std::filesystem::remove(file);
  if (peer.size() < static_cast<std::size_t>(shape.objects)) {
    std::fprintf(stderr, "The state read back holds %zu objects.\n", peer.size());
    return 1;
  }
}
