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
