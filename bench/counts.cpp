// Instructions of each kind of work, for the guard of "make bench-count": counts repeat where times do not.
//   valgrind --tool=callgrind --instr-atstart=no --callgrind-out-file=FILE bench_counts [OBJECTS]
// writes a FILE.N for each work, described by its name; tools/bench_count.py runs it and compares.
//   bench_counts OBJECTS FOLDER
// writes the models there, and their rules, for programs that read files.
#include "bench/LibraryPeer.h"
#include "bench/Model.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
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

void countPlain(const Shape& shape)
{
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
  if (peer.size() < static_cast<std::size_t>(shape.objects))
    throw std::runtime_error("The state read back holds " + std::to_string(peer.size()) + " objects.");
}

void countReal(const Shape& shape)
{
  const std::string text = modelText(shape, Parameters::real);
  LibraryPeer peer(realRules());
  count("real load", [&] { peer.load(text); });
  count("real undo load", [&] { peer.undo(); });
  count("real redo load", [&] { peer.redo(); });
  count("real edit", [&] {
    for (long k = 0; k < edits; ++k)
      peer.run(editText(scattered(k, shape.objects), shape, "Surface Roughness Height",
                        std::to_string(k) + " [mm]"));
  });
}

void writeFile(const std::string& name, const std::string& text)
{
  std::ofstream(name) << text;
}

// What "ksl run" is counted with.
void writeFiles(const std::string& folder, const Shape& shape)
{
  const auto write = [&](const char* model, const std::vector<std::string>& rules, Parameters parameters) {
    writeFile(folder + "/" + model + "-rules.ksl", orv::StringUtilities::vectorToString(rules, '\n') + "\n");
    writeFile(folder + "/" + model + ".ksl", modelText(shape, parameters));
  };
  write("plain", modelRules(), Parameters::plain);
  write("real", realRules(), Parameters::real);
}

}  // namespace

int main(int argc, char** argv)
{
  const Shape shape{argc > 1 ? std::atol(argv[1]) : 5000};
  if (argc > 2) {
    writeFiles(argv[2], shape);
    return 0;
  }
  countPlain(shape);
  countReal(shape);
  return 0;
}
