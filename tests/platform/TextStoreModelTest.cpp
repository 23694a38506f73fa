// Change lists and the text store against simple models.
#include "platform/ORVKSLAPI.h"
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

Texts paths(const KSLChangeList& list, Direction direction)
{
  KSLChangeList copied;
  ChangeListCopyProcessor copy(copied);
  list.process(direction, &copy);
  Texts texts;
  for (std::size_t i = 0; i < copied.size(); ++i)
    texts.push_back(copied[i].path.str());
  return texts;
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
    switch (*rc::gen::inRange(0, 7)) {
      case 0:
      case 1:
        for (int i = *rc::gen::inRange(0, 3000); i > 0; --i) {
          model.push_back("/A:" + std::to_string(++next));
          list.createObject(model.back());
        }
        break;
      case 2:
        list.truncate(count);
        model.resize(std::min(count, model.size()));
        break;
      case 3:
        list.dropFront(count);
        model.erase(model.begin(), model.begin() + static_cast<long>(std::min(count, model.size())));
        break;
      case 4:
        list.swapChanges(other);
        model.swap(otherModel);
        break;
      case 5:
        list = KSLChangeList(list);
        break;
      default: {
        KSLChangeList moved(std::move(list));
        list = std::move(moved);
      }
    }
    RC_ASSERT(list.size() == model.size());
    RC_ASSERT(paths(list, Direction::forward) == model);
    RC_ASSERT(paths(list, Direction::backward) == Texts(model.rbegin(), model.rend()));
  }
}

class Modifier : public ChangeListModifierIF {
 public:
  bool modify(KSLChange& change) override
  {
    if (change.kind == KSLChange::Kind::changeParam)
      change.value = SharedText("modified");
    return change.kind != KSLChange::Kind::deleteObject;
  }
};

TEST(ChangeList, AsksItsModifierOnceForEachChange)
{
  Modifier modifier;
  KSLChangeList list("list", &modifier);
  list.createObject("/A:a");
  list.deleteObject("/A:b");
  list.changeParam("/A:a", "x", "2", "1");
  list.deleteParam("/A:a", "y", "1");
  EXPECT_EQ(TestSystem::render(list), "create /A:a\nchange /A:a x = modified (1)\ndrop /A:a y (1)\n");
  list.setModifier(nullptr);
  list.deleteObject("/A:a");
  EXPECT_EQ(TestSystem::render(KSLChangeList(list)), TestSystem::render(list));
}

// Puts others in the place of a list's changes while it is shown. What is added is shown too, forward; what has
// gone is not.
class Meddler : public ChangeListCopyProcessor {
 public:
  Meddler(KSLChangeList& shown, KSLChangeList& seen, int count)
      : ChangeListCopyProcessor(seen),
        m_shown(shown),
        m_count(count)
  {}
  void visit(const KSLChange& change) override
  {
    ChangeListCopyProcessor::visit(change);
    if (change.path.str() != "/A:3")
      return;
    m_shown.clear();
    for (int i = 6; i < 6 + m_count; ++i)
      m_shown.createObject("/A:" + std::to_string(i));
  }

 private:
  KSLChangeList& m_shown;
  int m_count;
};

TEST(ChangeList, MayChangeWhileItIsShown)
{
  struct Case {
    Direction direction;
    int count;
    Texts seen;
  };
  const Case cases[] = {
      {Direction::forward, 4, {"/A:1", "/A:2", "/A:3", "/A:9"}},
      {Direction::forward, 1, {"/A:1", "/A:2", "/A:3"}},
      {Direction::backward, 4, {"/A:4", "/A:3", "/A:7", "/A:6"}},
      {Direction::backward, 1, {"/A:4", "/A:3", "/A:6"}},
      {Direction::backward, 0, {"/A:4", "/A:3"}},
  };
  for (const auto& [direction, count, expected] : cases) {
    KSLChangeList list;
    for (int i = 1; i <= 4; ++i)
      list.createObject("/A:" + std::to_string(i));
    KSLChangeList seen;
    Meddler meddler(list, seen, count);
    list.process(direction, &meddler);
    EXPECT_EQ(paths(seen, Direction::forward), expected);
  }
}

// ------------------------------------------------------------------------------------------ the store and a model

// A parameter, or an object with what is in it; the outermost one is the whole text.
struct Entry {
  std::string line;
  std::vector<Entry> inside;

  bool isObject() const { return line.find(':') != std::string::npos; }
  std::vector<Entry>::iterator find(const std::string& start)
  {
    return std::find_if(inside.begin(), inside.end(),
                        [&start](const Entry& one) { return one.line.starts_with(start); });
  }
  Entry* at(const Texts& headers)
  {
    Entry* entry = this;
    for (const std::string& header : headers) {
      const auto found = entry->find(header);
      if (found == entry->inside.end())
        return nullptr;
      entry = &*found;
    }
    return entry;
  }
  Entry& make(const std::string& start)
  {
    const auto found = find(start);
    return found == inside.end() ? inside.emplace_back(Entry{start, {}}) : *found;
  }
  void remove(const Texts& headers)
  {
    if (Entry* parent = at({headers.begin(), headers.end() - 1}))
      std::erase_if(parent->inside, [&headers](const Entry& one) { return one.line == headers.back(); });
  }
  void write(Texts& out, bool sorted) const
  {
    std::vector<Entry> entries = inside;
    if (sorted)
      std::sort(entries.begin(), entries.end(),
                [](const Entry& a, const Entry& b) { return a.line < b.line; });
    for (const Entry& entry : entries) {
      out.push_back(entry.line);
      entry.write(out, sorted);
      if (entry.isObject())
        out.emplace_back("END");
    }
  }
  Texts lines(bool sorted = false) const
  {
    Texts out;
    write(out, sorted);
    return out;
  }
  void read(const Texts& text, std::size_t& next)
  {
    for (; next < text.size() && text[next] != "END"; ++next) {
      Entry& entry = inside.emplace_back(Entry{text[next], {}});
      if (entry.isObject())
        entry.read(text, ++next);
    }
  }
};

class StoreCheck {
 public:
  void step()
  {
    switch (*rc::gen::inRange(0, 10)) {
      case 0: {
        const Texts headers = anObject();
        std::string path;
        for (const std::string& header : headers)
          path += component(header);
        store.deleteObj(path);
        model.remove(headers);
        break;
      }
      case 1:
        store.undo();
        sinceClear = {};
        follow(confirmed);
        break;
      case 2:
        store.recordChanges();
        confirmed = model;
        break;
      case 3:
        replay(store.takeKSLChangeList());
        break;
      default:
        load();
    }
    RC_ASSERT(store.getExpandedKSL() == model.lines());
    requireFound(model, "");
  }

 private:
  static std::string component(const std::string& header)
  {
    return "/" + header.substr(0, 2) + header.substr(3);
  }
  void requireFound(const Entry& in, const std::string& path) const
  {
    for (const Entry& entry : in.inside) {
      if (!entry.isObject())
        continue;
      RC_ASSERT(store.doesPathExist(path + component(entry.line)));
      requireFound(entry, path + component(entry.line));
    }
  }
  static Texts anObject()
  {
    const auto header = rc::gen::element<std::string>("A: a", "A: b", "B: a");
    return *rc::gen::resize(3, rc::gen::nonEmpty(rc::gen::container<Texts>(header)));
  }
  void load()
  {
    const Texts headers = anObject();
    const bool replace = *rc::gen::inRange(0, 5) == 0;
    Texts text = headers;
    if (replace) {
      text.back().insert(0, "&replace ");
      model.remove(headers);
    }
    Entry* at = &model;
    for (const std::string& header : headers)
      at = &at->make(header);
    for (int i = *rc::gen::inRange(0, 4); i > 0; --i) {
      const auto name = *rc::gen::element<std::string>("x", "y", "z");
      const auto value = *rc::gen::element<std::string>("1", "2", "");
      text.push_back(name + "=" + value);
      at->make(name + " = ").line = name + " = " + value;
    }
    store.loadKSLData(text);  // what is open is closed
  }
  // Forward on what there was it gives what there is; the inverses, newest first, give what there was.
  void replay(const KSLChangeList& changes)
  {
    KSLAPI other;
    other.loadKSLData(sinceClear.lines());
    KSLAPIUpdateProcessor forward(&other, true);
    changes.process(Direction::forward, &forward);
    RC_ASSERT(other.getExpandedKSL() == model.lines());

    KSLAPIUpdateProcessor backward(&store, false);
    for (std::size_t i = changes.size(); i-- > 0;)
      backward.visit(changes[i].inverse());
    RC_ASSERT(store.getKSLChangeList()->empty());
    follow(sinceClear);
    sinceClear = model;
  }
  // What was deleted comes back behind its siblings: the model follows.
  void follow(const Entry& expected)
  {
    Entry now;
    std::size_t next = 0;
    now.read(store.getExpandedKSL(), next);
    RC_ASSERT(now.lines(true) == expected.lines(true));
    model = now;
    if (sinceClear.inside.empty())
      sinceClear = model;
  }

  KSLAPI store;
  Entry model;
  Entry confirmed;
  Entry sinceClear;  // when the change list was last emptied
};

RC_GTEST_PROP(TextStoreModel, LoadsDeletesAndGoesBack, ())
{
  StoreCheck check;
  for (int steps = *rc::gen::inRange(1, 60); steps > 0; --steps)
    check.step();
}

}  // namespace
}  // namespace orv
