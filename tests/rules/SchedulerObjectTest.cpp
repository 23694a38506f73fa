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
#include <new>
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
  enum Kind { link, linkUnchecked, unlink, mark, update, destroy, renew, fail, kinds };
  int kind;
  int a;
  int b;
};
using Script = std::vector<Act>;
// What the first, second, … calculation (or making of delayed links) at each place does.
using Scripts = std::array<std::vector<Script>, places>;

enum Failure { library, standard, foreign, interrupt, unwind, failures };

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

[[noreturn]] void fail(int failure)
{
  switch (failure) {
    case library:
      throw data::invalid("Plugin", "work", "library failed");
    case standard:
      throw std::runtime_error("standard failed");
    case foreign:
      throw 7;
    case interrupt:
      throw Interrupt("Plugin", "work", "stop");
    default:
      throw Unwind();
  }
}

// Schedulers at places in ascending order of address, driven by scripts. Shared by both sides: what is done,
// not what it does.
template <class Graph>
void perform(Graph& graph, const Script& script)
{
  for (const Act& act : script) {
    if (act.kind == Act::renew)
      graph.renew(act.a);
    else if (act.kind == Act::fail)
      fail(act.b % failures);
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
  } catch (const Unwind&) {
    events += " !unwind";
  } catch (const std::exception&) {
    events += " !standard";
  } catch (int) {
    events += " !foreign";
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
  ~Real()
  {
    for (int i = 0; i < places; ++i)
      destroy(i);
  }

  bool exists(int i) const { return m_alive[i]; }
  void renew(int i)
  {
    destroy(i);
    new (at(i)) SchedulerObject(nameOf(i), &m_owners[i], "T");
    m_alive[i] = true;
  }
  void act(const Act& act)
  {
    switch (act.kind) {
      case Act::link:
      case Act::linkUnchecked:
        return at(act.a)->addChild(at(act.b), act.kind == Act::link);
      case Act::unlink:
        return at(act.a)->deleteChild(at(act.b));
      case Act::mark:
        return at(act.a)->setPending();
      case Act::update:
        return at(act.a)->update();
      default:
        return destroy(act.a);
    }
  }
  std::string state() const
  {
    std::string text;
    for (int i = 0; i < places; ++i) {
      if (m_alive[i])
        text += line(nameOf(i), at(i)->isPending(), edges(at(i)->getChildren()), edges(at(i)->getParents()));
    }
    return text;
  }

 private:
  Edges edges(const LinkMap& links) const
  {
    Edges found;
    for (const auto& [other, count] : links)
      found.emplace_back(static_cast<int>(other - at(0)), count);
    return found;
  }
  SchedulerObject* at(int i) const { return reinterpret_cast<SchedulerObject*>(m_room) + i; }
  void destroy(int i)
  {
    if (std::exchange(m_alive[i], false))
      at(i)->~SchedulerObject();
  }

  Log& m_log;
  Owner m_owners[places];
  bool m_alive[places] = {};
  alignas(SchedulerObject) mutable unsigned char m_room[places * sizeof(SchedulerObject)];
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
  }
  void act(const Act& act)
  {
    Node& node = *m_nodes[act.a];
    if (act.kind == Act::link || act.kind == Act::linkUnchecked) {
      if (act.kind == Act::link && below(act.b).count(act.a) != 0) {
        throw ksl::cyclicRef("SchedulerObject", "addChild",
                             "Attempt to create a cyclic dependency between object " + nameOf(act.a)
                                 + " (T) and object " + nameOf(act.b) + " (T).");
      }
      if (!node.updating)
        ++node.children[act.b];
    } else if (act.kind == Act::unlink) {
      if (node.children.count(act.b) != 0 && --node.children[act.b] == 0)
        node.children.erase(act.b);
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
      Edges parents;
      for (int j = 0; j < places; ++j) {
        if (m_nodes[j] && m_nodes[j]->children.count(i) != 0)
          parents.emplace_back(j, m_nodes[j]->children.at(i));
      }
      const auto& children = m_nodes[i]->children;
      text += line(nameOf(i), m_nodes[i]->pending, Edges(children.begin(), children.end()), parents);
    }
    return text;
  }

 private:
  struct Node {
    bool pending = false;
    bool updating = false;
    std::map<int, int> children;
  };

  void destroy(int i)
  {
    m_nodes[i].reset();
    for (const auto& node : m_nodes) {
      if (node)
        node->children.erase(i);
    }
  }
  std::set<int> below(int start) const
  {
    std::set<int> reached{start};
    for (std::size_t before = 0; before != reached.size();) {
      before = reached.size();
      for (int i : std::set<int>(reached)) {
        for (const auto& edge : m_nodes[i]->children)
          reached.insert(edge.first);
      }
    }
    return reached;
  }
  bool parentPending(int i) const
  {
    return std::any_of(m_nodes.begin(), m_nodes.end(), [i](const auto& node) {
      return node && node->pending && node->children.count(i) != 0;
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
    const auto report = [&](const char* message) {
      m_log.reported.emplace_back("SchedulerObject", "update", _(message, nameOf(i)), errorType::ordinary);
    };
    try {
      runNext(m_calculations[i]);
    } catch (const Error& error) {
      if (!m_catching || dynamic_cast<const Interrupt*>(&error))
        throw;
      m_log.reported.emplace_back(error);
    } catch (const std::exception&) {
      if (!m_catching)
        throw;
      report("Operation '%s' failed (system exception: standard failed).");
    } catch (int) {
      if (!m_catching)
        throw;
      report("Operation '%s' failed with unrecognized exception.");
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
    for (int last = -1; !gone();) {
      const auto next = node->children.upper_bound(last);
      if (next == node->children.end())
        break;
      last = next->first;
      update(last);
    }
  }

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
                                                   {1, Act::linkUnchecked},
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
  EXPECT_EQ(b.getParents().count(&a), 2);
  EXPECT_TRUE(a.getParents().empty() && b.getChildren().empty());

  a.setPending();
  const SchedulerObject copy(a);  // without edges
  EXPECT_TRUE(copy.isPending() && copy.getChildren().empty() && copy.getKSLObject() == &owner);
  EXPECT_EQ(copy.getName() + copy.getType() + std::to_string(b.getParents().size()), "CutGeometry1");
}

// A calculation that destroys its scheduler and fails is still reported by name, and has its type to the end.
TEST(SchedulerObject, NameAndTypeOutliveTheScheduler)
{
  Catching sink(true);
  Owner owner;
  const std::string type = "a type too long to be held in place by a string";
  auto scheduler = std::make_unique<SchedulerObject>("a name too long to be held in place", &owner, type);
  int nesting = 0;
  owner.onCalculate = [&](const std::string& given) {
    if (nesting++ == 0) {
      scheduler->setPending();
      scheduler->update();
    }
    scheduler.reset();
    throw std::runtime_error(given);
  };
  scheduler->setPending();
  scheduler->update();
  const std::string name = "a name too long to be held in place";
  const ErrorMsg error("SchedulerObject", "update",
                       "Operation '" + name + "' failed (system exception: " + type + ").", 4);
  EXPECT_EQ(sink.reported.errors(), std::vector<ErrorMsg>({error, error}));
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
  auto parent = std::make_unique<SchedulerObject>("p", &plain, "T");
  SchedulerObject child("c", &owner, "T");
  SchedulerObject late("l", &plain, "T");
  parent->addChild(&child, true);
  bool first = true;
  owner.onCalculate = [&](const std::string&) {
    if (!std::exchange(first, false))
      return;
    parent->setPending();
    parent->update();
    parent->addChild(&late, true);
    EXPECT_TRUE(late.getParents().empty());
    parent.reset();
  };
  parent->setPending();
  parent->update();
  EXPECT_TRUE(!child.isPending() && child.getParents().empty());
}

TEST(SchedulerObject, TraceTellsWhatWasMarkedByWhomAndWhatWasCalculated)
{
  struct Trace : SchedulerTrace {
    std::string told;
    void marked(const SchedulerObject& scheduler, const SchedulerObject* by) noexcept override
    {
      told += scheduler.getName() + "<" + (by ? by->getName() : "") + " ";
    }
    void calculated(const SchedulerObject& scheduler, double seconds) noexcept override
    {
      told += (seconds >= 0 ? "=" : "?") + scheduler.getName() + " ";
    }
  } trace;
  Owner owner;
  SchedulerObject a("a", &owner, "T");
  SchedulerObject b("b", &owner, "T");
  SchedulerObject c("c", &owner, "T");
  a.addChild(&b, true);
  b.addChild(&c, true);
  b.setPending();
  SchedulerObject::setTrace(&trace);
  a.setPending();
  a.update();
  EXPECT_EQ(SchedulerObject::setTrace(nullptr), &trace);
  a.setPending();
  EXPECT_EQ(trace.told, "a< =a =b =c ");
}

}  // namespace
}  // namespace orv
