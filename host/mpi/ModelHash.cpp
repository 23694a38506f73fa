#include "ModelHash.h"

#include "database/ObjectDB.h"
#include "rules/GenericKSLObject.h"
#include "command/KSLInterface.h"

#include <string_view>

namespace {

std::uint64_t hashed(std::string_view text, std::uint64_t hash = 14695981039346656037U)
{
  for (const char c : text)
    hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211U;
  return hash;
}

// Of the object alone.
std::string textOf(const orv::KSLObject& object)
{
  std::string text = object.getPath() + '\n';
  object.forEachParam([&text](const orv::ParamDefinition& param) {
    text += param.getName() + '=' + param.getValue() + '\n';
  });
  const auto* computing = dynamic_cast<const orv::GenericKSLObject*>(&object);
  if (!computing)
    return text;
  for (const orv::SchedulerObject& scheduler : computing->getSchedulers())
    text += scheduler.getType() + (scheduler.isPending() ? " pending" : " done")
            + (computing->getData(scheduler.getType()) ? " kept\n" : "\n");
  return text;
}

}  // namespace

std::vector<std::pair<std::string, std::uint64_t>> objectHashes()
{
  std::vector<std::pair<std::string, std::uint64_t>> hashes;
  for (const orv::KSLObject* object : orv::ObjectDB::instance()->getAllObjects())
    hashes.emplace_back(object->getPath(), hashed(textOf(*object)));
  const orv::KSLInterface& commands = *orv::KSLInterface::instance();
  hashes.emplace_back("", hashed(std::to_string(commands.getUndoStack().size()) + ' '
                                 + std::to_string(commands.getRedoStack().size())));
  return hashes;
}

std::uint64_t modelHash()
{
  std::uint64_t hash = hashed("");
  for (const auto& [path, own] : objectHashes())
    hash = hashed(path, (hash ^ own) * 1099511628211U);
  return hash;
}
