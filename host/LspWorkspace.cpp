#include "LspWorkspace.h"

#include "platform/ORVError.h"
#include "platform/ORVSystem.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace {

constexpr std::string_view fileScheme = "file://";
constexpr std::size_t mostFiles = 10000;
constexpr std::uintmax_t longestFile = 1 << 28;

int valueOf(char digit)
{
  return std::isdigit(static_cast<unsigned char>(digit)) ? digit - '0' : (digit | 0x20) - 'a' + 10;
}

std::string decoded(std::string_view text)
{
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isCode = text[i] == '%' && i + 2 < text.size()
                        && std::isxdigit(static_cast<unsigned char>(text[i + 1]))
                        && std::isxdigit(static_cast<unsigned char>(text[i + 2]));
    out += isCode ? static_cast<char>(valueOf(text[i + 1]) * 16 + valueOf(text[i + 2])) : text[i];
    i += isCode ? 2 : 0;
  }
  return out;
}

bool isBelow(const std::string& path, const std::string& folder)
{
  return path.starts_with(folder + (folder.ends_with('/') ? "" : "/"));
}

}  // namespace

std::string LspWorkspace::pathOf(const std::string& uri)
{
  if (!uri.starts_with(fileScheme))
    return uri;
  const std::size_t path = uri.find('/', fileScheme.size());
  if (path == std::string::npos)
    return uri;
  return fs::path(decoded(std::string_view(uri).substr(path))).lexically_normal().string();
}

std::string LspWorkspace::uriOf(const std::string& path)
{
  if (path.empty() || path.front() != '/')
    return path;
  constexpr const char* digits = "0123456789ABCDEF";
  std::string uri(fileScheme);
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    if (std::isalnum(byte) || std::string_view("/-_.~").find(c) != std::string_view::npos)
      uri += c;
    else
      uri.append({'%', digits[byte / 16], digits[byte % 16]});
  }
  return uri;
}

std::vector<std::string> LspWorkspace::filesIn(const std::string& folder)
{
  std::vector<std::string> files;
  std::error_code error;
  fs::recursive_directory_iterator at(folder, fs::directory_options::skip_permission_denied, error);
  for (const fs::recursive_directory_iterator end; !error && at != end && files.size() < mostFiles;
       at.increment(error)) {
    const std::string name = at->path().filename().string();
    std::error_code unknown;
    if (at->is_directory(unknown) && (name.starts_with('.') || name == "node_modules"))
      at.disable_recursion_pending();
    else if (name.ends_with(".ksl"))
      files.push_back(at->path().string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::optional<std::string> LspWorkspace::textIn(const std::string& path)
{
  std::error_code error;
  if (!fs::is_regular_file(path, error) || fs::file_size(path, error) > longestFile || error)
    return std::nullopt;
  try {
    std::string text = orv::ORVFile::readAll(path);
    if (text.starts_with("\xEF\xBB\xBF"))
      text.erase(0, 3);
    return text;
  } catch (const orv::Error&) {
    return std::nullopt;
  }
}

LspDocument* LspWorkspace::find(const std::string& uri)
{
  const auto found = m_documents.find(pathOf(uri));
  return found == m_documents.end() ? nullptr : &found->second;
}

LspDocument& LspWorkspace::put(const std::string& path, std::string uri, std::string text)
{
  drop(path);
  m_isChanged = true;
  m_names.reset();
  return m_documents.emplace(path, LspDocument{std::move(uri), m_nextKey++, LspText(std::move(text))})
      .first->second;
}

void LspWorkspace::drop(const std::string& path)
{
  const auto found = m_documents.find(path);
  if (found == m_documents.end())
    return;
  m_memory.forget(found->second.key);
  m_documents.erase(found);
  m_isChanged = true;
  m_names.reset();
}

bool LspWorkspace::isInFolders(const std::string& path) const
{
  return path.ends_with(".ksl")
         && std::any_of(m_folders.begin(), m_folders.end(),
                        [&](const std::string& folder) { return isBelow(path, folder); });
}

void LspWorkspace::addFolder(const std::string& uri)
{
  const std::string folder = pathOf(uri);
  if (!folder.starts_with('/') || !m_folders.insert(folder).second)
    return;
  for (const std::string& file : filesIn(folder))
    if (m_documents.count(file) == 0)
      if (std::optional<std::string> text = textIn(file))
        put(file, uriOf(file), std::move(*text));
}

void LspWorkspace::removeFolder(const std::string& uri)
{
  const std::string folder = pathOf(uri);
  m_folders.erase(folder);
  std::vector<std::string> gone;
  for (const auto& [path, document] : m_documents)
    if (!document.isOpen && isBelow(path, folder) && !isInFolders(path))
      gone.push_back(path);
  for (const std::string& path : gone)
    drop(path);
}

void LspWorkspace::open(const std::string& uri, std::string text, std::optional<long> version)
{
  const LspDocument* known = find(uri);
  std::string told = known ? known->told : std::string();
  LspDocument& document = put(pathOf(uri), uri, std::move(text));
  document.isOpen = true;
  document.version = version;
  document.told = std::move(told);
}

void LspWorkspace::edit(LspDocument& document, std::size_t offset, std::size_t removed,
                        std::string_view inserted)
{
  m_isChanged = true;
  m_names.reset();
  if (document.text.edit(offset, removed, inserted))
    m_memory.forget(document.key);
}

bool LspWorkspace::close(LspDocument& document)
{
  const std::string path = pathOf(document.uri);
  std::optional<std::string> text = isInFolders(path) ? textIn(path) : std::nullopt;
  if (!text) {
    drop(path);
    return false;
  }
  std::string told = document.told;
  put(path, document.uri, std::move(*text)).told = std::move(told);
  return true;
}

void LspWorkspace::fileChanged(const std::string& uri)
{
  const std::string path = pathOf(uri);
  LspDocument* document = find(uri);
  if (document && document->isOpen)
    return;
  if (document)
    close(*document);
  else if (std::optional<std::string> text = isInFolders(path) ? textIn(path) : std::nullopt)
    put(path, uri, std::move(*text));
}

// Which text comes before which when they are entered is not known: a name that another text defines is there.
void LspWorkspace::check()
{
  if (!std::exchange(m_isChanged, false))
    return;
  orv::TextChecker checker(m_actions, m_memory);
  std::vector<LspDocument*> order;
  for (auto& [path, document] : m_documents) {
    checker.check(document.text.tree(), document.key);
    document.findings.clear();
    order.push_back(&document);
  }
  for (orv::CheckFinding& finding : checker.finish())
    if (!finding.isLater)
      order[finding.text]->findings.push_back(std::move(finding));
}

std::vector<const LspDocument*> LspWorkspace::inOrder() const
{
  std::vector<const LspDocument*> order;
  for (const auto& [path, document] : m_documents)
    order.push_back(&document);
  return order;
}

const std::vector<orv::NameInText>& LspWorkspace::names()
{
  if (m_names)
    return *m_names;
  orv::TextChecker checker(m_actions, m_memory);
  checker.collectNames();
  for (const auto& [path, document] : m_documents)
    checker.check(document.text.tree(), document.key);
  return m_names.emplace(checker.names());
}

std::vector<orv::NameInText> LspWorkspace::namesOf(const std::vector<const orv::SyntaxTree*>& trees) const
{
  orv::TextChecker checker(m_actions);
  checker.collectNames();
  for (const orv::SyntaxTree* tree : trees)
    checker.check(*tree);
  return checker.names();
}
