// What recording adds to a command of a thousand lines, and a replay beside running the same text.
//   bench_files [Google Benchmark's options]
// Names are work/way/objects; an item is a command, or an object.
#include "bench/LibraryPeer.h"
#include "bench/Model.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

using namespace bench;

namespace {

constexpr long commandLines = 1000;

double processSeconds()
{
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

void require(bool good, const char* what)
{
  if (!good)
    throw std::runtime_error(std::string("wrong result: ") + what);
}

std::string scratchFile(const char* name)
{
  return (std::filesystem::temp_directory_path() / name).string();
}

// Edits of objects all over the model, as a user's script would hold them.
std::vector<std::string> editLines(const Shape& shape, int round)
{
  std::vector<std::string> lines;
  for (long k = 0; static_cast<long>(lines.size()) < commandLines; ++k) {
    const std::string name = paramName(static_cast<int>(k % paramCount));
    std::string text = editText(scattered(k, shape.objects), shape, name, "edited-" + std::to_string(round));
    text.pop_back();
    for (std::string& line : orv::StringUtilities::stringToVector(text, '\n'))
      lines.push_back(std::move(line));
  }
  return lines;
}

double secondsOf(const std::vector<std::string>& lines)
{
  const double start = processSeconds();
  orv::KSLCoreAPI::instance()->externalProcessKSL(lines);
  return processSeconds() - start;
}

double median(std::vector<double> values)
{
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

// Commands that are recorded and others take turns, twenty at a time: what else the machine does meets both alike.
void recording(benchmark::State& state)
{
  constexpr int turn = 20;
  const Shape shape{state.range(0)};
  LibraryPeer peer;
  peer.load(modelText(shape));
  const std::string file = scratchFile("bench_recorded.ksl");
  std::filesystem::remove(file);
  int round = 0;
  std::vector<double> plain;
  std::vector<double> recorded;
  std::vector<double> added;
  const auto turnOf = [&](std::vector<double>& times) {
    std::vector<double> single;
    for (int k = 0; k < turn; ++k)
      single.push_back(secondsOf(editLines(shape, ++round)));
    times.push_back(median(std::move(single)));
  };
  for (auto _ : state) {
    turnOf(plain);
    peer.run("> session start, mode=append, filename=" + file);
    turnOf(recorded);
    peer.run("> session stop");
    added.push_back(recorded.back() - plain.back());
    state.SetIterationTime(recorded.back());
  }
  require(peer.get(objectPath(scattered(7, shape.objects), shape), paramName(7))
              == "edited-" + std::to_string(round),
          "command");
  require(std::filesystem::file_size(file) > static_cast<std::uintmax_t>(round / 2) * commandLines,
          "recording");
  std::filesystem::remove(file);
  state.counters["plain_us"] = median(plain) * 1e6;
  state.counters["recorded_us"] = median(recorded) * 1e6;
  state.counters["added_percent"] = 100 * median(added) / median(plain);
}

template <bool replayed>
void load(benchmark::State& state)
{
  const Shape shape{state.range(0)};
  const std::string text = modelText(shape);
  const std::string file = scratchFile("bench_replayed.ksl");
  std::ofstream(file, std::ios::binary) << text;
  for (auto _ : state) {
    auto peer = std::make_unique<LibraryPeer>();
    const double start = processSeconds();
    peer->run(replayed ? "> readsession filename=" + file : text);
    state.SetIterationTime(processSeconds() - start);
    require(peer->size() == static_cast<std::size_t>(shape.objects) + (replayed ? 1 : 0), "load");
  }
  std::filesystem::remove(file);
  state.SetItemsProcessed(state.iterations() * shape.objects);
}

void sizes(benchmark::internal::Benchmark* bench)
{
  bench->Arg(10000)->Arg(100000)->UseManualTime()->Unit(benchmark::kMillisecond);
}

BENCHMARK(recording)->Name("recording")->Apply(sizes)->Iterations(100);
BENCHMARK(load<false>)->Name("load/run")->Apply(sizes);
BENCHMARK(load<true>)->Name("load/readsession")->Apply(sizes);

}  // namespace

BENCHMARK_MAIN();
