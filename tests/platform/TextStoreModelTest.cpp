// Change lists against a vector, and what the store's changes lead to.
#include "platform/ORVKSLAPI.h"
#include "platform/internal/ChangeGroup.h"
#include "tests/support/TestSystem.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <string>
#include <vector>

namespace orv {
namespace {

using Texts = std::vector<std::string>;
using Direction = KSLChangeList::Direction;

// ----------------------------------------------------------------------------------------------------------- parameters

// Of a run and what it has to show.
struct TwinRun {
  store::ParamRun run;
  Texts shown;

  Texts read() const
  {
    Texts lines;
    for (std::size_t i = 0; i < run.size(); ++i)
      lines.push_back(run.name(i).str() + std::to_string(run.place(i)) + run.value(i).str());
    return lines;
  }
};

// Whatever is done to one of those that share memory, the others show what they showed.
RC_GTEST_PROP(ParamRun, OfOneShowsNothingOfAnother, ())
{
  std::vector<TwinRun> twins(1);
  for (const char* text : {"a", "b", "c", "d", "e", "f"}) {
    twins[0].run.append({SharedText(text), SharedText("v0")});
    twins[0].shown.push_back(std::string(text) + "0v0");
  }
  const auto line = [](int name, int place, int value) {
    return "n" + std::to_string(name) + std::to_string(place) + "v" + std::to_string(value);
  };
  for (int step = 0; step < 60; ++step) {
    const auto at = static_cast<std::size_t>(*rc::gen::inRange(0, static_cast<int>(twins.size())));
    TwinRun& twin = twins[at];
    const int size = static_cast<int>(twin.shown.size());
    const int index = size == 0 ? 0 : *rc::gen::inRange(0, size);
    const store::Param param{SharedText("n" + std::to_string(step)), SharedText("v" + std::to_string(step)),
                             static_cast<std::uint32_t>(step)};
    switch (size == 0 ? 0 : *rc::gen::inRange(0, 10)) {
      case 0:
        twin.run.append(param);
        twin.shown.push_back(line(step, step, step));
        break;
      case 1:
        twin.run.insert(static_cast<std::size_t>(index), param);
        twin.shown.insert(twin.shown.begin() + index, line(step, step, step));
        break;
      case 2:
        twin.run.erase(static_cast<std::size_t>(index));
        twin.shown.erase(twin.shown.begin() + index);
        break;
      case 3:
        twin.run.truncate(static_cast<std::size_t>(index));
        twin.shown.resize(static_cast<std::size_t>(index));
        break;
      case 4:
        if (twins.size() > 1)
          twins.erase(twins.begin() + static_cast<std::ptrdiff_t>(at));
        break;
      case 5:
      case 6:
        twins.push_back(TwinRun(twin));
        break;
      default: {
        twin.run.setValue(static_cast<std::size_t>(index), param.value);
        std::string& shown = twin.shown[static_cast<std::size_t>(index)];
        shown = shown.substr(0, shown.find('v')) + param.value.str();
      }
    }
    for (const TwinRun& each : twins)
      RC_ASSERT(each.read() == each.shown);
  }
}

// ------------------------------------------------------------------------------------------------------- change list

// A line for each change.
Texts shown(const KSLChangeList& list, Direction direction)
{
  KSLChangeList copied;
  ChangeListCopyProcessor copy(copied);
  list.process(direction, &copy);
  Texts lines = StringUtilities::stringToVector(TestSystem::render(copied), '\n');
  if (!lines.empty())
    lines.pop_back();  // behind the last line
  return lines;
}

// The k-th of a sequence in which changes of one object follow each other, of one sort and of several.
void addChange(KSLChangeList& list, int k)
{
  const std::string path = "/A:" + std::to_string(k / 12);
  const std::string name = "p" + std::to_string(k % 12);
  switch (k % 12) {
    case 0:
      return list.createObject(path);
    case 7:
      return list.changeParam(path, "p6", "new", "old");
    case 9:
    case 10:
      return list.deleteParam(path, name, "was");
    case 11:
      return list.deleteObject(path);
    default:
      return list.createParam(path, name, std::to_string(k));
  }
}

// Sizes are drawn over several chunks: growth doubles, then goes on evenly.
RC_GTEST_PROP(ChangeList, IsAVector, ())
{
  Texts model;
  Texts otherModel;
  KSLChangeList list("list");
  KSLChangeList other("other");
  int next = 0;
  for (int steps = *rc::gen::inRange(1, 30); steps > 0; --steps) {
    const std::size_t count = *rc::gen::inRange<std::size_t>(0, model.size() + 3);
    switch (*rc::gen::inRange(0, 6)) {
      case 0:
      case 1:
        for (int i = *rc::gen::inRange(0, 200); i > 0; --i) {
          KSLChangeList one;
          addChange(one, ++next);
          model.push_back(shown(one, Direction::forward).front());
          addChange(list, next);
        }
        break;
      case 2:
        list.truncate(count);
        model.resize(std::min(count, model.size()));
        break;
      case 3:
        list.swapChanges(other);
        model.swap(otherModel);
        break;
      default:
        list = KSLChangeList(list);
    }
    RC_ASSERT(list.size() == model.size());
    RC_ASSERT(shown(list, Direction::forward) == model);
    RC_ASSERT(shown(list, Direction::backward) == Texts(model.rbegin(), model.rend()));
  }
}

// A processor may clear the list that it is shown.
TEST(ChangeList, MayEndWhileItIsShown)
{
  struct Clearing : ChangeListCopyProcessor {
    Clearing(KSLChangeList& shown, KSLChangeList& seen) : ChangeListCopyProcessor(seen), list(shown) {}
    void visit(const KSLChange& change) override
    {
      ChangeListCopyProcessor::visit(change);
      if (change.path.str() == "/A:3")
        list.truncate(1);
    }
    KSLChangeList& list;
  };
  for (const auto& [direction, last] :
       {std::pair(Direction::forward, "/A:3"), {Direction::backward, "/A:1"}}) {
    KSLChangeList list;
    for (int i = 1; i <= 4; ++i)
      list.createObject("/A:" + std::to_string(i));
    KSLChangeList seen;
    Clearing clearing(list, seen);
    list.process(direction, &clearing);
    ASSERT_EQ(seen.size(), 3U);
    EXPECT_EQ(seen[2].path.str(), last);
  }
}

// --------------------------------------------------------------------------------------------------- the text store

// What the store holds, whatever its order: what was deleted comes back behind its siblings.
Texts contents(const KSLAPI& store)
{
  KSLAPI other;
  other.loadKSLData(store.getExpandedKSL());
  Texts lines = StringUtilities::stringToVector(TestSystem::render(*other.getKSLChangeList()), '\n');
  std::sort(lines.begin(), lines.end());
  return lines;
}

void loadOrDelete(KSLAPI& store)
{
  const auto header = rc::gen::element<std::string>("A: a", "A: " + std::string(140, 'b'), "B: a");
  Texts text = *rc::gen::resize(3, rc::gen::nonEmpty(rc::gen::container<Texts>(header)));
  const int what = *rc::gen::inRange(0, 6);
  if (what == 0) {
    std::string path;
    for (const std::string& line : text)
      path += "/" + line.substr(0, 2) + line.substr(3);
    return store.deleteObj(path);
  }
  text.back().insert(0, what == 1 ? "&replace " : "");
  for (const auto& name : *rc::gen::container<Texts>(rc::gen::element<std::string>("x", "y", "z")))
    text.push_back(name + " = " + *rc::gen::element<std::string>("1", "2", ""));
  store.loadKSLData(text);  // what is open is closed
}

// As the history records them.
KSLChangeList inversesOf(const KSLChangeList& changes)
{
  KSLChangeList inverses;
  ChangeGroups::Cursor cursor(changes);
  for (std::size_t i = 0; i < changes.size(); i = inverses.size())
    ChangeGroups::add(inverses, cursor.find(i)->inverse());
  return inverses;
}

// Takes the changes back and gives what that changed.
KSLChangeList takeBack(KSLAPI& store, const KSLChangeList& changes)
{
  store.recordChanges();
  store.clearKSLChangeList();
  KSLAPIUpdateProcessor(&store, true).takeBack(inversesOf(changes));
  return store.takeKSLChangeList();
}

// Changes on what there was give what there is; undo, and the inverses, newest first, give what there was. What a list
// tells stays, whatever becomes of the objects.
RC_GTEST_PROP(TextStore, ChangesLeadThereAndBack, ())
{
  KSLAPI store;
  std::vector<std::pair<KSLChangeList, Texts>> kept;
  for (int round = *rc::gen::inRange(1, 8); round > 0; --round) {
    const Texts before = contents(store);
    for (int steps = *rc::gen::inRange(1, 12); steps > 0; --steps)
      loadOrDelete(store);
    const Texts after = contents(store);
    const KSLChangeList changes = *store.getKSLChangeList();
    kept.emplace_back(changes, shown(changes, Direction::forward));
    if (*rc::gen::arbitrary<bool>()) {
      store.undo();
      RC_ASSERT(contents(store) == before);
      RC_ASSERT(store.getKSLChangeList()->empty());
    }
    KSLAPIUpdateProcessor processor(&store, false);
    changes.process(Direction::forward, &processor);
    RC_ASSERT(contents(store) == after);
    if (*rc::gen::arbitrary<bool>()) {
      for (std::size_t i = changes.size(); i-- > 0;)
        processor.visit(changes[i].inverse());
      RC_ASSERT(contents(store) == before);
    } else {
      const KSLChangeList undone = takeBack(store, changes);
      RC_ASSERT(contents(store) == before);
      kept.emplace_back(undone, shown(undone, Direction::forward));
      const KSLChangeList redone = takeBack(store, undone);
      RC_ASSERT(contents(store) == after);
      kept.emplace_back(redone, shown(redone, Direction::forward));
    }
    for (const auto& [list, lines] : kept)
      RC_ASSERT(shown(list, Direction::forward) == lines);
    store.recordChanges();
    store.clearKSLChangeList();
  }
}

}  // namespace
}  // namespace orv
