// Times of the syntax tree: making it, one keystroke in a value and one that undoes the count of END, and formatting;
// beside telling the type of each line of the same text in the same run: no reader of KSL does with less.
//   bench_syntax [Google Benchmark's options]
// Names are work/peer/lines; an item is a line of the text, also for a keystroke.
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVSyntax.h"
#include "bench/Stopwatch.h"

#include <benchmark/benchmark.h>
#include <string>
#include <string_view>

using namespace orv;

namespace {

std::string textOf(long lines)
{
  std::string text;
  for (long line = 0; line < lines; line += 10)
    text += "PART: P" + std::to_string(line)
            + "\n  Length 01 = 71.25 [mm]\n  Label 02 = \"steel # 7\"  # a note\n  Length 03 = 12 [cm]\n"
              "  HOLE: left\n    Point = 0 [m], 1.5 [m], \\\n      2 [m]\n  END\nEND\n\n";
  return text;
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

void makeTree(benchmark::State& state)
{
  const std::string text = textOf(state.range(0));
  measure(state, [&] { bench::require(!SyntaxTree(text).isFaulty(), "the text is sound"); });
}

void scanLines(benchmark::State& state)
{
  const std::string text = textOf(state.range(0));
  measure(state, [&] {
    long depth = 0;
    for (std::string_view rest = text; !rest.empty();) {
      const std::size_t end = rest.find('\n');
      const int type = MiniKSLParser::determineLineType(rest.substr(0, end));
      depth += type == MiniKSLParser::objectLine ? 1 : type == MiniKSLParser::endLine ? -1 : 0;
      rest.remove_prefix(end + 1);
    }
    bench::require(depth == 0, "the count of END");
  });
}

// A character comes and goes; the time is that of both.
void edit(benchmark::State& state, std::string_view before, bool faulty)
{
  SyntaxTree tree(textOf(state.range(0)));
  const std::size_t at = tree.text().find(before, tree.text().size() / 2);
  measure(state, [&] {
    tree.edit(at, 0, "x");
    bench::require(tree.isFaulty() == faulty, "what the keystroke does");
    tree.edit(at, 1, {});
    bench::require(!tree.isFaulty(), "and undoing it");
  });
}

void editValue(benchmark::State& state)
{
  edit(state, "71.25", false);
}

void editEnd(benchmark::State& state)
{
  edit(state, "END\nEND", true);
}

void format(benchmark::State& state)
{
  const SyntaxTree tree(textOf(state.range(0)));
  measure(state, [&] { bench::require(!formatKSL(tree).empty(), "the text"); });
}

void sizes(benchmark::internal::Benchmark* benchmark)
{
  benchmark->RangeMultiplier(10)->Range(10000, 1000000)->UseManualTime()->Unit(benchmark::kMillisecond);
}

}  // namespace

BENCHMARK(scanLines)->Name("make/scan")->Apply(sizes);
BENCHMARK(makeTree)->Name("make/tree")->Apply(sizes);
BENCHMARK(editValue)->Name("edit-value/tree")->Apply(sizes);
BENCHMARK(editEnd)->Name("edit-end/tree")->Apply(sizes);
BENCHMARK(format)->Name("format/tree")->Apply(sizes);
BENCHMARK_MAIN();
