// "> getrulesinfo name=/TYPE:name": prints what the rules say of an object or a parameter.
#pragma once

#include "command/ActionExecutor.h"

namespace orv {

// "getrulesinfo [type=object|parameter,] name=…", in any order; the words "type", "name" and the type are taken
// in any case. For people, to standard output:
//
//    ********************************          of an object, given by its path: the names of its children, and
//    Current state of /TYPE:name               each parameter with its value and its default
//    Children:
//      name
//    External Parameters:
//      name = value, default=value
//    Internal Parameters:
//      name = value, default=value
//
//    ********************************                                    of a parameter: who has it. List
//    Usage of 'name', default=value, local type=type, remote type=type   values are left out, as
//    /TYPE:name, value=value                                             ObjectDB::getObjectsWithParameter does
//
//    Parameter 'name' not found.
//
// Throws ksl::invalid: "Syntax error: getrulesinfo [type=object*|parameter] name=objectname" for an argument
// without "=", "Invalid parameter in %s: '%s'.", "Syntax error: getrulesinfo name must be specified.", "Syntax
// error: getrulesinfo type can be object or parameter.", "getrulesinfo: object %s does not exist.".
class ORV_API GetRulesInfoExecutor : public ActionExecutor {
 public:
  ~GetRulesInfoExecutor() override;
  void invoke(const std::vector<std::string>& words) override;
};

}  // namespace orv
