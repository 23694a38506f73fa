// Times of copying, renaming and deleting one object with all others below it, beside the time of loading as many.
//   bench_objects [Google Benchmark's options]
// Names are work/objects; an item is an object; "x load" is the ratio to the load in the same process just before.
#include "bench/LibraryPeer.h"
#include "bench/Model.h"
#include "bench/Stopwatch.h"

#include <benchmark/benchmark.h>
#include <string>

using namespace bench;

namespace {

using Work = void (*)(LibraryPeer& peer, const std::string& path);

// Seconds of the work, and of the load that it works on.
struct Times {
  double load;
  double work;
};

Times measure(const std::string& text, const Shape& shape, Work work, long expected)
{
  LibraryPeer peer;
  const Stopwatch loading;
  peer.load(text);
  const double load = loading.seconds();
  const std::string path = objectPath(0, shape);
  const Stopwatch working;
  work(peer, path);
  const double seconds = working.seconds();
  require(peer.size() == static_cast<std::size_t>(expected), "number of objects");
  if (expected > 0) {
    const std::string inner = objectPath(shape.objects - 1, shape);
    require(
        peer.get((expected == shape.objects ? "/GROUP:copy" : path) + inner.substr(path.size()), paramName(3))
            == paramValue(shape.objects - 1, 3),
        "value");
  }
  return {load, seconds};
}

// `share`: how many times the objects are there afterwards.
void run(benchmark::State& state, Work work, long share)
{
  const Shape shape{state.range(0), state.range(0)};
  const std::string text = modelText(shape);
  Times total{0, 0};
  for (auto _ : state) {
    const Times times = measure(text, shape, work, share * shape.objects);
    state.SetIterationTime(times.work);
    total.load += times.load;
    total.work += times.work;
  }
  state.SetItemsProcessed(state.iterations() * shape.objects);
  state.counters["x load"] = total.work / total.load;
}

void copy(LibraryPeer& peer, const std::string& path)
{
  peer.copy(path, "copy");
}
void rename(LibraryPeer& peer, const std::string& path)
{
  peer.rename(path, "copy");
}
void erase(LibraryPeer& peer, const std::string& path)
{
  peer.erase(path);
}

void add(const char* name, Work work, long share)
{
  benchmark::RegisterBenchmark(name, run, work, share)
      ->Arg(10000)
      ->Arg(100000)
      ->Arg(1000000)
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int argc, char** argv)
{
  add("copy", copy, 2);
  add("rename", rename, 1);
  add("delete", erase, 0);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv))
    return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
