#include "AutoSave.h"

#include "platform/ORVError.h"
#include "platform/ORVSystem.h"
#include "command/KSLCoreAPI.h"
#include "LineReader.h"

#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <unistd.h>

using Api = orv::KSLCoreAPI;

namespace {

constexpr const char* fileName = "AutoSaveState.qst";
constexpr const char* leftoverName = "AutoSaveState.old.qst";  // not the name that recordings leave out

}  // namespace

std::string AutoSave::folderFor(const std::string& load, const std::string& save, const std::string& record)
{
  for (const std::string& file : {load, save, record})
    if (!file.empty())
      return orv::ORVFile::getPath(file);
  return stateFolder();
}

AutoSave::AutoSave(const std::string& folder, const std::string& loaded)
{
  Api::instance()->attach(&m_changes, Api::updateBegin);
  if (folder.empty())
    return;
  makeFolder(folder);
  m_lock = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (m_lock < 0 || ::flock(m_lock, LOCK_EX | LOCK_NB) != 0)
    return;
  m_file = folder + '/' + fileName;
  if (!orv::ORVFile::exists(m_file)
      || orv::ORVFile::getCanonicalName(m_file) == orv::ORVFile::getCanonicalName(loaded))
    return;
  const std::string leftover = folder + '/' + leftoverName;
  if (std::rename(m_file.c_str(), leftover.c_str()) == 0)
    m_leftover = leftover;
}

AutoSave::~AutoSave()
{
  Api::instance()->detach(&m_changes);
  if (m_lock >= 0)
    ::close(m_lock);
}

void AutoSave::saveIfDue()
{
  if (m_file.empty() || !m_changes.isDBStateDirty())
    return;
  const Clock::time_point now = Clock::now();
  if (m_last && now - *m_last < std::chrono::minutes(1))
    return;
  m_last = now;
  save();
}

void AutoSave::save()
{
  try {
    m_writer.saveEverything(m_file);
    m_changes.setDBStateDirty(false);
    m_failed = false;
  } catch (const orv::file::error& error) {
    if (!m_failed)
      orv::ErrorProgressReporter::instance()->reportError(
          orv::ErrorMsg("ksl", "autosave", error.getMessage(), orv::errorType::warning));
    m_failed = true;
  }
}

void AutoSave::endWell()
{
  if (!m_file.empty())
    ::unlink(m_file.c_str());
}
