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

// The beginnings of blocks that may stand in one of this type, of those at the top when it is empty: "CUT: ", or
// "SESSION:" for a type of which there is one object only. Where the rules say of no type that it may stand there, those
// of which they do not say where they may.
std::vector<std::string> typeHeaders(const std::string& parent);
// The object that the open blocks define, the root without any; null when it does not exist yet.
const orv::KSLObject* objectOf(const std::vector<CommandInput::Block>& blocks);
// Those of the innermost block's type that its rules list, given what the block or its object says already.
std::vector<std::string> parameterNames(const std::vector<CommandInput::Block>& blocks);
// That of the object, else that of its type; null when it has none of this name.
const orv::ParamDefinition* parameterOf(const std::vector<CommandInput::Block>& blocks,
                                        const std::string& name);
// Names of the top-level objects; when a path is typed, paths of the objects below what is typed of it. With a
// scheduler type only those that have one.
std::vector<std::string> objectNames(std::string_view typed, const std::string& schedulerType = {});
// What can be asked about: objects as above; behind "OBJECT." its parameters. With types, these as well.
std::vector<std::string> valueNames(std::string_view typed, bool withTypes);
// Files and folders ("name/") in the folder that is typed so far.
std::vector<std::string> fileNames(std::string_view typed);
