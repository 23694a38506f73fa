#include "Libraries.h"

#include "Host.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

using orv::SyntaxTree;

namespace {

std::string canonical(const std::string& path)
{
  std::error_code unknown;
  return std::filesystem::weakly_canonical(path, unknown).string();
}

bool isPartOf(const std::string& file, const std::vector<std::string>& libraries)
{
  return std::any_of(libraries.begin(), libraries.end(), [&](const std::string& library) {
    const std::string place = canonical(library);
    return canonical(file) == place || canonical(file).starts_with(place + "/");
  });
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
  defineClasses = defineClasses || tree.text().find("KSLObjectClasses") != std::string::npos;
}

std::vector<std::string> librariesFor(const Definitions& definitions, const std::vector<std::string>& given)
{
  const std::vector<std::string> libraries = given.empty() ? Host::usualLibraries() : given;
  std::vector<std::string> added = definitions.files;
  std::erase_if(added, [&](const std::string& file) { return isPartOf(file, libraries); });
  if (added.empty())
    return given;
  if (!definitions.defineClasses)
    added.insert(added.begin(), libraries.begin(), libraries.end());
  return added;
}
