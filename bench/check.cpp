// Times of checking a text: the first time, and again after a keystroke, as an editor asks for; making the tree again is
// part of both.
//   bench_check [Google Benchmark's options]
// Names are work/peer/lines; an item is a line of the text, also for a keystroke.
#include "platform/ORVSyntax.h"
#include "bench/LibraryPeer.h"
#include "bench/Stopwatch.h"
#include "session/TextChecker.h"

#include <benchmark/benchmark.h>
#include <string>
#include <string_view>
#include <vector>

using namespace orv;

namespace {

const std::vector<std::string>& rules()
{
  static const std::vector<std::string> lines = StringUtilities::stringToVector(
      "RULES:\nKSLObjectClasses = GenericKSLObject\nSchedulerTypes = Data\nCategories = part\n"
      "PARAMETER: Length\nParameter Type = Real\nDefault = 1 [m]\nEND\n"
      "PARAMETER: Colour\nAllowed String List = red, green, blue\nEND\nPARAMETER: Label\nEND\n"
      "PARAMETER: Partner\nRemote Type = Data\nLocal Type = Data\nEND\n"
      "OBJECT: PART\nKSLObject Class = GenericKSLObject\nScheduler = Data\nCategory = part\n"
      "Optional Parameter List = Length, Colour, Label, Partner\nEND\nEND\n",
      '\n');
  return lines;
}

// Each part names the one before.
std::string textOf(long lines)
{
  std::string text;
  for (long line = 0; line < lines; line += 10) {
    const std::string number = std::to_string(line);
    text += "PART: P" + number + "\n  Length = 71.25 [mm]\n  Label = steel " + number
            + "  # a note\n  Colour = green\n";
    text += line == 0 ? "  Colour = red\n" : "  Partner = P" + std::to_string(line - 10) + "\n";
    text += "  PART: left\n    Length = 12 [cm]\n    Colour = blue\n  END\nEND\n";
  }
  return text;
}

std::size_t findings(const SyntaxTree& tree, CheckMemory& memory)
{
  TextChecker checker({}, memory);
  checker.check(tree, 0);
  return checker.finish().size();
}

template <class Work>
void measure(benchmark::State& state, Work work)
{
  for (auto _ : state) {
    const bench::Stopwatch watch;
    work();
    state.SetIterationTime(watch.seconds());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void checkAll(benchmark::State& state)
{
  const bench::LibraryPeer peer(rules());
  const std::string text = textOf(state.range(0));
  measure(state, [&] {
    CheckMemory memory;
    bench::require(findings(SyntaxTree(text), memory) == 0, "the text is sound");
  });
}

// A character comes, and goes without being measured.
void keystroke(benchmark::State& state, std::string_view after, std::size_t wrong)
{
  const bench::LibraryPeer peer(rules());
  SyntaxTree tree(textOf(state.range(0)));
  CheckMemory memory;
  findings(tree, memory);
  const std::size_t at = tree.text().find(after, tree.text().size() / 2) + after.size();
  for (auto _ : state) {
    const bench::Stopwatch watch;
    tree.edit(at, 0, "x");
    const std::size_t found = findings(tree, memory);
    state.SetIterationTime(watch.seconds());
    bench::require(found == wrong, "what the keystroke does");
    tree.edit(at, 1, {});
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void inValue(benchmark::State& state)
{
  keystroke(state, "Colour = gr", 1);
}

// The next part no longer finds this one.
void inName(benchmark::State& state)
{
  keystroke(state, "\nPART: P", 1);
}

// A line that is none, and an END too many.
void inEnd(benchmark::State& state)
{
  keystroke(state, "\n  END", 2);
}

void sizes(benchmark::internal::Benchmark* benchmark)
{
  benchmark->RangeMultiplier(10)->Range(10000, 1000000)->UseManualTime()->Unit(benchmark::kMillisecond);
}

}  // namespace

BENCHMARK(checkAll)->Name("all/check")->Apply(sizes);
BENCHMARK(inValue)->Name("key-in-value/check")->Apply(sizes);
BENCHMARK(inName)->Name("key-in-name/check")->Apply(sizes);
BENCHMARK(inEnd)->Name("key-in-end/check")->Apply(sizes);
BENCHMARK_MAIN();
