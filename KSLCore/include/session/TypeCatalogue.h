// What the rules say, for people and for programs that help them to write KSL.
#pragma once

#include "platform/ORVExport.h"

#include <string>
#include <string_view>
#include <vector>

namespace orv {

// A parameter of one type, as its rules have it, the type's own variant included.
struct ORV_API ParamInfo {
  std::string name;
  std::string type;  // "Parameter Type": "Real", "String List"; "string" where the rules say nothing
  std::string defaultValue;
  std::vector<std::string> allowedValues;  // in the order of the rules; empty allows every text
  std::string units;                       // of the default; any others of the same dimension will do
  std::string category;
  std::string description;
  std::string localType;   // what a change makes due
  std::string remoteType;  // of a reference: what the objects named must compute; else empty
  std::string remotePath;  // where they are looked for
  bool internal = false;   // a result, or another parameter of the program's own
  bool essential = false;  // in every context; state text always shows it
  bool optional = false;   // in every context
  // Contexts in which it is essential (optional), when it is so in some but not in all.
  std::vector<std::string> essentialIn;
  std::vector<std::string> optionalIn;
};

struct ORV_API TypeInfo {
  std::string name;
  bool singleton = false;  // one object in each place
  std::string description;
  std::vector<std::string> categories;
  std::vector<std::string> schedulers;      // what its objects compute, in the order of the rules
  std::vector<std::string> allowedParents;  // where its objects may stand; empty for anywhere
  std::vector<std::string>
      children;             // types that its objects may hold, those that name it as parent included
  std::string contextRule;  // the parameter that selects the context; empty without contexts
  std::vector<std::string> contexts;  // its values, in the order of the rules
  std::vector<ParamInfo> params;      // in the order of the lists of the rules; internal ones last

  // Null when the type has none of this name.
  const ParamInfo* findParam(std::string_view param) const;
};

// Reads the rules in force: those that KSLInterface::processRules turned into types, with what only the text of the
// rules holds, such as descriptions. REQUIRES: the rules have been processed.
class ORV_API TypeCatalogue {
 public:
  // In type order.
  static std::vector<std::string> types();
  // Linear in what the rules say of the type. data::notFound, class "TypeCatalogue", function "describe",
  // "Could not find object: %s".
  static TypeInfo describe(std::string_view type);
  // The texts of the rules' own keys, "Description" or "Allowed Parent List", of a type; empty without.
  static std::string keyOf(std::string_view type, std::string_view key);
  static std::vector<std::string> listOf(std::string_view type, std::string_view key);
  // All types that may stand in one of this type, whichever of the two says so; the same for the top level with an
  // empty type. A type that says nothing of its place may stand anywhere and is in no list but that of the top level.
  static std::vector<std::string> childrenOf(std::string_view type);
};

// "3 [m]" or "0 [m], 1 [m]": the units of the first item that has some; empty without.
ORV_API std::string unitsInValue(std::string_view value);

}  // namespace orv
