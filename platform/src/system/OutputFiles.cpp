#include "platform/ORVError.h"
#include "platform/ORVOutputFiles.h"
#include "platform/ORVSystem.h"
#include "platform/internal/ContextLocal.h"
#include "replacement.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>
#include <utility>

namespace orv {

namespace {

constinit ContextLocal<OutputFiles*> theOutputFiles(ContextEnd::files, &OutputFiles::destroyInstance);

[[noreturn]] void throwFailure(const std::string& fileName, int reason)
{
  throw file::error("ORVFile", "replace",
                    _("Cannot write file '%s': %s.", fileName, Error::getSystemError(reason)));
}

void removeFile(std::string& name) noexcept
{
  if (!name.empty())
    ::unlink(name.c_str());
  name.clear();
}

}  // namespace

// One file of a command, from its first text to the end of the command.
struct OutputFiles::File {
  std::string fileName;
  std::string canonicalName;
  ReplaceTarget target;
  std::string content;  // the name of the file beside it; empty when there is none
  std::string text;     // without one
  std::string former;   // what was there, kept aside

  ~File()
  {
    removeFile(content);
    removeFile(former);
  }

  void fill(std::string_view newText)
  {
    removeFile(content);
    if (target.exists && target.regular && ::access(target.name.c_str(), W_OK) != 0)
      throwFailure(fileName, errno);
    const int failure = target.regular ? writeBeside(target, Pieces(&newText, 1), content) : EACCES;
    if (failure == 0)
      return;
    content.clear();
    if (!directoryRefuses(failure))
      throwFailure(fileName, failure);
    text = newText;
  }

  void moveIntoPlace()
  {
    if (content.empty()) {
      ORVFile::replace(fileName, text);
      return;
    }
    const bool there = ::access(target.name.c_str(), F_OK) == 0;
    if (const int failure = there ? keepBeside(target, former) : 0) {
      former.clear();
      throwFailure(fileName, failure);
    }
    if (const int failure = moveOver(content, target))
      throwFailure(fileName, failure);
    content.clear();
  }

  // What was written directly cannot be taken back.
  void putBack() noexcept
  {
    if (!former.empty()) {
      if (moveOver(former, target) == 0)
        former.clear();
    } else if (target.regular && text.empty()) {
      ::unlink(target.name.c_str());
    }
  }
};

OutputFiles* OutputFiles::instance()
{
  OutputFiles*& instance = *theOutputFiles;
  if (!instance)
    instance = new OutputFiles;
  return instance;
}

void OutputFiles::destroyInstance()
{
  delete std::exchange(*theOutputFiles, nullptr);
}

OutputFiles::OutputFiles() = default;
OutputFiles::~OutputFiles() = default;

OutputFiles::File* OutputFiles::find(const std::string& fileName) const
{
  const std::string name = ORVFile::getCanonicalName(fileName);
  const auto found = std::find_if(m_waiting.begin(), m_waiting.end(),
                                  [&](const auto& file) { return file && file->canonicalName == name; });
  return found == m_waiting.end() ? nullptr : found->get();
}

void OutputFiles::write(const std::string& asked, std::string_view text)
{
  const std::string fileName = placeOf(asked);
  if (fileName.empty())
    return;
  if (!m_inCommand) {
    ORVFile::replace(fileName, text);
    return;
  }
  if (File* file = find(fileName))
    return file->fill(text);
  auto file = std::make_unique<File>();
  file->fileName = fileName;
  file->canonicalName = ORVFile::getCanonicalName(fileName);
  file->target = ReplaceTarget::of(fileName);
  file->fill(text);
  m_waiting.push_back(std::move(file));
}

std::string OutputFiles::pending(const std::string& asked) const
{
  const std::string fileName = placeOf(asked);
  if (fileName.empty())
    return asked;
  const File* file = find(fileName);
  return file && !file->content.empty() ? file->content : fileName;
}

void OutputFiles::begin() noexcept
{
  m_inCommand = true;
  m_written.reset();
}

const std::vector<std::string>& OutputFiles::written() const noexcept
{
  static const std::vector<std::string> none;
  return m_written ? *m_written : none;
}

void OutputFiles::publish()
{
  if (m_waiting.empty())
    return;
  m_published.reserve(m_published.size() + m_waiting.size());
  auto written = std::make_shared<std::vector<std::string>>(this->written());
  for (const auto& file : m_waiting)
    written->push_back(file->fileName);
  m_written = std::move(written);
  for (auto& file : m_waiting) {  // from moving on nothing may fail
    file->moveIntoPlace();
    m_published.push_back(std::move(file));
  }
  m_waiting.clear();
}

void OutputFiles::discard() noexcept
{
  for (auto file = m_published.rbegin(); file != m_published.rend(); ++file)
    (*file)->putBack();
  m_published.clear();
  m_written.reset();
  std::erase(m_waiting, nullptr);  // those that were moved before one failed
  m_waiting.clear();
}

void OutputFiles::end() noexcept
{
  m_waiting.clear();
  m_published.clear();
  m_inCommand = false;
}

}  // namespace orv
