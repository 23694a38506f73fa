// What a text store is made of: the tree, the changes to it, and what is known of the RULES that it holds.
//
// The journal (the store's memory for going back) and the change list (what callers are told) are two things:
//
//            change ──► journal ──► undo, undoTo          entries leave by confirm, undo
//                  └──► change list (only when recorded)  entries leave by clear, take, undo
//
// Invariants, held between any two calls:
//  1. Taking back the journal's changes, newest first, gives the tree as it was when all was last confirmed.
//  2. Confirmed changes are never taken back; clearing the change list confirms nothing.
//  3. A change stands in the journal, and is told when it is to be, or it is not made.
//  4. What is told as one group (ChangeGroup) shares the parameters of the node; of a large node each is told by itself.
//
//   [clean] ──make*──► [pending] ──confirmTo / recordChanges──► [clean]
//                          └──────undo / undoTo──────────────► [clean]
#pragma once

#include "platform/ORVKSLAPI.h"
#include "platform/internal/ChangeGroup.h"
#include "platform/internal/UpdateHandler.h"
#include "StoreJournal.h"
#include "StoreRules.h"
#include "StoreTree.h"
#include "StoreValidation.h"
#include "StoreValues.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

namespace store {

// The blocks of a text that are open while it is read.
struct OpenBlocks {
  struct Block {
    SharedText path;
    Node* node;  // null when it may have gone
  };
  std::vector<Block> blocks;
  std::string path;  // of the one that is being opened
};

}  // namespace store

class KSLAPI::Impl {
 public:
  using Node = store::Node;

  // -- changing the tree; what is there already, or missing already, is left alone

  enum class Record { no, yes };

  // The node with this path, made (and reported) with its ancestors when missing.
  Node* ensureNode(const SharedText& path, Record record);
  // A child that does not exist yet.
  Node* makeNode(Node* parent, SharedText path, Record record, store::ParamRun params = {});
  // The name comes from the tree; a value that is there already costs nothing.
  void setParam(Node* node, const SharedText& name, std::string_view value, store::Values& values,
                Record record);
  void setParam(Node* node, const SharedText& name, const SharedText& value, Record record);
  void unsetParam(Node* node, const SharedText& name, Record record);
  void removeNode(Node* node, Record record);
  // All changes of a group, in one piece when the tree has room for it as it stands, or holds just that.
  void apply(const ChangeGroup& group, Record record);
  void apply(const KSLChange& change, Record record);

  // -- going back

  void undoTo(std::uint64_t mark);
  std::uint64_t mark() const { return m_confirmed + journal.size(); }
  void confirmTo(std::uint64_t mark);
  std::uint64_t pendingMark() const { return changes.empty() ? mark() : m_pendingFrom; }

  // -- validation

  void validate(const KSLChangeList& list);

  // -- reading text

  void readLibraryFiles(const std::vector<std::string>& files);

  store::Tree tree;
  store::Journal journal{tree};
  store::Rules rules{tree};
  const SharedText changesName{"KSL changes"};
  KSLChangeList changes{changesName, nullptr};
  KSLActionHandler* actionHandler = nullptr;        // not owned
  UpdateHandler* updateHandler = nullptr;           // the same one, when it is both; else null
  KSLReplaceModeHandler* replaceHandler = nullptr;  // not owned
  const KSLValidator* validator = nullptr;          // not owned
  std::vector<std::string> libraryFiles;            // read last
  bool validating = false;
  bool refusesRules = false;
  std::unique_ptr<store::Validation> validation;  // kept while RULES are refused, for the next list
  store::OpenBlocks spareBlocks;                  // closed: their memory is for the next text

 private:
  template <class Group, class Make>
  void make(const Node* node, Record record, Group group, Make make);
  void assign(Node* node, std::size_t param, const SharedText& name, SharedText&& value, Record record);
  void append(Node* node, const SharedText& name, SharedText&& value, Record record);
  bool putBack(const ChangeGroup& group, Record record);
  bool takeOut(const ChangeGroup& group, Record record);
  bool hasInterned(const store::ParamRun& params);
  static void listDeletion(const Node* node, KSLChangeList& out);

  std::uint64_t m_confirmed = 0;    // number of changes confirmed so far
  std::uint64_t m_pendingFrom = 0;  // the mark before the first change in the change list
};

}  // namespace orv
