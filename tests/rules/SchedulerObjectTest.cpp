// The graph of schedulers, against a model that follows its recursive definition.
#include "rules/SchedulerObject.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "database/DataKSLObject.h"
#include "tests/support/thrown.h"

#include <algorithm>
#include <array>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <optional>
#include <rapidcheck.h>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

namespace orv {
namespace {

class Owner : public DataKSLObject, public SchedulerOwner {
 public:
  std::function<void(const std::string& type)> onCalculate = [](const std::string&) {};
  std::function<void()> onDelayed = [] {};
  void calculate(const std::string& type) override { onCalculate(type); }
  void createDelayedParamLinks() override { onDelayed(); }
};

class Catching {
 public:
  explicit Catching(bool on) : m_before(SchedulerObject::setCatchExceptions(on))
  {
    m_sink = ErrorProgressReporter::instance()->setSink(&reported);
  }
  ~Catching()
  {
    SchedulerObject::setCatchExceptions(m_before);
    ErrorProgressReporter::instance()->setSink(m_sink);
  }
  ErrorCollector reported;

 private:
  bool m_before;
  ErrorSink* m_sink;
};

// ------------------------------------------------------------------------------------------- a random graph

constexpr int places = 5;

struct Act {
  enum Kind { link, unlink, mark, update, destroy, renew, fail };
  int kind;
  int a;
  int b;
};
using Script = std::vector<Act>;
// What the first, second, … calculation (or making of delayed links) at each place does.
using Scripts = std::array<std::vector<Script>, places>;

struct Log {
  std::string events;
  std::vector<ErrorMsg> reported;
};

std::string nameOf(int i)
{
  return "n" + std::to_string(i);
}

using Edges = std::vector<std::pair<int, int>>;

// A scheduler with its neighbours and the numbers of links to them, in order.
std::string line(const std::string& name, bool pending, const Edges& children, const Edges& parents)
{
  std::string text = "\n" + name + (pending ? "*" : "");
  for (const auto& [other, count] : children)
    text += " >" + nameOf(other) + "x" + std::to_string(count);
  for (const auto& [other, count] : parents)
    text += " <" + nameOf(other) + "x" + std::to_string(count);
  return text;
}

// Schedulers at places, driven by scripts. Shared by both sides: what is done, not what it does.
template <class Graph>
void perform(Graph& graph, const Script& script)
{
  for (const Act& act : script) {
    if (act.kind == Act::renew)
      graph.renew(act.a);
    else if (act.kind == Act::fail)
      throw data::invalid("Plugin", "work", "failed");
    else if (graph.exists(act.a) && (act.kind > Act::unlink || (graph.exists(act.b) && act.a != act.b)))
      graph.act(act);
  }
}

// From outside: what comes out is an event.
template <class Graph>
void step(Graph& graph, const Script& script, std::string& events)
{
  try {
    perform(graph, script);
  } catch (const Error& error) {
    events += " !" + error.getClassName() + " " + error.getMessage();
  }
}

class Real {
 public:
  Real(Scripts calculations, Scripts delayed, Log& log) : m_log(log)
  {
    for (int i = 0; i < places; ++i) {
      m_owners[i].onCalculate = [this, i, scripts = calculations[i], n = 0u](const std::string&) mutable {
        m_log.events += " " + nameOf(i);
        if (n < scripts.size())
          perform(*this, scripts[n++]);
      };
      m_owners[i].onDelayed = [this, i, scripts = delayed[i], n = 0u]() mutable {
        if (n < scripts.size())
          perform(*this, scripts[n++]);
      };
      renew(i);
    }
  }
  bool exists(int i) const { return m_nodes[i].has_value(); }
  void renew(int i) { m_nodes[i].emplace(nameOf(i), &m_owners[i], "T"); }
  void act(const Act& act)
  {
    if (act.kind == Act::link)
      m_nodes[act.a]->addChild(&*m_nodes[act.b], true);
    else if (act.kind == Act::unlink)
      m_nodes[act.a]->deleteChild(&*m_nodes[act.b]);
    else if (act.kind == Act::mark)
      m_nodes[act.a]->setPending();
    else if (act.kind == Act::update)
      m_nodes[act.a]->update();
    else
      m_nodes[act.a].reset();
  }
  std::string state() const
  {
    std::string text;
    for (int i = 0; i < places; ++i) {
      if (const auto& node = m_nodes[i])
        text += line(nameOf(i), node->isPending(), edges(node->getChildren()), edges(node->getParents()));
    }
    return text;
  }

 private:
  static Edges edges(const LinkMap& links)
  {
    Edges found;
    for (const LinkMap::Entry& edge : links)
      found.emplace_back(edge.first->getName().back() - '0', edge.count());
    return found;
  }

  Log& m_log;
  Owner m_owners[places];
  std::array<std::optional<SchedulerObject>, places> m_nodes;
};

// The definition: recursive, without marks or counts, over maps.
class Model {
 public:
  Model(Scripts calculations, Scripts delayed, bool catching, Log& log)
      : m_calculations(std::move(calculations)),
        m_delayed(std::move(delayed)),
        m_catching(catching),
        m_log(log)
  {
    for (int i = 0; i < places; ++i)
      renew(i);
  }

  bool exists(int i) const { return m_nodes[i] != nullptr; }
  void renew(int i)
  {
    destroy(i);
    m_nodes[i] = std::make_shared<Node>();
    m_nodes[i]->id = {++m_made, i};
  }
  void act(const Act& act)
  {
    Node& node = *m_nodes[act.a];
    if (act.kind == Act::link) {
      if (below(act.b).count(act.a) != 0) {
        throw ksl::cyclicRef("SchedulerObject", "addChild",
                             "Attempt to create a cyclic dependency between object " + nameOf(act.a)
                                 + " (T) and object " + nameOf(act.b) + " (T).");
      }
      if (!node.updating)
        ++node.children[m_nodes[act.b]->id];
    } else if (act.kind == Act::unlink) {
      const auto edge = node.children.find(m_nodes[act.b]->id);
      if (edge != node.children.end() && --edge->second == 0)
        node.children.erase(edge);
    } else if (act.kind == Act::mark) {
      for (int i : below(act.a))
        m_nodes[i]->pending = true;
    } else if (act.kind == Act::update) {
      update(act.a);
    } else {
      destroy(act.a);
    }
  }
  std::string state() const
  {
    std::string text;
    for (int i = 0; i < places; ++i) {
      if (!m_nodes[i])
        continue;
      std::map<Id, int> parents;
      for (const auto& node : m_nodes) {
        if (node && node->children.count(m_nodes[i]->id) != 0)
          parents[node->id] = node->children.at(m_nodes[i]->id);
      }
      text += line(nameOf(i), m_nodes[i]->pending, edges(m_nodes[i]->children), edges(parents));
    }
    return text;
  }

 private:
  using Id = std::pair<int, int>;  // how many were made by then, and the place
  struct Node {
    Id id;
    bool pending = false;
    bool updating = false;
    std::map<Id, int> children;
  };

  static Edges edges(const std::map<Id, int>& links)
  {
    Edges found;
    for (const auto& [id, count] : links)
      found.emplace_back(id.second, count);
    return found;
  }
  void destroy(int i)
  {
    const std::shared_ptr<Node> gone = std::exchange(m_nodes[i], nullptr);
    for (const auto& node : m_nodes) {
      if (gone && node)
        node->children.erase(gone->id);
    }
  }
  std::set<int> below(int start) const
  {
    std::set<int> reached{start};
    for (std::size_t before = 0; before != reached.size();) {
      before = reached.size();
      for (int i : std::set<int>(reached)) {
        for (const auto& edge : m_nodes[i]->children)
          reached.insert(edge.first.second);
      }
    }
    return reached;
  }
  bool parentPending(int i) const
  {
    return std::any_of(m_nodes.begin(), m_nodes.end(), [id = m_nodes[i]->id](const auto& node) {
      return node && node->pending && node->children.count(id) != 0;
    });
  }
  void runNext(std::vector<Script>& scripts)
  {
    if (scripts.empty())
      return;
    const Script script = scripts.front();
    scripts.erase(scripts.begin());
    perform(*this, script);
  }
  void calculate(int i)
  {
    m_log.events += " " + nameOf(i);
    try {
      runNext(m_calculations[i]);
    } catch (const Error& error) {
      if (!m_catching)
        throw;
      m_log.reported.emplace_back(error);
    }
  }
  void update(int i)
  {
    const std::shared_ptr<Node> node = m_nodes[i];
    const auto gone = [&] { return m_nodes[i] != node; };
    if (!node->pending)
      return;
    runNext(m_delayed[i]);
    if (gone() || !node->pending || parentPending(i))
      return;
    {
      const ScopeGuard clean([&] { node->pending = false; });
      node->pending = false;
      calculate(i);
    }
    const bool before = std::exchange(node->updating, true);
    const ScopeGuard after([&] { node->updating = before; });
    for (Id last; !gone();) {
      const auto next = node->children.upper_bound(last);
      if (next == node->children.end())
        break;
      last = next->first;
      update(last.second);
    }
  }

  int m_made = 0;
  std::array<std::shared_ptr<Node>, places> m_nodes;
  Scripts m_calculations;
  Scripts m_delayed;
  bool m_catching;
  Log& m_log;
};

rc::Gen<Script> anyScript(int longest)
{
  const auto place = rc::gen::inRange(0, places);
  const auto kind = rc::gen::weightedElement<int>({{6, Act::link},
                                                   {2, Act::unlink},
                                                   {4, Act::mark},
                                                   {4, Act::update},
                                                   {1, Act::destroy},
                                                   {1, Act::renew},
                                                   {2, Act::fail}});
  return rc::gen::mapcat(rc::gen::inRange(1, longest + 1), [=](int length) {
    return rc::gen::container<Script>(static_cast<std::size_t>(length),
                                      rc::gen::construct<Act>(kind, place, place));
  });
}

Scripts anyScripts()
{
  Scripts scripts;
  for (auto& ofPlace : scripts)
    ofPlace = *rc::gen::container<std::vector<Script>>(*rc::gen::inRange<std::size_t>(0, 5), anyScript(3));
  return scripts;
}

void checkStory()
{
  const bool catching = *rc::gen::arbitrary<bool>();
  const Scripts calculations = anyScripts();
  const Scripts delayed = *rc::gen::inRange(0, 3) == 0 ? anyScripts() : Scripts();
  Catching sink(catching);
  Log got;
  Log expected;
  Real real(calculations, delayed, got);
  Model model(calculations, delayed, catching, expected);
  for (const Script& script : *rc::gen::container<std::vector<Script>>(std::size_t{80}, anyScript(1))) {
    step(real, script, got.events);
    step(model, script, expected.events);
    RC_ASSERT(got.events == expected.events);
    RC_ASSERT(real.state() == model.state());
  }
  RC_ASSERT(sink.reported.errors() == expected.reported);
}

TEST(SchedulerObject, FollowsTheRecursiveDefinitionWhateverCalculationsDo)
{
  const auto before =
      setAssertionHandler([](std::string_view text, std::string_view) { ADD_FAILURE() << text; });
  EXPECT_TRUE(rc::check([] {
    for (int story = 0; story < 10; ++story)
      checkStory();
  }));
  setAssertionHandler(before);
}

// ---------------------------------------------------------------------------------------- messages and settings

TEST(SchedulerObject, RefusalsTellWhatIsWrongAndChangeNothing)
{
  Owner owner;
  DataKSLObject plain;
  SchedulerObject a("Cut", &owner, "Geometry");
  SchedulerObject b("Map", &owner, "Colour");
  SchedulerObject unowned;
  SchedulerObject unsupported("Data", &plain, "Result");
  a.addChild(&b, true);
  a.addChild(&b, true);
  unowned.setPending();
  unsupported.setPending();
  const auto error = [](const char* function, const std::string& message) {
    return ErrorMsg("SchedulerObject", function, message, 4);
  };
  EXPECT_EQ(thrown<internal::badParam>([&] { a.addChild(nullptr, true); }),
            error("addChild", "Input parameter p_child is empty."));
  EXPECT_EQ(thrown<ksl::cyclicRef>([&] { a.addChild(&a, false); }),
            error("addChild", "Tried to make object Cut (Geometry) reference itself."));
  EXPECT_EQ(thrown<ksl::cyclicRef>([&] { b.addChild(&a, true); }),
            error("addChild",
                  "Attempt to create a cyclic dependency between object Map (Colour) and object "
                  "Cut (Geometry)."));
  EXPECT_EQ(thrown<internal::nullPointer>([&] { unowned.update(); }),
            error("update", "Null pointer to m_name."));
  EXPECT_EQ(thrown<internal::nullPointer>([&] { unsupported.update(); }),
            error("update", "Object m_name has scheduler but is not GenericKSLObject."));
  EXPECT_TRUE(unowned.isPending() && unsupported.isPending());
  EXPECT_EQ(a.getChildren().count(&b), 2);
  a.setPending();
  SchedulerObject copy(b);  // which has no parents to wait for
  copy.update();
  EXPECT_FALSE(copy.isPending());
}

TEST(SchedulerObject, CaughtFailuresAreReportedAndInterruptsAreNot)
{
  Catching sink(true);
  Owner owner;
  SchedulerObject a("Cut", &owner, "T");
  const auto failWith = [&](auto failure) {
    owner.onCalculate = [failure](const std::string&) { throw failure; };
    a.setPending();
    a.update();
  };
  failWith(std::runtime_error("standard failed"));
  failWith(7);
  EXPECT_THROW(failWith(Interrupt("Plugin", "work", "stop")), Interrupt);
  EXPECT_FALSE(a.isPending());
  const auto error = [](const char* text) { return ErrorMsg("SchedulerObject", "update", text, 4); };
  EXPECT_EQ(sink.reported.errors(),
            (std::vector{error("Operation 'Cut' failed (system exception: standard failed)."),
                         error("Operation 'Cut' failed with unrecognized exception.")}));
}

TEST(SchedulerObject, EndlessNestingIsAnErrorNotACrash)
{
  Catching sink(false);
  Owner owner;
  SchedulerObject a("Loop", &owner, "T");
  owner.onCalculate = [&](const std::string&) {
    a.setPending();
    a.update();
  };
  for (int round = 0; round < 2; ++round) {
    a.setPending();
    EXPECT_EQ(thrown<internal::error>([&] { a.update(); }).getMessage(),
              "Operation 'Loop' failed. Updates are nested too deeply.");
    EXPECT_FALSE(a.isPending());
  }
}

// A walk that another, inner one has passed by is still going on.
TEST(SchedulerObject, AnOuterWalkIsRememberedAfterAnInnerOne)
{
  Catching sink(false);
  Owner plain;
  Owner owner;
  SchedulerObject parent("p", &plain, "T");
  SchedulerObject child("c", &owner, "T");
  SchedulerObject late("l", &plain, "T");
  parent.addChild(&child, true);
  bool first = true;
  owner.onCalculate = [&](const std::string&) {
    if (!std::exchange(first, false))
      return;
    parent.setPending();
    parent.update();
    parent.addChild(&late, true);
    EXPECT_TRUE(late.getParents().empty());
  };
  parent.setPending();
  parent.update();
}

}  // namespace
}  // namespace orv
