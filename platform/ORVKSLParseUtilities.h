// The parse-utilities library: what a line of KSL is, and small readers and writers of KSL text.
#pragma once

#include "platform/ORVException.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv {

// Walks lines of KSL and calls back for each; keeps the stack of open blocks. Lines are whole (continuations
// joined). Comments are cut off, and what is empty then is passed over; action lines are "other". Never
// throws for bad text: what it cannot place, such as an END outside all blocks, is "other". What a callback
// throws passes on.
class ORV_API MiniKSLParser {
 public:
  enum LineType {
    emptyLine = 0,
    actionLine = 1,
    parameterLine = 2,
    objectLine = 3,
    otherLineType = 4,
    endLine = 5
  };

  explicit MiniKSLParser(std::vector<std::string> lines);
  virtual ~MiniKSLParser();
  // (type, name) of an open block; a singleton's name is its type.
  using Block = std::pair<std::string, std::string>;

  // What a line is, its comment and the white space at its ends ignored:
  //   0 empty
  //   1 action: ">" first
  //   2 parameter: a "=" before any ":"
  //   3 object header: a ":" and no "=", such as "TYPE: name" or "&replace TYPE: name"
  //   4 anything else: a ":" before a "=", or neither of them
  //   5 "END", in capitals and alone
  // Linear in the line, allocates nothing.
  static int determineLineType(std::string_view line);

  // A line taken apart in one pass: its type, the text that counts (no comment, no white space at the ends; a view
  // into the line), and where in that text the ":" of a header or the "=" of a parameter stands.
  struct Line {
    LineType type;
    std::string_view text;
    std::size_t mark;
  };
  static Line scan(std::string_view line);

  // Walks all lines from the first one.
  void parse();

 protected:
  virtual void newObject(const std::string& type, const std::string& name);
  virtual void newParameter(const std::string& name, const std::string& value);
  virtual void endObject();
  virtual void otherLine(const std::string& line);  // as it was given

  // Innermost last. In newObject the block that begins is there already, in endObject the one that ends still
  // is.
  const std::vector<Block>& openBlocks() const { return m_blocks; }
  // The line under way as it was given, and its number from 0.
  const std::string& currentLine() const { return m_lines[m_index]; }
  std::size_t currentIndex() const { return m_index; }
  const std::vector<std::string>& lines() const { return m_lines; }
  // True when the header under way stands after "&replace".
  bool inReplaceMode() const { return m_replace; }

 private:
  void beginBlock(std::string_view header);
  void endBlock();
  void readParameter(std::string_view text);

  std::vector<std::string> m_lines;
  std::vector<Block> m_blocks;
  std::size_t m_index = 0;
  bool m_replace = false;
};

// Writes KSL text, indented by two blanks a level. Values stay on one line: line ends in them become blanks.
// A line that ends in "\" gets a blank behind it, so that it reads back.
class ORV_API KSLBuilder {
 public:
  // A singleton (name empty or equal to the type) gets a header that ends with its colon.
  void beginObject(std::string_view type, std::string_view name);
  void addParam(std::string_view name, std::string_view value);
  void endObject();                         // nothing when no block is open
  void addAction(std::string_view action);  // without the ">"
  const std::string& text() const { return m_text; }

 private:
  void indent();
  void endLine();
  std::string m_text;
  std::size_t m_depth = 0;
};

// Finds the blocks of one object type in a text.
class ORV_API ObjectKSLParser : public MiniKSLParser {
 public:
  explicit ObjectKSLParser(std::vector<std::string> lines);
  ~ObjectKSLParser() override;
  // The lines as given, header and END included, of the first block of this type at any depth; empty when
  // there is none or it is never closed.
  std::vector<std::string> parseForObject(const std::string& type);
  // The same for a type and name.
  std::vector<std::string> parseForObject(const std::string& type, const std::string& name);

 protected:
  void newObject(const std::string& type, const std::string& name) override;
  void endObject() override;

 private:
  std::vector<std::string> linesFound();
  std::string m_type;
  std::string m_name;
  bool m_anyName = true;
  // Places of its first and last line, and how deep it is nested.
  std::optional<std::size_t> m_first;
  std::optional<std::size_t> m_last;
  std::size_t m_depth = 0;
};

}  // namespace orv
