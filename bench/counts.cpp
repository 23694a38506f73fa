// Instructions of each kind of work, for the guard of "make bench-count": counts repeat where times do not.
//   valgrind --tool=callgrind --instr-atstart=no --callgrind-out-file=FILE bench_counts [OBJECTS]
// writes a FILE.N for each work, described by its name; tools/bench_count.py runs it and compares.
//   bench_counts OBJECTS FOLDER
// writes the models there, and their rules, for programs that read files.
#include "database/DBChangeNotify.h"
#include "bench/LibraryPeer.h"
#include "bench/Model.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <valgrind/callgrind.h>
#include <vector>

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
  std::vector<std::string> texts;
  for (long k = 0; k < edits; ++k)
    texts.push_back(editText(scattered(k, shape.objects), shape, paramName(1), "brass-" + std::to_string(k)));
  count("edit", [&] {
    for (const std::string& edit : texts)
      peer.run(edit);
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
  std::vector<std::string> texts;
  for (long k = 0; k < edits; ++k)
    texts.push_back(editText(scattered(k, shape.objects), shape, "Surface Roughness Height",
                             std::to_string(k) + " [mm]"));
  count("real edit", [&] {
    for (const std::string& edit : texts)
      peer.run(edit);
  });
}

// Hears of everything, as every application does, and does nothing with it.
class Observer : public orv::DBChangeNotify {
 public:
  Observer() { orv::ObjectDB::instance()->registerChangeNotify(this); }
  ~Observer() override { orv::ObjectDB::instance()->registerChangeNotify(nullptr); }
  Observer(const Observer&) = delete;
  Observer& operator=(const Observer&) = delete;
  void objectAdded(const orv::KSLObject*) override {}
  void objectDeleteBegin(const orv::KSLObject*) override {}
  void objectDeleteEnd(const std::string&, const orv::KSLObject*) override {}
  void paramChanged(const orv::KSLObject*, const orv::ParamDefinition*) override {}
  void paramDeleted(const orv::KSLObject*, const std::string&) override {}
};

void countWatched(const Shape& shape)
{
  const std::string text = modelText(shape);
  {
    LibraryPeer peer;
    const Observer observer;
    count("load observed", [&] { peer.load(text); });
  }
  LibraryPeer peer;
  orv::KSLCoreAPI::instance()->setValidationEnabled(true);
  count("load validated", [&] { peer.load(text); });
}

// What would show growth with the square of something.

void countNested(long size)
{
  std::string text;
  for (long i = 0; i < size; ++i)
    text += "GROUP: " + std::to_string(i) + "\n";
  for (long i = 0; i < size; ++i)
    text += "END\n";
  LibraryPeer peer;
  count("nested load", [&] { peer.load(text); });
  count("nested undo", [&] { peer.undo(); });
  count("nested redo", [&] { peer.redo(); });
  count("nested delete", [&] { peer.erase("/GROUP:0"); });
}

// Schedulers in a chain, whose names and links are listed in no order.
void countLinks(long size)
{
  std::vector<std::string> names;
  for (long i = 0; i < size; ++i)
    names.push_back("S" + std::to_string(i));
  std::mt19937 random(1);
  std::shuffle(names.begin(), names.end(), random);
  std::vector<std::string> links;
  for (std::size_t i = 1; i < names.size(); ++i)
    links.push_back(names[i - 1] + ", " + names[i]);
  std::shuffle(links.begin(), links.end(), random);
  const auto listOf = [](const std::vector<std::string>& items) {
    return orv::StringUtilities::vectorToString(items, ", ");
  };
  const std::vector<std::string> rules{"RULES:",
                                       "Categories = deletable",
                                       "SchedulerTypes = " + listOf(names),
                                       "KSLObjectClasses = GenericKSLObject",
                                       "OBJECT: A",
                                       "KSLObject Class = GenericKSLObject",
                                       "Scheduler = " + listOf(names),
                                       "Scheduler Links = " + listOf(links),
                                       "END",
                                       "END"};
  count("links of a type", [&] { LibraryPeer(rules).load("A: a\nEND\n"); });
}

// Each uses the next.
void countNames(long size)
{
  std::string text = "EXPRESSIONS:\n";
  for (long i = 0; i < size; ++i)
    text += "e" + std::to_string(i) + " = " + (i + 1 < size ? "e" + std::to_string(i + 1) + " + 1\n" : "1\n");
  LibraryPeer peer({"RULES:", "Categories = deletable", "KSLObjectClasses = ExpressionsKSLObject",
                    "SINGLETON: EXPRESSIONS", "KSLObject Class = ExpressionsKSLObject", "END", "END"});
  count("names of one object", [&] { peer.load(text + "END\n"); });
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
  countWatched(shape);
  countNested(shape.objects);
  countLinks(shape.objects);
  countNames(shape.objects);
  return 0;
}
