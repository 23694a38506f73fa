// The syntax library: KSL text as a tree that keeps every byte, what is wrong with a text, and its one style.
#pragma once

#include "platform/ORVExport.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

// A text as a tree of statements, whatever the text. What a line is, where it goes on, where a comment begins and a
// name ends is decided by the functions that the text store reads with: the tree says of a text that the library
// accepts what the library does with it, and has a fault wherever the library refuses a text for its syntax.
//
// The nodes are statements in the order of the text, numbered from 0. A statement is one line and the lines that
// continue it; blank lines and lines with a comment alone are nodes too. A block is a header and what stands behind it
// up to its END. A line that is no statement is one node of its own and harms no other.
//
// END alone says where a block ends, as it does for the library, as long as the reader is content with their count.
// When the count is off, and people indent their blocks, the indentation says it: a forgotten END then costs its own
// block, and not the rest of the text.
//
// Making a tree is linear in the text and allocates once or twice in all; a node takes 28 bytes beside the text.
// Nothing recurses. Positions count from 0 and in bytes, but lines and columns from 1.
class ORV_API SyntaxTree {
 public:
  using Index = std::uint32_t;
  static constexpr Index none = 0xFFFFFFFF;

  // Who is to read the text:
  //   command  a command text in the default update mode: there are as many END as headers
  //   atEnd    one in the other update modes: what is open at the end is closed, an END too many is ignored
  //   library  a file of definitions: each END closes a block, no action lines, white space inside values counts
  enum class Reading : std::uint8_t { command, atEnd, library };

  enum class Kind : std::uint8_t { blank, comment, action, parameter, header, end, error };

  // What can be wrong with a node; several things may be.
  enum Fault : std::uint8_t {
    noStatement = 1,   // none of the language's lines, or a header or parameter without a name
    outsideBlock = 2,  // a parameter in no block
    badName = 4,       // a type or name with a "/", or a "," outside RULES
    leftOpen = 8,      // a header whose END is missing
    surplusEnd = 16,   // an END that closes nothing
    notAllowed = 32    // an action line in a library
  };

  struct Node {
    Kind kind;
    std::uint8_t faults;  // a sum of Fault
    bool closed;          // of a header: it has its END
    std::size_t offset;   // of its first line
    std::size_t size;     // bytes of its lines, line ends included
    std::size_t line;
    std::size_t lines;
    Index parent;  // the header of the block that it stands in, also of an END; none at top level
    Index last;  // of what opens a block: the last node in it, its END when it has one; else the node itself
    std::uint32_t
        id;  // its own for as long as the bytes of the statement are the same, whatever is edited before it
  };

  // A statement as its reader sees it: whole, without comment, and for commands with single blanks.
  struct Statement {
    Kind kind;
    bool replace = false;    // a header behind "&replace"
    std::string_view text;   // all of it
    std::string_view first;  // the type of a header, the name of a parameter, the word of an action
    std::string_view rest;   // the name of a header (empty when it has none), a value, the arguments
  };

  enum class LeafKind : std::uint8_t {
    blank,         // white space within a line
    lineEnd,       // LF or CR LF
    continuation,  // the backslash of a line that goes on
    comment,
    replace,  // "&replace"
    type,
    colon,
    name,  // of an object
    parameter,
    equals,
    value,
    end,
    mark,  // ">"
    word,  // of an action
    arguments,
    error
  };
  struct Leaf {
    LeafKind kind;
    std::size_t offset;
    std::size_t size;
  };

  struct Position {
    std::size_t line;
    std::size_t column;
  };

  // Something that the library refuses, in its words.
  struct Report {
    Index node;  // none for what the text as a whole lacks
    std::size_t offset;
    std::size_t size;
    std::string message;
  };

  // Throws data::error, class "SyntaxTree", function "edit", for a text of 4 GiB or more.
  explicit SyntaxTree(std::string text, Reading reading = Reading::command);

  // Puts a text in place of `removed` bytes at `offset`, as an editor does; what lies behind the end is not there.
  // Reads the statements again that the change touches and moves the places of those behind it; blocks are matched
  // again only when a line has become another kind of line or has moved sideways. A text of n statements so costs a
  // few nanoseconds times n beside what is read, whatever its size in bytes. Throws as the constructor does, and the
  // tree is as it was then.
  void edit(std::size_t offset, std::size_t removed, std::string_view inserted);

  const std::string& text() const { return m_text; }
  Reading reading() const { return m_reading; }
  // Of the statements; 0 for the empty text.
  Index size() const { return static_cast<Index>(m_records.size() - 1); }
  // REQUIRES: index < size(), here and below.
  Node operator[](Index index) const;
  // The bytes of a node, line ends included.
  std::string_view source(Index index) const;

  // The statement that holds this byte; of the end of the text the last one. none for the empty text.
  Index at(std::size_t offset) const;
  // The same for a line, counted from 1; none when there is no such line.
  Index atLine(std::size_t line) const;
  Position position(std::size_t offset) const;

  // The nodes of a block in order, its END last; of `none`, the top level. `next` passes over what is in a block.
  Index firstChild(Index parent) const;
  Index next(Index index) const;

  // The statement; its texts are views into `room`.
  Statement read(Index index, std::string& room) const;
  // Appends the leaves of a statement, none of them empty. What goes on over several lines has a leaf for each.
  void leaves(Index index, std::vector<Leaf>& out) const;

  // True when the library refuses the text for its syntax.
  bool isFaulty() const { return m_faulty || m_depth != 0; }
  // END that are missing (or, below 0, too many), as the library counts; 0 where it does not mind.
  long missingEnds() const { return m_depth; }
  // All that the library would refuse, in the order of the text; a count of END that is off comes first.
  std::vector<Report> reports() const;

 private:
  friend class SyntaxBlocks;

  struct Record {
    std::uint32_t offset;
    std::uint32_t line;
    Index parent;
    Index last;
    std::uint32_t id;
    std::uint16_t indent;
    Kind kind;
    std::uint8_t traits;
    std::uint8_t faults;
    bool closed;
  };

  // Reads one statement and goes on to the next.
  Record readRecord(std::size_t& offset, std::uint32_t& line);
  void addEnd(std::vector<Record>& records, std::uint32_t line) const;
  void matchBlocks(std::vector<Record>& records);
  void readAgain(Index first, Index behind, std::size_t editEnd, std::size_t moved, std::string_view former);
  void keepIds(Index first, Index behind, std::string_view former, std::vector<Record>& records,
               std::size_t end) const;
  void appendMoved(std::vector<Record>& records, Index met, std::size_t moved, std::uint32_t line) const;
  void adopt(std::vector<Record> records, Index first, Index met);

  std::string m_text;
  std::vector<Record> m_records;  // and one behind the last: where the text ends
  Reading m_reading;
  std::uint32_t m_nextId = 0;
  long m_depth = 0;
  bool m_faulty = false;
};

// Why a text has too few or too many END.
struct SyntaxNote {
  enum class Reason {
    noStatement,  // a line that is none
    unknownType,  // a header whose type nobody knows: a parameter with a ":", most likely
    swallowed,    // a line that belongs to the one above, which ends in a backslash
    leftOpen,     // a header without END; `next` is where the block after it begins
    noHeader,     // where the header of a block is missing; `next` is its END
    surplusEnd
  };
  Reason reason;
  SyntaxTree::Index node;
  std::size_t offset;  // of what is meant, its size behind it
  std::size_t size;
  SyntaxTree::Index next = SyntaxTree::none;
  std::string message;
};

// What explains a count of END that is off, the likeliest first: lines that are no statements, types that nobody knows,
// swallowed lines, blocks that were left open or never begun, surplus END. Empty when the count is good. `isType` says whether the
// rules define a type; without it all types are good. Linear in the text.
ORV_API std::vector<SyntaxNote> explainEnds(const SyntaxTree& tree,
                                            const std::function<bool(std::string_view)>& isType = {});

// The one style of KSL: two blanks a level, one round "=" and behind ":" and ">", single empty lines, none at either
// end, comments behind neighbouring lines in one column. A statement that goes on keeps its line breaks, and gets more
// where a line is longer than `width`: behind commas where there are some, between words else, never in words or in
// quotes. A line end at the end; all line ends are as the first one is.
//
// Comments stay on their lines, and every reader reads the same statements as before; formatted text stays as it is.
// That holds for every text, also for one with faults, though a count of END that is off indents what is behind it.
constexpr std::size_t kslTextWidth = 120;
ORV_API std::string formatKSL(const SyntaxTree& tree, std::size_t width = kslTextWidth);
// The same by statement: the text that takes the place of each node, with its line ends; empty where a line goes.
ORV_API std::vector<std::string> formatKSLStatements(const SyntaxTree& tree,
                                                     std::size_t width = kslTextWidth);

}  // namespace orv
