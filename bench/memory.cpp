// Peak memory of a process that holds the model's text and loads it, for each peer and size, in a process of
// its own.
//   bench_memory [OBJECTS...]
// Rows: peer, objects, MiB at the peak, MiB above a process that only makes the text, bytes an object of
// that.
#include "bench/Baselines.h"
#include "bench/LibraryPeer.h"
#include "bench/Model.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace bench;

namespace {

template <class Peer>
void loadInto(Peer& peer, const std::string& text)
{
  peer.load(text);
}

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
  if (peer == "library" || peer == "library, 50 parameters") {
    LibraryPeer store(peer == "library" ? paramCount : 50);
    loadInto(store, text);
    _exit(store.size() ? 0 : 1);
  }
  _exit(text.empty() ? 1 : 0);  // "text": nothing but the text itself
}

// KiB at the peak of a process that does the work.
long peakOf(const std::string& peer, long objects)
{
  const pid_t child = fork();
  if (child == 0)
    work(peer, modelText({objects}));
  int status = 0;
  rusage used{};
  if (child < 0 || wait4(child, &status, 0, &used) < 0 || status != 0) {
    std::fprintf(stderr, "%s with %ld objects failed\n", peer.c_str(), objects);
    std::exit(1);
  }
  return used.ru_maxrss;
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
  for (long objects : sizes) {
    const long text = peakOf("text", objects);
    for (const char* peer : {"map", "flat", "library", "library, 50 parameters"}) {
      const long peak = peakOf(peer, objects);
      std::printf("%s\t%ld\t%.1f\t%.1f\t%.0f\n", peer, objects, static_cast<double>(peak) / 1024,
                  static_cast<double>(peak - text) / 1024,
                  static_cast<double>(peak - text) * 1024 / static_cast<double>(objects));
      std::fflush(stdout);
    }
  }
  return 0;
}
