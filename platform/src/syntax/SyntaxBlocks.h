// Finds out which statements belong to which block, and what is wrong with them.
#pragma once

#include "platform/ORVSyntax.h"

#include <vector>

namespace orv {

// What a record says of its statement besides its kind; decided when it is read.
enum SyntaxTrait : std::uint8_t {
  traitSlash = 1,     // in a type or name
  traitComma = 2,     // likewise
  traitRules = 4,     // the header of RULES
  traitNameless = 8,  // a header without a type
  traitLikeEnd = 16   // an error that was meant to be END
};

class SyntaxBlocks {
 public:
  using Record = SyntaxTree::Record;
  using Index = SyntaxTree::Index;

  // The last record stands for the end of the text.
  SyntaxBlocks(std::vector<Record>& records, SyntaxTree::Reading reading);

  // Sets parent, last, closed and faults of all records.
  void match();
  long depth() const { return m_depth; }
  bool isFaulty() const { return m_faulty; }

 private:
  struct Open {
    Index header;
    long indent;
  };

  void countEnds();
  void learnStyle();
  void matchByEnds();
  void matchByIndents();
  void place(Index index);
  void placeEnd(Index index);
  void placeError(Index index);
  // Blocks that begin at this column or behind it have been left open by the statement that stands there.
  void leaveOpen(Index by, long indent);
  void open(Index header);
  void close(Index last, bool closed);
  bool standsOverMore(Index index) const;
  Index top() const { return m_open.empty() ? SyntaxTree::none : m_open.back().header; }
  void judge();
  std::uint8_t faultsOf(const Record& record, bool inRules) const;

  std::vector<Record>& m_records;
  const Index m_size;
  const SyntaxTree::Reading m_reading;
  std::vector<Open> m_open;
  Index m_lastStatement = SyntaxTree::none;  // before the blank and comment lines under way
  long m_depth = 0;
  bool m_surplus = false;
  bool m_content = false;   // the reader is, with the count of END
  bool m_indented = false;  // what is in a block stands further right than its header
  long m_endShift = 0;      // how much further right END stands than its header
  bool m_faulty = false;
};

}  // namespace orv
