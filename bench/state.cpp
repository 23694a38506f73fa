// Times of saving and loading states, beside printing the same text from a flat array and entering it as "ksl run"
// does, with an update after each block, and with one at the end, as states are loaded; in the same run.
//   bench_state [Google Benchmark's options]
// Names are work/peer/objects; an item is an object. Processor time: what the disk takes is in neither of a pair.
#include "platform/ORVSystem.h"
#include "bench/LibraryPeer.h"
#include "bench/Model.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <unistd.h>

using namespace bench;

namespace {

double now()
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

std::string fileName()
{
  return (std::filesystem::temp_directory_path() / ("bench-state-" + std::to_string(getpid()) + ".qst"))
      .string();
}

template <class Work>
void measure(benchmark::State& state, Work work)
{
  for (auto _ : state) {
    const double start = now();
    work();
    state.SetIterationTime(now() - start);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void saveState(benchmark::State& state)
{
  LibraryPeer peer;
  peer.load(modelText({state.range(0)}));
  measure(state, [&] { peer.run("> savestate filename=" + fileName()); });
}

// One object in the other: what is saved grows with the levels, and not with their square.
void saveLevels(benchmark::State& state)
{
  std::string text;
  for (long level = 0; level < state.range(0); ++level)
    text += "GROUP: g\n";
  for (long level = 0; level < state.range(0); ++level)
    text += "END\n";
  LibraryPeer peer;
  peer.load(text);
  measure(state, [&] { peer.run("> savestate filename=" + fileName()); });
  require(std::filesystem::file_size(fileName()) < static_cast<std::uintmax_t>(state.range(0)) * 140 + 200,
          "levels");
}

// Lines of the text, as an array of what stands in them.
struct Line {
  int depth;
  std::string name;
  std::string value;  // of a parameter
};

std::vector<Line> linesOf(const Shape& shape)
{
  std::vector<Line> lines;
  for (long object = 0; object < shape.objects; ++object) {
    const bool part = object % shape.group != 0;
    if (!part && object)
      lines.push_back({0, "END", ""});
    lines.push_back(
        {part, part ? "PART:P" + std::to_string(object) : "GROUP:" + groupName(object, shape), ""});
    for (int i = 0; i < paramCount; ++i)
      lines.push_back({part + 1, paramName(i), paramValue(object, i)});
    if (part)
      lines.push_back({1, "END", ""});
  }
  lines.push_back({0, "END", ""});
  return lines;
}

void printFlat(benchmark::State& state)
{
  const std::vector<Line> lines = linesOf({state.range(0)});
  measure(state, [&] {
    std::string text;
    for (const Line& line : lines) {
      text.append(static_cast<std::size_t>(2 * line.depth), ' ').append(line.name);
      if (!line.value.empty())
        text.append(" = ").append(line.value);
      text += '\n';
    }
    orv::ORVFile::replace(fileName(), text);
  });
}

// Each time into a system without objects; bringing it up and down is not counted.
template <class Work>
void load(benchmark::State& state, Work work)
{
  {
    LibraryPeer peer;
    peer.load(modelText({state.range(0)}));
    peer.run("> savestate filename=" + fileName());
  }
  for (auto _ : state) {
    LibraryPeer peer;
    const double start = now();
    work(peer);
    state.SetIterationTime(now() - start);
    require(peer.size() >= static_cast<std::size_t>(state.range(0)), "load");
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void readState(benchmark::State& state)
{
  load(state, [](LibraryPeer& peer) { peer.run("> readstate mode=overwrite, filename=" + fileName()); });
}

template <orv::kslUpdateMode mode>
void runText(benchmark::State& state)
{
  load(state, [](LibraryPeer&) {
    orv::KSLCoreAPI::instance()->setExternalKslUpdateMode(mode);
    orv::KSLCoreAPI::instance()->externalProcessKSL(orv::ORVFile::readLines(fileName()));
  });
}

}  // namespace

int main(int argc, char** argv)
{
  const std::pair<const char*, void (*)(benchmark::State&)> works[] = {
      {"save/library", saveState},
      {"save/flat", printFlat},
      {"read/state", readState},
      {"read/run", runText<orv::kslUpdateDefault>},
      {"read/run at end", runText<orv::kslUpdateAtEnd>}};
  for (const auto& [name, work] : works)
    benchmark::RegisterBenchmark(name, work)
        ->Arg(10000)
        ->Arg(100000)
        ->Arg(1000000)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("save/levels", saveLevels)
      ->Arg(400)
      ->Arg(4000)
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv))
    return 2;
  benchmark::RunSpecifiedBenchmarks();
  std::remove(fileName().c_str());
  return 0;
}
