// Change lists and the text store against simple models.
#include "platform/ORVKSLAPI.h"
#include "tests/support/TestSystem.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <rapidcheck/gtest.h>
#include <string>
#include <vector>

namespace orv {
namespace {

// ------------------------------------------------------------------------------------------------------- change list

KSLChange numbered(int number)
{
  return KSLChange::createObject(SharedText("/A:" + std::to_string(number)));
}

std::vector<std::string> paths(const KSLChangeList& list, KSLChangeList::Direction direction)
{
  KSLChangeList copied;
  ChangeListCopyProcessor copy(copied);
  list.process(direction, &copy);
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < copied.size(); ++i)
    texts.push_back(copied[i].path.str());
  return texts;
}

// Sizes are drawn over several chunks: growth doubles, then goes on evenly.
RC_GTEST_PROP(ChangeList, IsAVector, ())
{
  std::vector<std::string> model;
  std::vector<std::string> otherModel;
  KSLChangeList list("list");
  KSLChangeList other("other");
  int next = 0;
  const int steps = *rc::gen::inRange(1, 30);
  for (int step = 0; step < steps; ++step) {
    const auto size = static_cast<int>(model.size());
    switch (*rc::gen::inRange(0, 6)) {
      case 0:
      case 1:
        for (int i = *rc::gen::inRange(0, 3000); i > 0; --i) {
          list.add(numbered(++next));
          model.push_back("/A:" + std::to_string(next));
        }
        break;
      case 2: {
        const auto left = static_cast<std::size_t>(*rc::gen::inRange(0, size + 3));
        list.truncate(left);
        model.resize(std::min(left, model.size()));
        break;
      }
      case 3:
        list.swapChanges(other);
        model.swap(otherModel);
        break;
      case 4:
        list = KSLChangeList(list);
        break;
      default: {
        KSLChangeList moved(std::move(list));
        list = std::move(moved);
      }
    }
    RC_ASSERT(list.size() == model.size());
    RC_ASSERT(list.empty() == model.empty());
    RC_ASSERT(paths(list, KSLChangeList::Direction::forward) == model);
    RC_ASSERT(paths(list, KSLChangeList::Direction::backward)
              == std::vector<std::string>(model.rbegin(), model.rend()));
  }
}

class Modifier : public ChangeListModifierIF {
 public:
  bool modify(KSLChange& change) override
  {
    if (change.kind == KSLChange::Kind::deleteObject)
      return false;
    if (change.kind == KSLChange::Kind::changeParam)
      change.value = SharedText("modified");
    return true;
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
  KSLChangeList copy(list);
  EXPECT_EQ(TestSystem::render(copy), TestSystem::render(list));

  KSLChangeList inverses;
  for (std::size_t i = 0; i < list.size(); ++i)
    inverses.add(list[i].inverse());
  EXPECT_EQ(TestSystem::render(inverses),
            "delete /A:a\nchange /A:a x = 1 (modified)\nparam /A:a y = 1\ncreate /A:a\n");
}

// What is added while a list is shown is shown too, forward; what has gone is not.
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
    if (change.path.str() == "/A:3") {
      m_shown.clear();
      for (int i = 6; i < 6 + m_count; ++i)
        m_shown.add(numbered(i));
    }
  }

 private:
  KSLChangeList& m_shown;
  int m_count;  // put in place of the list's changes
};

TEST(ChangeList, MayChangeWhileItIsShown)
{
  struct Case {
    KSLChangeList::Direction direction;
    int count;
    const char* seen;
  };
  const Case cases[] = {
      {KSLChangeList::Direction::forward, 4, "create /A:1\ncreate /A:2\ncreate /A:3\ncreate /A:9\n"},
      {KSLChangeList::Direction::forward, 1, "create /A:1\ncreate /A:2\ncreate /A:3\n"},
      {KSLChangeList::Direction::backward, 4, "create /A:4\ncreate /A:3\ncreate /A:7\ncreate /A:6\n"},
      {KSLChangeList::Direction::backward, 1, "create /A:4\ncreate /A:3\ncreate /A:6\n"},
      {KSLChangeList::Direction::backward, 0, "create /A:4\ncreate /A:3\n"},
  };
  for (const auto& [direction, count, expected] : cases) {
    KSLChangeList list;
    for (int i = 1; i <= 4; ++i)
      list.add(numbered(i));
    KSLChangeList seen;
    Meddler meddler(list, seen, count);
    list.process(direction, &meddler);
    EXPECT_EQ(TestSystem::render(seen), expected);
  }
}

// -------------------------------------------------------------------------------------------------------- text store

using Lines = std::vector<std::string>;

// The store's text as lines: objects are the ranges from their header to their END.
class Model {
 public:
  Lines lines;

  // The indices of an object's header and END; of the whole text for the empty path.
  std::pair<std::size_t, std::size_t> find(const Lines& headers) const
  {
    std::size_t first = 0;
    std::size_t last = lines.size();
    for (const std::string& header : headers) {
      const std::size_t at = entry(first, last, header);
      if (at == lines.size())
        return {at, at};
      first = at + 1;
      last = end(at);
    }
    return {first, last};
  }
  bool has(const Lines& headers) const { return find(headers).first != lines.size() || headers.empty(); }

  void set(const Lines& headers, const std::string& name, const std::string& value)
  {
    const auto [first, last] = find(headers);
    const std::size_t at = entry(first, last, name + " = ");
    if (at < last)
      lines[at] = name + " = " + value;
    else
      lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(last), name + " = " + value);
  }
  void open(const Lines& headers)
  {
    if (has(headers))
      return;
    const auto last = static_cast<std::ptrdiff_t>(find({headers.begin(), headers.end() - 1}).second);
    lines.insert(lines.begin() + last, {headers.back(), "END"});
  }
  void remove(const Lines& headers)
  {
    if (!has(headers))
      return;
    const auto [first, last] = find(headers);
    lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(first) - 1,
                lines.begin() + static_cast<std::ptrdiff_t>(last) + 1);
  }
  // What is left when order does not count.
  static std::map<std::string, Lines> unordered(const Lines& text)
  {
    std::map<std::string, Lines> objects;
    std::string path;
    for (const std::string& line : text) {
      if (line == "END")
        path.erase(path.rfind('/'));
      else if (line.find(':') != std::string::npos)
        objects[path += "/" + line];
      else
        objects[path].push_back(line);
    }
    for (auto& [name, params] : objects)
      std::sort(params.begin(), params.end());
    return objects;
  }

 private:
  std::size_t end(std::size_t header) const
  {
    int depth = 0;
    for (std::size_t at = header;; ++at) {
      if (lines[at] == "END" && --depth == 0)
        return at;
      depth += lines[at].find(':') != std::string::npos ? 1 : 0;
    }
  }
  std::size_t entry(std::size_t first, std::size_t last, const std::string& start) const
  {
    for (std::size_t at = first; at < last; ++at) {
      if (lines[at].compare(0, start.size(), start) == 0)
        return at;
      if (lines[at].find(':') != std::string::npos)
        at = end(at);
    }
    return lines.size();
  }
};

std::string pathOf(const Lines& headers)
{
  std::string path;
  for (const std::string& header : headers)
    path += "/" + header.substr(0, 2) + header.substr(3);
  return path;
}

Lines anObject()
{
  return *rc::gen::resize(
      3, rc::gen::nonEmpty(rc::gen::container<Lines>(rc::gen::element<std::string>("A: a", "A: b", "B: a"))));
}

class StoreCheck {
 public:
  void step()
  {
    switch (*rc::gen::inRange(0, 10)) {
      case 0:
        deleteSome();
        break;
      case 1:
        store.undo();
        sinceClear = {};
        expectUnordered(confirmed);
        break;
      case 2:
        store.recordChanges();
        confirmed = model.lines;
        break;
      case 3:
        replay(store.takeKSLChangeList());
        break;
      default:
        loadSome();
    }
    RC_ASSERT(store.getExpandedKSL() == model.lines);
    for (const auto& [path, params] : Model::unordered(model.lines))
      RC_ASSERT(path.empty() || !store.getObjectInfo(compact(path)).empty() || params.empty());
  }

 private:
  static std::string compact(std::string path)
  {
    path.erase(std::remove(path.begin(), path.end(), ' '), path.end());
    return path;
  }
  void loadSome()
  {
    const Lines headers = anObject();
    const bool replace = *rc::gen::inRange(0, 5) == 0;
    Lines text;
    Lines open;
    for (const std::string& header : headers) {
      open.push_back(header);
      const bool last = replace && open.size() == headers.size();
      text.push_back(last ? "&replace " + header : header);
      if (last)
        model.remove(open);
      model.open(open);
    }
    for (int i = *rc::gen::inRange(0, 4); i > 0; --i) {
      const auto name = *rc::gen::element<std::string>("x", "y", "z");
      const auto value = *rc::gen::element<std::string>("1", "2", "");
      text.push_back(name + "=" + value);
      model.set(headers, name, value);
    }
    store.loadKSLData(text);  // what is open is closed
  }
  void deleteSome()
  {
    const Lines headers = anObject();
    store.deleteObj(pathOf(headers));
    model.remove(headers);
  }
  // Forward on what there was it gives what there is; the inverses, newest first, give what there was.
  void replay(const KSLChangeList& changes)
  {
    KSLAPI other;
    other.loadKSLData(sinceClear);
    KSLAPIUpdateProcessor forward(&other, true);
    changes.process(KSLChangeList::Direction::forward, &forward);
    RC_ASSERT(other.getExpandedKSL() == model.lines);

    KSLAPIUpdateProcessor backward(&store, false);
    for (std::size_t i = changes.size(); i-- > 0;)
      backward.visit(changes[i].inverse());
    RC_ASSERT(store.getKSLChangeList()->empty());
    expectUnordered(sinceClear);
    sinceClear = model.lines;
  }
  // What was deleted comes back behind its siblings: the model follows.
  void expectUnordered(const Lines& expected)
  {
    RC_ASSERT(Model::unordered(store.getExpandedKSL()) == Model::unordered(expected));
    model.lines = store.getExpandedKSL();
    if (sinceClear.empty())
      sinceClear = model.lines;
  }

  KSLAPI store;
  Model model;
  Lines confirmed;
  Lines sinceClear;  // the text when the change list was last emptied
};

RC_GTEST_PROP(TextStoreModel, LoadsDeletesAndGoesBack, ())
{
  StoreCheck check;
  for (int steps = *rc::gen::inRange(1, 60); steps > 0; --steps)
    check.step();
}

}  // namespace
}  // namespace orv
