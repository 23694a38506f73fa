// The front door: a model with its rules, which is told what to do and asked what there is.
#pragma once

#include "platform/ORVUnits.h"
#include "command/KSLUpdateMode.h"
#include "command/TextSource.h"
#include "session/Outcome.h"
#include "session/Registration.h"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace orv {

class ActionFactory;
class ErrorSink;
class KSLObject;
struct Plan;

// How a session begins.
struct SessionOptions {
  // Definition libraries: files or directories, separated by commas. Empty: none when `rules` says something, else
  // those of the environment variable ORV_KSL_LIBRARY_PATH when it is set, else Session::installedLibrary().
  std::string library = {};
  // Definitions as text, read after those.
  std::string rules = {};
  // Types and parameter names are checked before any object is touched.
  bool validate = false;
  // Outcomes tell what changed. It takes the place of the database's one observer.
  bool changes = true;
  // When definitions take effect.
  kslUpdateMode updateMode = kslUpdateAtEnd;
  // Told of every report when it is made; not owned. What is reported while nothing is under way goes to standard error
  // without one.
  ErrorSink* sink = nullptr;
  // The program's say in the library's actions. Where it has none: "delete" keeps what is marked as protected, and a
  // copy of an object that writes a file writes one of its own.
  ActionOptions actions = {};
  // Called before the definitions are read: registers the program's own object classes and executors. A word that it
  // registers keeps that executor. KSLInterface, KSLCoreAPI and ObjectDB are there.
  std::function<void(ActionFactory&)> prepare = {};
};

// Owns all that a model needs, from the rules to the history, in a Context of its own: what KSLCoreAPI::instance() and the
// like are while an operation of the session runs. Sessions share nothing. Everything done here can be done with those
// classes, and both may be mixed.
//
//   orv::Session session;
//   orv::Outcome done = session.run("CUT: a\n  Offset = 2 [m]\nEND\n");
//   for (const orv::ErrorMsg& error : done.errors()) std::cerr << toText(error) << '\n';
//   std::cout << session.state();
//
// What goes wrong in a command is in its Outcome, a lack of memory too. Only where there is none to begin a command
// with, std::bad_alloc is thrown, and nothing has been done. From within a command (an executor, a calculation)
// commands are parts of it, and one that fails throws what carries that outward, which must pass through. Queries
// throw data::notFound, class "Session", with the operation as function, "Object '%s' does not exist.", and what
// KSLObject throws. Objects are named by path ("/CUT:a";
// "/" is the root), top-level ones also by name.
//
// For one thread at a time: what is called while another thread is inside throws what Context::Scope does. Calculations
// and observers are called on the thread of the command. Not to be ended while a Scope of it lives, nor from within a
// command.
class ORV_API Session {
 public:
  using Options = SessionOptions;

  // Throws what is wrong with the definitions: what KSLInterface::initialize and processRules do.
  explicit Session(Options options = {});
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // The definitions of the demo, where they are installed with the library.
  static std::string installedLibrary();

  // ---- Commands. Each is done as a whole or not at all, and is one undo step.

  // KSL text: blocks and action lines. A blank text does nothing, well.
  // Errors know their place in it, and call it by the name of its source.
  Outcome run(const std::string& text, const TextSource& source = {});
  // What stands in a file, session and state files included. One that cannot be read is the Outcome's error.
  Outcome runFile(const std::string& fileName);
  // Sets parameters of an object that is there.
  Outcome set(const std::string& object, const std::string& parameter, const std::string& value);
  Outcome set(const std::string& object, const std::map<std::string, std::string>& values);
  // With nothing to undo or redo, the Outcome has a warning.
  Outcome undo();
  Outcome redo();
  // State files: all that is worth keeping, over a file that is there; and such a file in place of what a person has
  // made. Names must not hold what an action line cannot (docs/state-file.md).
  Outcome save(const std::string& fileName);
  Outcome load(const std::string& fileName);

  // Several commands as one, which others can be among: done as a whole when it ends, or not at all.
  //
  //   orv::Session::Command sweep(session);
  //   for (const std::string& path : session.objects("CUT"))
  //     session.set(path, "Visibility", "Off");
  //   orv::Outcome done = sweep.end();
  //
  // A command in it that fails takes all of it back at once; its Outcome says why, and those that follow say that it
  // has failed. Changes take effect command by command. One at a time; not from within a command.
  class ORV_API Command {
   public:
    // internal::error, class "KSLCoreAPI", function "beginCommand", "A command is under way."
    // The title is for those who are told of the Outcome.
    explicit Command(Session& session, std::string title = {});
    // Takes it back when it has not ended.
    ~Command();
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    // What came of all of it; the same once it has ended.
    Outcome end() { return finish(true); }
    Outcome rollBack() { return finish(false); }

   private:
    Outcome finish(bool keep);
    Session& m_session;
    std::string m_title;
    bool m_ended = false;
    Outcome m_outcome;
  };

  // ---- Queries

  // KSL text that can be read back: of all there is, or of these objects with what is below them.
  std::string state() const;
  std::string state(const std::string& object) const;
  std::string state(const std::vector<std::string>& objects) const;
  bool has(const std::string& object) const;
  // The object itself, for what is not asked here; holds until it is deleted.
  const KSLObject& object(const std::string& object) const;
  std::string type(const std::string& object) const;
  // As stored.
  std::string value(const std::string& object, const std::string& parameter) const;
  // The number that it is, expressions computed; in these units (empty: its own), throwing as Quantity::convertTo does.
  // Threads with a session each convert so: a Quantity converts in the context that is current then.
  Quantity quantity(const std::string& object, const std::string& parameter) const;
  double quantity(const std::string& object, const std::string& parameter, const std::string& units) const;
  // Name to value as stored; with `internal` those of the program too.
  std::map<std::string, std::string> values(const std::string& object, bool internal = false) const;
  // Paths of the objects directly below.
  std::vector<std::string> children(const std::string& object) const;
  // Paths of all objects of the type or category, parents before children; "" is all of them. O(objects).
  std::vector<std::string> objects(const std::string& typeOrCategory) const;
  // What running the text would do, of which nothing is done; see Planner (session/Planner.h), which may throw. A text
  // that would fail has its errors in the one step of the plan. A blank one has no steps.
  Plan plan(const std::string& text, const TextSource& source = {}) const;
  // What the last command changed; see Outcome.
  const std::vector<Change>& changes() const;

  // ---- Others who take part

  // Is told what came of each command when it is over, in the order of registration; what it throws is swallowed. It
  // may run commands, of which it is told too. The number takes it away again.
  using Observer = std::function<void(const Outcome&)>;
  int observe(Observer observer);
  void unobserve(int number);

  // While it lives, the instances of the library's classes are this session's on this thread.
  class ORV_API Scope {
   public:
    explicit Scope(const Session& session);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    struct Entered;
    std::unique_ptr<Entered> m_entered;
  };
  // The executors: a program's own are registered here. Owned by the session.
  ActionFactory& actions() const;

 private:
  struct Impl;
  enum class Text { given, made };  // by the caller, or here of what he asks for
  template <class Work>
  Outcome perform(Text text, Work work);
  Outcome moveBy(const char* action);
  Outcome performOnFile(const std::string& fileName, bool written, std::string (*text)(const std::string&));
  template <class Ask>
  auto ask(Ask ask) const;

  std::unique_ptr<Impl> m_impl;
};

}  // namespace orv
