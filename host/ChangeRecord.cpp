#include "ChangeRecord.h"

#include "database/KSLObject.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLUpdateInfo.h"

ChangeRecord::ChangeRecord()
{
  orv::KSLCoreAPI::instance()->recordKSLChanges(true);
}

void ChangeRecord::beginCommand(const std::string& name)
{
  m_log.setCommand(static_cast<int>(m_names.size()));
  m_names.push_back(name);
}

void ChangeRecord::endCommand()
{
  const auto [first, end] = orv::KSLCoreAPI::instance()->getUpdateInfo()->getUpdates();
  for (auto item = first; item != end; ++item)
    for (const auto& [path, params] : item->objects)
      for (const auto& [param, status] : params)
        if (status.set)
          m_setters[{path, param}] = m_names.size() - 1;
}

std::string ChangeRecord::setBy(const orv::KSLObject& object, const std::string& param) const
{
  const auto found = m_setters.find({object.getPath(), param});
  return found == m_setters.end() ? std::string() : m_names[found->second];
}
