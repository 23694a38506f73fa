// Times of loading, editing, undoing, deleting and looking up, beside those of the baselines in the same run.
//   bench_store [Google Benchmark's options]
// Names are work/peer/objects; an item is an object (load, undo, redo, delete of many) or one operation.
#include "bench/Baselines.h"
#include "bench/LibraryPeer.h"
#include "bench/Model.h"
#include "bench/Stopwatch.h"

#include <benchmark/benchmark.h>
#include <memory>
#include <string>
#include <vector>

using namespace bench;

namespace {

constexpr long editCount = 10000;

const std::string& textOf(const Shape& shape)
{
  static std::string text;
  static long objects = 0;
  static long group = 0;
  if (objects != shape.objects || group != shape.group) {
    text = modelText(shape);
    objects = shape.objects;
    group = shape.group;
  }
  return text;
}

template <class Peer>
void load(benchmark::State& state)
{
  const Shape shape{state.range(0)};
  const std::string& text = textOf(shape);
  for (auto _ : state) {
    auto peer = std::make_unique<Peer>();
    const Stopwatch watch;
    peer->load(text);
    state.SetIterationTime(watch.seconds());
    require(peer->size() == static_cast<std::size_t>(shape.objects), "load");
  }
  state.SetItemsProcessed(state.iterations() * shape.objects);
}

// One parameter of one object after the other, each a command of its own. All peers read the same texts.
template <class Peer>
void editOne(benchmark::State& state)
{
  const Shape shape{state.range(0)};
  Peer peer;
  peer.load(textOf(shape));
  int round = 0;
  for (auto _ : state) {
    const std::string value = "edited-" + std::to_string(++round);
    std::vector<std::string> texts;
    for (long k = 0; k < editCount; ++k)
      texts.push_back(
          editText(scattered(k, shape.objects), shape, paramName(static_cast<int>(k % paramCount)), value));
    const Stopwatch watch;
    for (const std::string& text : texts)
      peer.edit(text);
    state.SetIterationTime(watch.seconds());
    require(peer.get(objectPath(scattered(7, shape.objects), shape), paramName(7)) == value, "edit");
  }
  state.SetItemsProcessed(state.iterations() * editCount);
}

// Undo and redo of an edit, by turns, of one object after the other.
template <class Peer, bool redone>
void undoOne(benchmark::State& state)
{
  const Shape shape{state.range(0)};
  Peer peer;
  peer.load(textOf(shape));
  int round = 0;
  for (auto _ : state) {
    double total = 0;
    ++round;
    for (long k = 0; k < editCount; ++k) {
      const long object = scattered(k, shape.objects);
      peer.edit(editText(object, shape, paramName(1), "edited-" + std::to_string(round)));
      const Stopwatch undoing;
      peer.undo();
      if (!redone)
        total += undoing.seconds();
      const Stopwatch redoing;
      peer.redo();
      if (redone)
        total += redoing.seconds();
    }
    state.SetIterationTime(total);
    require(peer.get(objectPath(scattered(7, shape.objects), shape), paramName(1))
                == "edited-" + std::to_string(round),
            "undo and redo");
  }
  state.SetItemsProcessed(state.iterations() * editCount);
}

template <class Peer, bool redone>
void undoLoad(benchmark::State& state)
{
  const Shape shape{state.range(0)};
  const std::string& text = textOf(shape);
  for (auto _ : state) {
    Peer peer;
    peer.load(text);
    const Stopwatch undoing;
    peer.undo();
    const double undo = undoing.seconds();
    require(peer.size() == 0, "undo of a load");
    const Stopwatch redoing;
    peer.redo();
    state.SetIterationTime(redone ? redoing.seconds() : undo);
    require(peer.size() == static_cast<std::size_t>(shape.objects), "redo of a load");
  }
  state.SetItemsProcessed(state.iterations() * shape.objects);
}

// A model below one object, and that object deleted.
template <class Peer>
void deleteSubtree(benchmark::State& state)
{
  const Shape shape{state.range(0), state.range(0)};
  const std::string& text = textOf(shape);
  for (auto _ : state) {
    Peer peer;
    peer.load(text);
    const Stopwatch watch;
    peer.erase(objectPath(0, shape));
    state.SetIterationTime(watch.seconds());
    require(peer.size() == 0, "delete");
  }
  state.SetItemsProcessed(state.iterations() * shape.objects);
}

template <class Peer>
void lookUp(benchmark::State& state)
{
  const Shape shape{state.range(0)};
  Peer peer;
  peer.load(textOf(shape));
  std::vector<std::string> paths;
  for (long k = 0; k < editCount; ++k)
    paths.push_back(objectPath(scattered(k, shape.objects), shape));
  const std::string name = paramName(5);
  for (auto _ : state) {
    std::size_t length = 0;
    const Stopwatch watch;
    for (const std::string& path : paths)
      length += peer.get(path, name).size();
    state.SetIterationTime(watch.seconds());
    require(length == editCount * paramValue(0, 5).size(), "look-up");
  }
  state.SetItemsProcessed(state.iterations() * editCount);
}

void sizes(benchmark::internal::Benchmark* benchmark)
{
  for (long objects : {10000L, 100000L, 1000000L})
    benchmark->Arg(objects);
  benchmark->UseManualTime()->Unit(benchmark::kMillisecond);
}

template <class Peer>
void registerPeer(const std::string& peer)
{
  const auto add = [&peer](const char* work, void (*run)(benchmark::State&)) {
    benchmark::RegisterBenchmark((std::string(work) + "/" + peer).c_str(), run)->Apply(sizes);
  };
  add("load", load<Peer>);
  add("edit", editOne<Peer>);
  add("undo one", undoOne<Peer, false>);
  add("redo one", undoOne<Peer, true>);
  add("undo load", undoLoad<Peer, false>);
  add("redo load", undoLoad<Peer, true>);
  add("delete", deleteSubtree<Peer>);
  add("look up", lookUp<Peer>);
}

}  // namespace

int main(int argc, char** argv)
{
  registerPeer<LibraryPeer>("library");
  registerPeer<MapStore>("map");
  registerPeer<FlatStore>("flat");
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv))
    return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
