#include "OwnPart.h"

#include "platform/ORVException.h"
#include "Communicator.h"
#include "Pieces.h"
#include "running.h"

#include <algorithm>
#include <filesystem>

namespace results {

namespace fs = std::filesystem;

std::vector<std::string> processorsOf(const std::string& root)
{
  constexpr std::string_view word = "processor";
  std::vector<std::string> names;
  std::error_code failure;
  for (const fs::directory_entry& entry : fs::directory_iterator(root, failure)) {
    const std::string name = entry.path().filename().string();
    if (name.size() > word.size() && name.starts_with(word)
        && name.find_first_not_of("0123456789", word.size()) == std::string::npos)
      names.push_back(name);
  }
  std::sort(names.begin(), names.end(), [](const std::string& a, const std::string& b) {
    return a.size() != b.size() ? a.size() < b.size() : a < b;
  });
  return names;
}

OwnPart::OwnPart(const ReadOptions& options) : m_options(options)
{
  const bool isCase = !Communicator::instance().isAlone() && options.isDecomposed && isOpenFoam(options.file);
  const std::string root = isCase ? foamRoot(options.file).string() : std::string();
  const std::vector<std::string> processors = isCase ? processorsOf(root) : std::vector<std::string>();
  if (processors.empty())
    return;
  const Share share = Share::of(static_cast<vtkIdType>(processors.size()));
  m_isEmpty = share.first == share.end;
  m_root = root;
  m_folder = std::make_unique<ScratchFolder>();
  std::error_code failure;
  for (const fs::directory_entry& entry : fs::directory_iterator(root, failure)) {
    const std::string name = entry.path().filename().string();
    const auto place = std::find(processors.begin(), processors.end(), name) - processors.begin();
    const bool isOthers =
        place < static_cast<std::ptrdiff_t>(processors.size()) && (place < share.first || place >= share.end);
    if (!isOthers)
      fs::create_symlink(entry.path(), m_folder->file(name), failure);
    if (failure)
      fail("readResults", failure.message());
  }
  const fs::path file = fs::absolute(options.file).lexically_relative(root);
  m_options.file = file == "." ? m_folder->file("") : m_folder->file(file.string());
}

namespace {

std::string replaced(std::string text, const std::string& from, const std::string& to)
{
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

}  // namespace

void OwnPart::told(const std::function<void()>& action) const
{
  try {
    action();
  } catch (const orv::data::invalid& error) {
    if (!m_folder)
      throw;
    const std::string here = m_folder->file("");
    const std::string said = replaced(error.getMessage(), here, m_root + "/");
    throw orv::data::invalid(error.getClassName(), error.getFunction(),
                             replaced(said, here.substr(0, here.size() - 1), m_root), error.getType());
  }
}

}  // namespace results
