// What a host asks of the RULES beyond what every host gets.
#pragma once

#include <string>
#include <vector>

namespace orv {

struct AdditionalRules {
  // Whether object types get rules of their own: which parameters are essential or optional, and in which
  // context. Without them nothing is essential, and the state text of an object shows only what was set; a
  // host whose users see states passes true.
  bool applyObjectRules = false;
  // Whether keys that nobody reads, and that look like one that somebody does, are warned of. Any other key is for
  // people and for other readers.
  bool warnOfMisspeltKeys = false;
  // Further keys of a parameter definition, carried for the host to read (ParamDefinition::hasExtraRule):
  // those with one text, and those with a list.
  std::vector<std::string> extraStringRules;
  std::vector<std::string> extraListRules;
};

}  // namespace orv
