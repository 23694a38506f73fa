#include "Libraries.h"

#include "platform/ORVSystem.h"
#include "Host.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

using orv::SyntaxTree;

std::string canonicalName(const std::string& file)
{
  std::error_code unknown;
  return std::filesystem::weakly_canonical(file, unknown).string();
}

namespace {

bool saysClasses(const std::string& text)
{
  return text.find("KSLObjectClasses") != std::string::npos;
}

bool isPartOf(const std::string& file, const std::vector<std::string>& libraries)
{
  return std::any_of(libraries.begin(), libraries.end(), [&](const std::string& library) {
    const std::string place = canonicalName(library);
    return canonicalName(file) == place || canonicalName(file).starts_with(place + "/");
  });
}

// The folder of a file that is one of several of a library: one of the others is its header. Empty for none.
std::string libraryAround(const std::string& file)
{
  const std::filesystem::path folder = std::filesystem::path(canonicalName(file)).parent_path();
  std::error_code unknown;
  for (const auto& each : std::filesystem::directory_iterator(folder, unknown))
    if (each.is_regular_file(unknown) && each.path().extension() == std::filesystem::path(file).extension()
        && saysClasses(orv::ORVFile::readAll(each.path().string())))
      return folder.string();
  return {};
}

}  // namespace

bool isLibrary(const SyntaxTree& tree)
{
  std::string room;
  for (SyntaxTree::Index i = tree.firstChild(SyntaxTree::none); i != SyntaxTree::none; i = tree.next(i))
    if (const SyntaxTree::Kind kind = tree[i].kind;
        kind != SyntaxTree::Kind::blank && kind != SyntaxTree::Kind::comment)
      return kind == SyntaxTree::Kind::header && tree.read(i, room).first == "RULES";
  return false;
}

void Definitions::add(const std::string& file, const SyntaxTree& tree)
{
  if (!isLibrary(tree))
    return;
  files.push_back(file);
  if (saysClasses(tree.text()))
    headers.push_back(file);
}

bool Definitions::has(const std::string& file) const
{
  return std::find(files.begin(), files.end(), file) != files.end();
}

bool Definitions::drop(const std::string& file)
{
  const auto isIt = [name = canonicalName(file)](const std::string& each) {
    return canonicalName(each) == name;
  };
  std::erase_if(headers, isIt);
  return std::erase_if(files, isIt) > 0;
}

std::vector<std::string> librariesFor(const Definitions& definitions, const std::vector<std::string>& given)
{
  const std::vector<std::string> libraries = given.empty() ? Host::usualLibraries() : given;
  std::vector<std::string> added = definitions.files;
  std::erase_if(added, [&](const std::string& file) { return isPartOf(file, libraries); });
  if (added.empty())
    return given;
  if (!definitions.headers.empty())
    return added;
  const std::string around = given.empty() ? libraryAround(added.front()) : std::string();
  if (!around.empty())
    std::erase_if(added, [&](const std::string& file) { return isPartOf(file, {around}); });
  const std::vector<std::string> below = around.empty() ? libraries : std::vector{around};
  added.insert(added.begin(), below.begin(), below.end());
  return added;
}
