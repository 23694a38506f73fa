// Finds out what links are to be, judges that, and makes it part of the graph, all together or not at all.
#pragma once

#include "database/NameQuestion.h"
#include "rules/NameLink.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace orv {

class GenericKSLObject;

// For some links at one time: those of an update that ends; one whose text a calculation sets; those of an object that
// wait when a walk comes by. Take them, judge them, finish; without a finish all is as it was.
//   take    what the text means is found (NameFinder), and with it which other links have to be asked
//   judge   the first fault of a command is thrown; nothing is changed by then. Then the new edges are made, beside
//           those that stand. Where that closes a circle, all edges that are to be replaced are taken away and all new
//           ones made again: a circle is one of what is there in the end
//   finish  the edges that stood end, and the links say what was found; nothing can fail
class LinkJudgement {
 public:
  enum class Mode { command, replay, set, walk };
  LinkJudgement(NameIndex& index, Mode mode) : m_index(index), m_mode(mode) {}
  ~LinkJudgement();
  LinkJudgement(const LinkJudgement&) = delete;
  LinkJudgement& operator=(const LinkJudgement&) = delete;

  // With the text that the parameter has when none is given.
  void take(NameLink& link, const std::string* text = nullptr);
  void takeDue();
  void takeDueOf(GenericKSLObject& object);
  void judge();
  // The paths of objects that are to get other links although no change names them.
  std::set<SharedText> untouchedPaths() const;
  void finish() noexcept;

 private:
  static const std::vector<NameTarget>& targetsOf(const NameLink& link);
  static bool isSound(const NameLink& link);
  void settleDefinitions();
  void setSound(NameLink& link, bool sound, std::vector<NameLink*>& toAsk);
  void judgeOne(NamedTargets& found) const;
  bool isStrict(const NamedTargets& found) const;
  static const NameLink* unsoundIn(const NameLink& link);
  static void blameDefinition(NamedTargets& found);
  static void warn(const NamedTargets& found) noexcept;

  void makeAll();
  void makeTargets(NamedTargets& found) const;
  void addEdge(const NamedTargets& found, NameTarget& target) const;
  bool mayWaitForCircle(const NamedTargets& found) const;
  void partAll() noexcept;
  static bool stands(const NamedTargets& found);
  static void dropNew(NamedTargets& found) noexcept;
  static void joinOld(NameLink& link) noexcept;
  static void endOld(NameLink& link, const std::vector<NameTarget>& next) noexcept;
  bool isToBeUpdated(const NamedTargets& found) const;
  void listToMark();
  static void commit(NamedTargets& found) noexcept;

  NameIndex& m_index;
  const Mode m_mode;
  std::vector<NameQuestion> m_asked;                    // by the text that is looked at
  std::vector<NamedTargets> m_found;                    // one for each link that was taken
  std::vector<NameLink*> m_definitions;                 // of these
  std::vector<std::pair<NameLink*, bool>> m_wereSound;  // the definitions that changed, as they were
  std::vector<const NameLink*> m_toMark;                // what they lead to is to be marked
  bool m_someAtFault = false;                           // or uses definitions, which may be
  bool m_someUntouched = false;
  bool m_parted = false;  // the edges that stood are taken away
};

}  // namespace orv
