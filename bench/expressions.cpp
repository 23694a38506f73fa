// Parsing and evaluating, against muParser on the same texts without units. The two take turns in one run; the
// ratio is what counts.
#include "platform/ORVExpressions.h"

#include <benchmark/benchmark.h>
#include <muParser.h>
#include <string>
#include <vector>

namespace {

// With the names a, b and c.
const char* const texts[] = {
    "a + b * c",
    "(a + b) * (a - b) / (1 + c * c)",
    "sqrt(a * a + b * b) * sin(c) + exp(-a) * cos(b)",
    "1 + a * (2 + a * (3 + a * (4 + a * (5 + a * (6 + b)))))",
    "a^2 + 2 * a * b + b^2 - (a + b)^2 / c^1.5",
    "min(a, b, c) + max(a, 2 * b) - abs(a - c) + 0.25 * 4",
};
constexpr int count = sizeof texts / sizeof *texts;

void ParseOurs(benchmark::State& state)
{
  const std::string text = texts[state.range(0)];
  for (auto _ : state) {
    orv::ExpressionDef expression(text);
    expression.parse();
    benchmark::DoNotOptimize(expression);
  }
}

// The first Eval parses; SetExpr makes it do so again.
void ParseTheirs(benchmark::State& state)
{
  double a = 1.5;
  double b = 2.25;
  double c = 0.75;
  mu::Parser parser;
  parser.DefineVar("a", &a);
  parser.DefineVar("b", &b);
  parser.DefineVar("c", &c);
  const std::string text = texts[state.range(0)];
  for (auto _ : state) {
    parser.SetExpr(text);
    benchmark::DoNotOptimize(parser.Eval());
  }
}

void EvaluateOurs(benchmark::State& state)
{
  orv::ExpressionDef expression(texts[state.range(0)]);
  expression.parse();
  const orv::ExpressionValue a(1.5, {});
  const orv::ExpressionValue b(2.25, {});
  const orv::ExpressionValue c(0.75, {});
  std::vector<const orv::ExpressionValue*> values;
  for (const std::string& name : expression.getNames())
    values.push_back(name == "a" ? &a : name == "b" ? &b : &c);
  for (auto _ : state)
    benchmark::DoNotOptimize(expression.evaluate(values));
}

void EvaluateTheirs(benchmark::State& state)
{
  double a = 1.5;
  double b = 2.25;
  double c = 0.75;
  mu::Parser parser;
  parser.DefineVar("a", &a);
  parser.DefineVar("b", &b);
  parser.DefineVar("c", &c);
  parser.SetExpr(texts[state.range(0)]);
  parser.Eval();
  for (auto _ : state)
    benchmark::DoNotOptimize(parser.Eval());
}

BENCHMARK(ParseOurs)->DenseRange(0, count - 1);
BENCHMARK(ParseTheirs)->DenseRange(0, count - 1);
BENCHMARK(EvaluateOurs)->DenseRange(0, count - 1);
BENCHMARK(EvaluateTheirs)->DenseRange(0, count - 1);

}  // namespace

BENCHMARK_MAIN();
