// Where things stand in a KSL text: asked when an error has come up, never before.
#pragma once

#include "platform/ORVException.h"
#include "platform/ORVSyntax.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv {

// A text that was entered, read again to find the statement that an error arose from. Linear in the text when it is
// made, and once more when an object is looked for first; a place then costs n log n of what is found.
class ORV_API SourceText {
 public:
  // Appends "/" and what the type and name of a header make of a path; see KSLAPI::appendComponent.
  using AppendComponent =
      std::function<void(std::string& path, std::string_view type, std::string_view name)>;

  // `firstLine` is the number of the text's first line where the source has more in front of it.
  // Throws as SyntaxTree.
  SourceText(std::string name, std::string text, SyntaxTree::Reading reading, AppendComponent append,
             std::size_t firstLine = 1);

  const SyntaxTree& tree() const { return m_tree; }

  // These set the place of the error: on the words that are its subject where they are found, else on the value of a
  // parameter, else on the whole statement. False, and nothing set, when the text has no such thing.

  // The last statement, at or before a line of the text, that sets the error's parameter in its object; else the last
  // header of that object, or the parameter in its block that holds the subject.
  bool placeObject(Diagnostic& error, std::size_t lastLine) const;
  // The statement that this line of the text belongs to; of an END its header.
  bool placeLine(Diagnostic& error, std::size_t line) const;
  // The first statement that reads so, comments left out.
  bool placeText(Diagnostic& error, std::string_view statement) const;
  // This part of the text.
  void placeBytes(Diagnostic& error, std::size_t offset, std::size_t size) const;
  // What explains a count of END that is off, which becomes the notes of the error. See explainEnds for the types.
  // Without an explanation the place is the end of the text.
  void placeEnds(Diagnostic& error, const std::function<bool(std::string_view)>& isType = {}) const;

 private:
  using Index = SyntaxTree::Index;
  using Entry =
      std::pair<std::size_t, Index>;  // the hash of a path, or of a path and a parameter, and who has it

  void makeEntries() const;
  Index lastOf(const std::string& key, Index behind) const;
  void placeNode(Diagnostic& error, Index index) const;
  Index holderOf(const std::string& subject, Index header) const;

  std::string m_name;
  SyntaxTree m_tree;
  AppendComponent m_append;
  std::size_t m_firstLine;
  mutable std::vector<Entry> m_entries;  // in order; empty until asked for
};

}  // namespace orv
