#include "AutoSave.h"

#include "platform/ORVError.h"
#include "platform/ORVSystem.h"
#include "command/KSLCoreAPI.h"
#include "LineReader.h"

#include <algorithm>
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

AutoSave::AutoSave(const std::string& folder, const std::vector<std::string>& own)
{
  Api::instance()->attach(&m_changes, Api::updateBegin);
  if (folder.empty())
    return;
  makeFolder(folder);
  m_lock = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (m_lock < 0 || ::flock(m_lock, LOCK_EX | LOCK_NB) != 0)
    return;
  m_file = folder + '/' + fileName;
  const std::string name = orv::ORVFile::getCanonicalName(m_file);
  m_own = std::any_of(own.begin(), own.end(), [&](const std::string& file) {
    return !file.empty() && orv::ORVFile::getCanonicalName(file) == name;
  });
  if (!m_own && orv::ORVFile::exists(m_file))
    setAside(folder + '/' + leftoverName);
}

// A copy: what is saved next takes the place of the file.
void AutoSave::setAside(const std::string& leftover)
{
  std::error_code failure;
  std::filesystem::copy_file(m_file, leftover, std::filesystem::copy_options::overwrite_existing, failure);
  if (failure)
    m_file.clear();  // it is not saved over
  else
    m_leftover = leftover;
}

void AutoSave::settleLeftover()
{
  if (!m_leftover.empty() && !m_last)
    ::unlink(m_file.c_str());
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
  if (!m_file.empty() && !m_own)
    ::unlink(m_file.c_str());
}
