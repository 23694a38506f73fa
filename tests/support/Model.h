// What a command must come to, worked out a second time in the simplest way that the rules of the language
// allow.
#pragma once

#include "command/KSLUpdateMode.h"

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace orv {

// An object as text: what store, database and model have in common. Siblings of one type keep their order;
// the order between types, and that of parameters, is not looked at.
struct ModelNode {
  std::string component;  // "A:a", "VIEW"; empty for the root
  std::map<std::string, std::string> params;
  std::map<std::string, std::vector<ModelNode>> children;  // by type

  ModelNode* find(const std::string& path);
  const ModelNode* find(const std::string& path) const;
  // Siblings in the order of their names.
  ModelNode sorted() const;
  std::string toText(const std::string& indent = {}) const;
  bool operator==(const ModelNode&) const = default;
};

// The text store's data without its RULES, and the database's objects with the parameters that have been set.
ModelNode readStore();
ModelNode readDatabase();

// One failure from outside: the observer throws at the n-th notification of this type.
struct ModelFault {
  int type = 0;
  int at = 0;  // 0 is never
};

// A tree of texts and two stacks of steps. Every step lists the changes that take it back, newest last, and
// remembers the tree from before it, so that the model finds its own faults too.
class Model {
 public:
  using Lines = std::vector<std::string>;
  using Fault = ModelFault;

  struct Outcome {
    bool failed = false;
    int warnings = 0;  // reports that do not fail the command
  };

  // No blank lines, please. `nested` are the texts that "> nest N" and "> nestthrow N" submit.
  Outcome run(const Lines& lines, kslUpdateMode mode, const std::vector<Lines>& nested = {},
              Fault fault = {});
  // By the host, outside any text.
  Outcome undo(Fault fault = {}) { return history(Mode::undo, fault); }
  Outcome redo(Fault fault = {}) { return history(Mode::redo, fault); }

  const ModelNode& tree() const { return m_root; }
  std::size_t undoSteps() const { return m_undo.size(); }
  std::size_t redoSteps() const { return m_redo.size(); }
  // Steps stand on a stack with others that were made on top of something else (a text defined something after an
  // undo), or some are lost (an undo failed): they are still replayed, but need not lead back to the start.
  bool mixed() const { return m_mixed; }
  bool entangled() const { return m_mixed || m_lost; }
  // The order of siblings was changed and put back by a failed command; store and database may then differ in
  // it.
  bool orderTouched() const { return m_orderTouched; }
  void adoptOrder(const ModelNode& tree) { m_root = tree; }
  // Where the model disagrees with itself; empty when all is well.
  const std::string& contradiction() const { return m_contradiction; }

 private:
  enum class Kind { createObject, deleteObject, createParam, deleteParam, changeParam };
  enum class Mode { normal, undo, redo };
  struct Failed {};
  struct Change {
    Kind kind;
    std::string path;
    std::string name;
    std::string value;
    std::string oldValue;
    Change inverse() const;
  };
  struct Step {
    std::uint64_t id;
    std::vector<Change> changes;
    ModelNode before;
  };
  using Stack = std::vector<std::shared_ptr<Step>>;  // steps on a stack are constant between commands

  template <class Work>
  Outcome command(Fault fault, Work work);
  void commit(std::uint64_t undoTop, std::size_t redoBefore);
  Outcome history(Mode mode, Fault fault);
  void replay(Mode mode);

  void parse(const Lines& lines, kslUpdateMode mode);
  void readLine(const std::string& line, std::vector<std::string>& open);
  void readHeader(std::string line, std::vector<std::string>& open);
  void readParam(const std::string& line, const std::vector<std::string>& open);
  void act(const std::string& line);
  std::vector<std::string> pathsToDelete(const std::vector<std::string>& words) const;
  void update();
  void notify(int type);

  void make(const Change& change);  // records the inverse and applies
  void followCreation(const Change& change);
  void createWaiting();
  void makeTolerantly(const Change& change);
  void makeObject(const std::string& path);
  void setParam(const std::string& path, const std::string& name, const std::string& value);
  void removeSubtree(const std::string& path);
  void apply(const Change& change);
  void record(const Change& inverse);

  ModelNode m_root;
  Stack m_undo;
  Stack m_redo;
  std::uint64_t m_lastId = 0;
  bool m_mixed = false;
  bool m_lost = false;
  std::string m_contradiction;

  // Of the command under way
  Mode m_mode = Mode::normal;
  bool m_undoOpen = false;
  bool m_redoOpen = false;
  bool m_replaying = false;
  bool m_normalChanges = false;
  bool m_orderTouched = false;
  bool m_pending = false;              // changes that no update has seen
  bool m_bad = false;                  // one of them cannot be applied
  std::vector<std::string> m_waiting;  // reported, not yet created
  int m_warnings = 0;
  Fault m_fault;
  kslUpdateMode m_updateMode = kslUpdateDefault;
  std::vector<Lines> m_nested;
};

}  // namespace orv
