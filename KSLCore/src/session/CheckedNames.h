// Where texts name objects and expressions, to the byte.
#pragma once

#include "session/TextChecker.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

class CheckedNames {
 public:
  using Index = SyntaxTree::Index;
  using LeafKind = SyntaxTree::LeafKind;

  // The text that is looked at next.
  void begin(const SyntaxTree& tree, std::size_t number)
  {
    m_tree = &tree;
    m_text = number;
  }
  // The name in a header, its type where it has none.
  void addHeader(Index node, const std::string& path);
  // The name that a line "name = expression" defines.
  void addDefined(Index node, const std::string& name);
  // A name that an expression uses, wherever it stands in the value.
  void addUses(Index node, const std::string& name, bool isExpression, const std::string& target);
  // The same of a formula, where a name stands for the first `length` characters of what is written.
  void addFormulaUses(Index node, const std::string& written, std::size_t length, const std::string& target);
  // The item of a list, counted from 0, in a value.
  void addItem(Index node, std::size_t item, const std::string& path);
  // A word of an action line.
  void addArgument(Index node, std::string_view word, const std::string& path);

  std::vector<NameInText> take();

 private:
  // The bytes from the first leaf of this kind to the last; empty without any.
  std::string_view bytesOf(Index node, LeafKind kind) const;
  void add(std::string_view bytes, const std::string& name, bool isExpression, bool isDefinition);

  const SyntaxTree* m_tree = nullptr;
  std::size_t m_text = 0;
  std::vector<NameInText> m_names;
};

}  // namespace orv
