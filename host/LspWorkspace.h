// All texts that a language server looks at together: those that are open, and the files of the folders.
#pragma once

#include "LspText.h"
#include "session/TextChecker.h"

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

struct LspDocument {
  std::string uri;  // as the client writes it
  std::size_t key = 0;
  LspText text;
  bool isOpen = false;
  std::optional<long> version = {};
  std::vector<orv::CheckFinding> findings = {};  // of the last check
  std::string told = {};                         // what the client was told of them
};

class LspWorkspace {
 public:
  // The words of actions that there are.
  explicit LspWorkspace(std::vector<std::string> actions) : m_actions(std::move(actions)) {}

  // Null when it is not known.
  LspDocument* find(const std::string& uri);
  // By path.
  const std::map<std::string, LspDocument>& documents() const { return m_documents; }
  std::map<std::string, LspDocument>& documents() { return m_documents; }

  // Reads the files that belong to a folder. Those that cannot be read are passed over.
  void addFolder(const std::string& uri);
  void removeFolder(const std::string& uri);
  void open(const std::string& uri, std::string text, std::optional<long> version);
  void edit(LspDocument& document, std::size_t offset, std::size_t removed, std::string_view inserted);
  // From now on what is in the file counts. False when there is none in the folders: the document is gone then.
  bool close(LspDocument& document);
  // A file has come, gone or changed beside the editor.
  void fileChanged(const std::string& uri);

  bool isChanged() const { return m_isChanged; }
  // Looks through all of them again when one has changed.
  void check();
  // What they name, and in which of them: NameInText::text is the place in `inOrder`.
  const std::vector<orv::NameInText>& names();
  std::vector<const LspDocument*> inOrder() const;
  // The same of other texts in their places.
  std::vector<orv::NameInText> namesOf(const std::vector<const orv::SyntaxTree*>& trees) const;

  static std::string pathOf(const std::string& uri);
  static std::string uriOf(const std::string& path);
  // The files in a folder and below that hold KSL. Hidden folders are passed over.
  static std::vector<std::string> filesIn(const std::string& folder);
  // None for a file that cannot be read, or is longer than anybody edits.
  static std::optional<std::string> textIn(const std::string& path);

 private:
  LspDocument& put(const std::string& path, std::string uri, std::string text);
  bool isInFolders(const std::string& path) const;
  void drop(const std::string& path);

  std::vector<std::string> m_actions;
  std::map<std::string, LspDocument> m_documents;
  std::set<std::string> m_folders;  // paths
  orv::CheckMemory m_memory;
  std::size_t m_nextKey = 0;
  bool m_isChanged = true;
  std::optional<std::vector<orv::NameInText>> m_names;  // while nothing has changed
};
