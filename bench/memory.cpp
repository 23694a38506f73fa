// Peak memory of a process that holds the model's text and loads it, for each peer and size, in a process of
// its own.
//   bench_memory [OBJECTS...]
// Rows: peer, objects, MiB at the peak, MiB above a process that only makes the text (of "ksl run": that is given an
// empty text), bytes an object of that. "# edit" lines: live bytes that an edit of one parameter leaves, from one end
// of the model to the other.
#include "bench/Baselines.h"
#include "bench/LibraryPeer.h"
#include "bench/Model.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

using namespace bench;

namespace {

template <class Peer>
void loadInto(Peer& peer, const std::string& text)
{
  peer.load(text);
}

constexpr const char* real = "library, real";
constexpr const char* undone = "library, undone and redone";

void work(const std::string& peer, const std::string& text)
{
  if (peer == "map") {
    MapStore store;
    loadInto(store, text);
    _exit(store.size() ? 0 : 1);
  }
  if (peer == "flat") {
    FlatStore store;
    loadInto(store, text);
    _exit(store.size() ? 0 : 1);
  }
  if (peer.starts_with("library")) {
    LibraryPeer store(peer == real ? realRules()
                                   : modelRules(peer == "library, 50 parameters" ? 50 : paramCount));
    loadInto(store, text);
    if (peer == undone) {
      store.undo();
      store.redo();
    }
    _exit(store.size() ? 0 : 1);
  }
  _exit(text.empty() ? 1 : 0);  // "text": nothing but the text itself
}

// KiB at the peak of a process that does the work.
template <class Work>
long peakOf(const std::string& name, Work work)
{
  const pid_t child = fork();
  if (child == 0)
    work();
  int status = 0;
  rusage used{};
  if (child < 0 || wait4(child, &status, 0, &used) < 0 || status != 0) {
    std::fprintf(stderr, "%s failed\n", name.c_str());
    std::exit(1);
  }
  return used.ru_maxrss;
}

void writeFile(const std::filesystem::path& file, const std::string& text)
{
  std::ofstream(file) << text;
}

// The program, with the text of a model, and without any.
std::pair<long, long> peaksOfRun(const std::filesystem::path& program, Parameters parameters, long objects)
{
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("bench-memory-" + std::to_string(getpid()));
  std::filesystem::create_directory(folder);
  // By a process of its own: what this one has counts for those that it starts.
  peakOf("the writer", [&] {
    const std::vector<std::string> rules = parameters == Parameters::real ? realRules() : modelRules();
    writeFile(folder / "rules.ksl", orv::StringUtilities::vectorToString(rules, '\n') + "\n");
    writeFile(folder / "model.ksl", modelText({objects}, parameters));
    writeFile(folder / "none.ksl", "");
    _exit(0);
  });
  const auto peak = [&](const char* text) {
    return peakOf("ksl run", [&] {
      execl(program.c_str(), "ksl", "run", "--library", (folder / "rules.ksl").c_str(),
            (folder / text).c_str(), nullptr);
      _exit(1);
    });
  };
  const std::pair<long, long> peaks(peak("model.ksl"), peak("none.ksl"));
  std::filesystem::remove_all(folder);
  return peaks;
}

// In a process of its own; edits of different objects, each a command.
void printEdits(const Shape& shape)
{
  peakOf("edits", [&] {
    LibraryPeer store;
    store.load(modelText(shape));
    const long edits =
        shape.objects / 2;  // many: small blocks are taken from the allocator a megabyte at once
    const auto live = [] { return static_cast<double>(mallinfo2().uordblks + mallinfo2().hblkhd); };
    const double before = live();
    for (long k = 0; k < edits; ++k)
      store.run(editText(k * (shape.objects / edits), shape, paramName(1), "brass-" + std::to_string(k)));
    std::printf("# edit\t%ld\t%.0f bytes\n", shape.objects, (live() - before) / static_cast<double>(edits));
    std::fflush(stdout);
    _exit(0);
  });
}

void print(const char* peer, long objects, long peak, long without)
{
  std::printf("%s\t%ld\t%.1f\t%.1f\t%.0f\n", peer, objects, static_cast<double>(peak) / 1024,
              static_cast<double>(peak - without) / 1024,
              static_cast<double>(peak - without) * 1024 / static_cast<double>(objects));
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv)
{
  std::vector<long> sizes;
  for (int i = 1; i < argc; ++i)
    sizes.push_back(std::atol(argv[i]));
  if (sizes.empty())
    sizes = {10000, 100000, 1000000};
  std::printf("peer\tobjects\tpeak MiB\tabove text MiB\tbytes an object\n");
  const std::filesystem::path program = std::filesystem::path(argv[0]).parent_path() / "ksl";
  for (long objects : sizes) {
    const auto peakOfPeer = [&](const char* peer, Parameters parameters) {
      return peakOf(peer, [&] { work(peer, modelText({objects}, parameters)); });
    };
    const long text = peakOfPeer("text", Parameters::plain);
    for (const char* peer : {"map", "flat", "library", undone, "library, 50 parameters"})
      print(peer, objects, peakOfPeer(peer, Parameters::plain), text);
    print(real, objects, peakOfPeer(real, Parameters::real), peakOfPeer("text", Parameters::real));
    for (const auto& [name, parameters] :
         {std::pair("ksl run", Parameters::plain), std::pair("ksl run, real", Parameters::real)}) {
      const auto [with, without] = peaksOfRun(program, parameters, objects);
      print(name, objects, with, without);
    }
    printEdits({objects});
  }
  return 0;
}
