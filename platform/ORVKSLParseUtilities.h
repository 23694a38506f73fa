// The parse-utilities library: what a line of KSL is, and small readers and writers of KSL text.
#pragma once

#include "platform/ORVException.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv {

// Walks lines of KSL and calls back for each; keeps the stack of open blocks. Lines are whole (continuations joined);
// comments are ignored, action lines are "other". Never throws for bad text: what it cannot place is "other".
class ORV_API MiniKSLParser {
 public:
  enum LineType { emptyLine = 0, actionLine = 1, parameterLine = 2, objectLine = 3, otherLineType = 4, endLine = 5 };

  explicit MiniKSLParser(std::vector<std::string> lines);
  virtual ~MiniKSLParser();
  // (type, name) of an open block; a singleton's name is its type.
  using Block = std::pair<std::string, std::string>;

  // What a line is, its comment ignored: 0 empty, 1 action (">" first), 2 parameter (a "=" before any ":"), 3 object
  // header ("TYPE: name", a ":" and no "=", also after "&replace "), 5 "END", 4 anything else (a ":" before a "=").
  static int determineLineType(std::string_view line);

  void parse();

 protected:
  virtual void newObject(const std::string& type, const std::string& name);
  virtual void newParameter(const std::string& name, const std::string& value);
  virtual void endObject();
  virtual void otherLine(const std::string& line);

  // Innermost last. In endObject the block that ends is still there.
  const std::vector<Block>& openBlocks() const { return m_blocks; }
  // The line under way as it was given, and its number from 0.
  const std::string& currentLine() const { return m_lines[m_index]; }
  std::size_t currentIndex() const { return m_index; }
  // True when the header under way stands after "&replace".
  bool inReplaceMode() const { return m_replace; }

 private:
  std::vector<std::string> m_lines;
  std::vector<Block> m_blocks;
  std::size_t m_index = 0;
  bool m_replace = false;
};

// Writes KSL text, indented by two blanks a level.
class ORV_API KSLBuilder {
 public:
  // A singleton (name empty or equal to the type) gets a header that ends with its colon.
  void beginObject(std::string_view type, std::string_view name);
  void addParam(std::string_view name, std::string_view value);
  void endObject();
  void addAction(std::string_view action);  // without the ">"
  const std::string& text() const { return m_text; }

 private:
  void indent();
  std::string m_text;
  std::size_t m_depth = 0;
};

// Finds the blocks of one object type in a text.
class ORV_API ObjectKSLParser : public MiniKSLParser {
 public:
  explicit ObjectKSLParser(std::vector<std::string> lines);
  ~ObjectKSLParser() override;
  // The lines, header and END included, of the first block of this type; empty when there is none.
  std::vector<std::string> parseForObject(const std::string& type);
  // The same for a type and name.
  std::vector<std::string> parseForObject(const std::string& type, const std::string& name);

 protected:
  void newObject(const std::string& type, const std::string& name) override;
  void endObject() override;

 private:
  std::string m_type;
  std::string m_name;
  bool m_anyName = true;
  std::size_t m_first = 0;
  std::size_t m_depth = 0;
  bool m_open = false;
  bool m_found = false;
  std::vector<std::string> m_result;
};

}  // namespace orv
