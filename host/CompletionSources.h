// What there is to choose from: types, parameters, objects and files, as they are now.
#pragma once

#include "CommandInput.h"

#include <string>
#include <string_view>
#include <vector>

namespace orv {
class KSLObject;
class ParamDefinition;
}  // namespace orv

// The beginnings of blocks: "CUT: ", or "SESSION:" for a type of which there is one object only.
std::vector<std::string> typeHeaders();
// The object that the open blocks define, the root without any; null when it does not exist yet.
const orv::KSLObject* objectOf(const std::vector<CommandInput::Block>& blocks);
// Those of the innermost block's type that its rules list, given what the block or its object says already.
std::vector<std::string> parameterNames(const std::vector<CommandInput::Block>& blocks);
// That of the object, else that of its type; null when it has none of this name.
const orv::ParamDefinition* parameterOf(const std::vector<CommandInput::Block>& blocks,
                                        const std::string& name);
// What can be named: objects and expressions of the database, unless an heir knows others.
class NamedObjects {
 public:
  virtual ~NamedObjects() = default;
  static const NamedObjects& ofDatabase();
  // Names of the top-level objects; when a path is typed, paths of the objects below what is typed of it. With a
  // scheduler type only those that have one.
  virtual std::vector<std::string> matching(std::string_view typed, const std::string& schedulerType) const;
  // Objects of a type in the object that the open blocks define.
  virtual std::vector<std::string> namesIn(const std::vector<CommandInput::Block>& blocks,
                                           const std::string& type) const;
  virtual std::vector<std::string> expressions() const;
};

// Whether names in the parameter stand for values; null is one that its type does not list.
bool takesExpression(const std::vector<CommandInput::Block>& blocks, const orv::ParamDefinition* param);
// Units that the parameter's values may have, all for null.
std::vector<std::string> unitsOf(const orv::ParamDefinition* param);
// Files and folders ("name/") in the folder that is typed so far.
std::vector<std::string> fileNames(std::string_view typed);
