// Turns "> copy" and "> rename" into KSL text.
#pragma once

#include "platform/ORVUtilities.h"

#include <string>
#include <vector>

namespace orv {

class CopiedKSLModifer;
class TreeAndLeafReadModel;

// Words are "copy" or "rename", then "from=PATH" and "to=PATH" or "to=NAME" in any order; a name is a new one for the
// object in its place. Nothing is changed here: the text is, when it is processed.
//
// The copy has the parameters that were set for the source, also those that its present context hides, and copies of
// all objects in it. Empty values are left out, so an emptied parameter has its default in the copy. A value that a
// line of text cannot hold, because of a "#" outside quotes or runs of white space, is reported once, and the copy has
// what is read of it: data::invalid, class "KSLCopyImpl", function "performCopy", "Value of parameter '%s' of object
// '%s' cannot be read back.", type 8.
//
// Failures are of class "KSLCopyImpl" and type 4. Of function "parseParams", ksl::invalid: "Action '%s' is not
// supported.", "Action '%s' is provided with a bad parameter '%s'." with the whole word, "Action '%s' needs a 'from'
// parameter and a 'to' parameter.". Of function "normalisePaths", data::invalid: "Copy action has a '%s' parameter that
// is not a path: '%s'." with "from", or with "to" for a name that holds a "/"; "Attempt to copy from singleton to named
// object (copy from '%s' to '%s')."; "Attempt to copy from singleton to named object or vice versa (copy from '%s' to
// '%s')."; "Attempt to copy an object to an object of different type (copy from '%s' to '%s')."; when renaming, "Attempt
// to rename object '%s' into itself (rename to '%s').". Of function "performCopy", data::invalid: "Attempt to copy
// nonexistent object '%s' failed.", "Attempt to copy to existing object '%s' failed.".
class ORV_API KSLCopyImpl {
 public:
  static constexpr const char* fromParam = "from";
  static constexpr const char* toParam = "to";
  static constexpr const char* copyAction = "copy";
  static constexpr const char* renameAction = "rename";

  // Full paths.
  struct Paths {
    std::string from;
    std::string to;
  };

  explicit KSLCopyImpl(CopiedKSLModifer* modifier = nullptr) : m_modifier(modifier) {}
  virtual ~KSLCopyImpl();

  // The block that makes the copy, in the blocks of the objects that it is to be in: what is missing of these comes
  // into being too. Empty when source and target are one. Linear in the source's text.
  std::string obtainCopyKSL(const TreeAndLeafReadModel& model, const std::vector<std::string>& words) const;
  // The same, and the action line that deletes the source.
  std::string obtainRenameKSL(const TreeAndLeafReadModel& model, const std::vector<std::string>& words) const;
  // What the words name; throws what parseParams and normalisePaths do.
  Paths obtainPaths(const std::vector<std::string>& words) const;

 private:
  static Paths parseParams(const std::vector<std::string>& words);
  static Paths normalisePaths(const Paths& given, bool renaming);
  std::string performCopy(const TreeAndLeafReadModel& model, const Paths& paths) const;
  std::string modified(const std::string& block, const KSLPath& source, const KSLPath& target) const;

  CopiedKSLModifer* m_modifier;  // not owned, null for none
};

}  // namespace orv
