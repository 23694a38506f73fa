// The text store: KSL data as text, addressed by path, and the changes that reading more text makes to it.
#pragma once

#include "platform/ORVException.h"
#include "platform/ORVUtilities.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

// ---------------------------------------------------------------------------------------------------- changes

// One change to KSL data. Texts are shared, so a change costs a few pointers however long its path and values
// are.
struct ORV_API KSLChange {
  enum class Kind : std::uint8_t { createObject, deleteObject, createParam, deleteParam, changeParam };

  Kind kind = Kind::createObject;
  SharedText path;
  SharedText name;      // of the parameter; empty for objects
  SharedText value;     // the new value; of a deleted parameter the one that it had
  SharedText oldValue;  // of a changed parameter

  static KSLChange createObject(SharedText path);
  static KSLChange deleteObject(SharedText path);
  static KSLChange createParam(SharedText path, SharedText name, SharedText value);
  static KSLChange deleteParam(SharedText path, SharedText name, SharedText value);
  static KSLChange changeParam(SharedText path, SharedText name, SharedText value, SharedText oldValue);

  // The change that takes this one back.
  KSLChange inverse() const;
};

// Adjusts the changes added to a list.
class ORV_API ChangeListModifierIF {
 public:
  virtual ~ChangeListModifierIF();
  // May rewrite the change; false drops it.
  virtual bool modify(KSLChange& change) = 0;
};

// The visitor of a change list.
class ORV_API KSLChangeProcessor {
 public:
  virtual ~KSLChangeProcessor();
  virtual void newObject(const std::string& path) = 0;
  virtual void deletedObject(const std::string& path) = 0;
  virtual void newParam(const std::string& path, const std::string& name, const std::string& value) = 0;
  virtual void changedParam(const std::string& path, const std::string& name, const std::string& newValue,
                            const std::string& oldValue) = 0;
  virtual void deletedParam(const std::string& path, const std::string& name, const std::string& value) = 0;
  // Called for every change; passes it on to the callback of its kind. Override to keep the shared texts.
  virtual void visit(const KSLChange& change);
};

class ChangeGroup;
class ChangeGroups;

// An ordered list of changes: a small value that knows none of its consumers. What it holds are groups (see there), so
// that a definition with all its parameters takes little more than one change; each change is told as its own.
class ORV_API KSLChangeList {
 public:
  enum class Direction { forward = 0, backward = 1 };

  // The modifier is not owned and may be null; it sees every change that is added.
  explicit KSLChangeList(const std::string& name = {}, ChangeListModifierIF* modifier = nullptr);
  KSLChangeList(SharedText name, ChangeListModifierIF* modifier);
  KSLChangeList(const KSLChangeList& other);
  KSLChangeList(KSLChangeList&& other) noexcept;
  KSLChangeList& operator=(KSLChangeList other) noexcept;
  ~KSLChangeList();

  void createObject(const std::string& path);
  void deleteObject(const std::string& path);
  void createParam(const std::string& path, const std::string& name, const std::string& value);
  void deleteParam(const std::string& path, const std::string& name, const std::string& value);
  void changeParam(const std::string& path, const std::string& name, const std::string& newValue,
                   const std::string& oldValue);
  // Shows the change to the modifier, and appends it unless that drops it.
  void add(KSLChange change);

  const std::string& getName() const { return m_name.str(); }
  void setModifier(ChangeListModifierIF* modifier) { m_modifier = modifier; }
  ChangeListModifierIF* getModifier() const { return m_modifier; }
  bool empty() const { return m_size == 0; }
  std::size_t size() const { return m_size; }
  // O(log n). Who goes through a list lets process() show it.
  KSLChange operator[](std::size_t index) const;
  void clear();
  void swapChanges(KSLChangeList& other) noexcept;  // names and modifiers stay
  // Forgets the newest changes until `size` are left; nothing when there are no more. Cannot fail.
  void truncate(std::size_t size) noexcept;

  // Calls the processor for one change at a time: forward in the order added, backward newest first. The list
  // may be changed meanwhile: forward visits what is added, and neither touches what has been removed.
  void process(Direction direction, KSLChangeProcessor* processor) const;

 private:
  friend class ChangeGroups;
  // The first group stands in the list itself, the others in chunks of growing size: most lists take no memory, and
  // appending moves nothing.
  struct Chunk;
  static constexpr std::size_t groupSize = 40;
  ChangeGroup& append(ChangeGroup&& group);
  ChangeGroup* first() noexcept;
  const ChangeGroup* first() const noexcept;
  ChangeGroup* last() noexcept;
  void dropAll() noexcept;

  SharedText m_name;
  ChangeListModifierIF* m_modifier;             // not owned
  alignas(void*) std::byte m_first[groupSize];  // made when the list is not empty
  std::vector<Chunk> m_chunks;
  std::size_t m_size = 0;  // changes
  std::size_t m_cuts = 0;  // how often changes have gone
};

// Appends each visited change to a list.
class ORV_API ChangeListCopyProcessor : public KSLChangeProcessor {
 public:
  explicit ChangeListCopyProcessor(KSLChangeList& target) : m_target(target) {}
  void newObject(const std::string& path) override;
  void deletedObject(const std::string& path) override;
  void newParam(const std::string& path, const std::string& name, const std::string& value) override;
  void changedParam(const std::string& path, const std::string& name, const std::string& newValue,
                    const std::string& oldValue) override;
  void deletedParam(const std::string& path, const std::string& name, const std::string& value) override;
  void visit(const KSLChange& change) override;

 private:
  KSLChangeList& m_target;
};

// --------------------------------------------------------------------------------------------------- handlers

// Receives the action lines of a text, in text order.
class ORV_API KSLActionHandler {
 public:
  virtual ~KSLActionHandler();
  // The text after ">", its comment cut and its ends trimmed; this store leaves `args` empty. False stops the
  // load.
  virtual bool handleAction(const std::string& action, const std::vector<std::string>& args) = 0;
};

// Told of every object that a text defines in replace mode ("&replace TYPE: name"), once what was there has gone and
// before its block is read.
class ORV_API KSLReplaceModeHandler {
 public:
  virtual ~KSLReplaceModeHandler();
  virtual void objectReplaced(const std::string& path) = 0;
};

// -------------------------------------------------------------------------------------------------- text store

// Lines kept in pieces of text, which can be given back as they are read. Views hold until the next line is added, or
// their line is forgotten.
class ORV_API KSLLines {
 public:
  // What reading a line found: its type, as MiniKSLParser::scan tells it, and the place of its mark. Only of a line that
  // is without comment and white space at its ends.
  struct Scanned {
    std::int32_t type = unknown;
    std::uint32_t mark = 0;
    static constexpr std::int32_t unknown = -1;
  };

  void reserve(std::size_t characters, std::size_t lines);
  void add(std::string_view line);
  // The same without a copy: append the line to the text that begin() gives, then end() it or drop() it.
  std::string& begin();
  std::string_view begun() const
  {
    return std::string_view(m_pieces.back().text).substr(m_pieces.back().end());
  }
  void end() { end(Scanned()); }
  // Who has scanned the line saves who reads it the same.
  void end(Scanned scanned);
  void drop() { m_pieces.back().text.resize(m_pieces.back().end()); }

  std::size_t size() const { return m_size; }
  bool empty() const { return m_size == 0; }
  std::string_view operator[](std::size_t index) const { return viewIn(m_pieces[index / pieceLines], index); }
  Scanned scanned(std::size_t index) const
  {
    return m_pieces[index / pieceLines].lines[index % pieceLines].scanned;
  }
  // The line and what may be read behind it.
  std::string_view from(std::size_t index) const;
  std::string_view back() const { return (*this)[size() - 1]; }
  std::vector<std::string> copy() const;
  // Calls done(line, characters that may be read from its begin on, Scanned) of each.
  template <class Done>
  void forEach(Done&& done) const;

  // Lines before this one are not asked for again: their memory is given back, piece by piece.
  void forgetBefore(std::size_t index) noexcept;
  // Forgets all; keeps the memory that a short text takes, for the next one.
  void clear() noexcept;

 private:
  static constexpr std::size_t pieceLines = 512;
  static constexpr std::size_t usualPiece = pieceLines * 32;  // characters
  struct Line {
    std::size_t end;  // in the text of its piece
    Scanned scanned;
  };
  struct Piece {
    std::string text;
    std::vector<Line> lines;
    std::size_t end() const { return lines.empty() ? 0 : lines.back().end; }
  };
  static std::string_view viewIn(const Piece& piece, std::size_t index)
  {
    const std::size_t line = index % pieceLines;
    const std::size_t first = line == 0 ? 0 : piece.lines[line - 1].end;
    return std::string_view(piece.text).substr(first, piece.lines[line].end - first);
  }

  std::vector<Piece> m_pieces;  // all but the last hold pieceLines
  std::size_t m_size = 0;
  std::size_t m_forgotten = 0;  // pieces
};

template <class Done>
void KSLLines::forEach(Done&& done) const
{
  for (const Piece& piece : m_pieces) {
    const std::string_view text = piece.text;
    std::size_t first = 0;
    for (const Line& line : piece.lines) {
      done(text.substr(first, line.end - first), text.size() - first, line.scanned);
      first = line.end;
    }
  }
}

// Knows more of the RULES than the text store does; asked when validation is on.
class ORV_API KSLValidator {
 public:
  virtual ~KSLValidator();
  // Why a parameter cannot have the value, whatever reads it; empty when it can.
  virtual std::string whyRefused(std::string_view type, const std::string& param,
                                 const std::string& value) const = 0;
  // Of an object that comes; may warn.
  virtual void checkObject(const std::string& path) const = 0;
  // What there is to choose from.
  virtual std::vector<std::string> typeNames() const = 0;
  // Who can answer for all objects of a type at once saves being asked about each: false when no value of the parameter is
  // ever refused, true when there is nothing to say of an object of the type that stands in one of the other (empty: in
  // none).
  virtual bool judgesValues(std::string_view type, const std::string& param) const;
  virtual bool mayStandIn(std::string_view type, std::string_view parentType) const;
};

class ORV_API KSLAPI {
 public:
  // One entry of an object, as its text lists it.
  class ORV_API ObjectInfo {
   public:
    ObjectInfo(std::string name, std::string kind, std::string type, std::string path, std::string value);
    const std::string& getName() const { return m_name; }
    const std::string& getKind() const { return m_kind; }  // "Param" or "Object"
    const std::string& getType() const { return m_type; }  // of an object; empty for a parameter
    const std::string& getPath() const { return m_path; }  // of a parameter: its object's path, "/", its name
    const std::string& getValue() const { return m_value; }

   private:
    std::string m_name;
    std::string m_kind;
    std::string m_type;
    std::string m_path;
    std::string m_value;
  };

  KSLAPI();
  ~KSLAPI();
  KSLAPI(const KSLAPI&) = delete;
  KSLAPI& operator=(const KSLAPI&) = delete;

  // -- definition libraries

  // Reads every "*.ksl" file, in name order, of the directories in ORV_KSL_LIBRARY_PATH (separated by ":"),
  // else of the installed directory when there is one, else nothing.
  void readLibraries();
  // Two comma-separated lists of files or directories, read in that order; an empty text is no list.
  // Both operations: what cannot be read is file::error "Cannot read KSL library '%s': %s." (class "KSLAPI",
  // function "readNamedLibraries"), an action line ksl::invalid "Action line in KSL library '%s', line %d:
  // '%s'.", an object at the top that is not RULES "Object '%s' in KSL library '%s', line %d, is no definition.",
  // a block that is left open "Not enough END statements in KSL library '%s'."; a fault of loadKSLData is told
  // with the file's name behind its text. The store is unchanged then. A byte-order mark is dropped.
  void readNamedLibraries(const std::string& rules, const std::string& others);
  // Tells of an error in a definition (its object is below /RULES) where in the libraries read last it is.
  void locateInLibraries(Diagnostic& error) const;

  // Sets the store that tells which types are singletons when this one holds no RULES. Not owned.
  void setKindsFrom(const KSLAPI* store);

  // Whether texts may touch RULES: refused, a block of them at the top is ksl::invalid, class "KSLAPI", function
  // "loadKSLData", "Object type '%s' cannot be changed by a command.", type 4. Libraries may always. Returns the
  // setting before; off at start.
  bool refuseRules(bool on);

  // -- handlers; not owned, null for none

  void registerDefaultActionHandler(KSLActionHandler* handler);
  void registerReplaceModeHandler(KSLReplaceModeHandler* handler);

  // -- reading and changing

  // Merges object blocks into the data and hands action lines to the handler, each before any later line is
  // merged. Lines are whole (continuations joined) and may carry comments. Stops, returning normally, when
  // the handler returns false. A surplus END at top level is ignored; what is open at the end is closed. May
  // be called again from the handler. Throws ksl::invalid, class "KSLAPI", function "loadKSLData", type 4:
  // "Syntax error in KSL line: '%s'." and "Object name '%s' must not contain '%s'."; what was merged before
  // stays until undo. Cost: linear in the text.
  void loadKSLData(const std::vector<std::string>& lines);
  void loadKSLData(const KSLLines& lines);
  // The same; `line` is the number of the line under way, also when this throws. Lines before it are forgotten on the way.
  void loadKSLData(KSLLines& lines, std::size_t& line);

  // Deletes an object and all below it; one that does not exist is left alone. Linear in what goes.
  void deleteObj(const std::string& path);
  // Puts an object, if there is one, behind its siblings: no change, only another order. For those who bring the
  // order in line with that of objects.
  void moveLast(const std::string& path) noexcept;
  void moveLast(const SharedText& path) noexcept;

  // -- changes

  // The changes recorded since the list was last cleared. Valid as long as the store; its content moves on.
  const KSLChangeList* getKSLChangeList() const;
  void clearKSLChangeList();
  // Empties the list and returns what it held, without copying.
  KSLChangeList takeKSLChangeList();

  // -- going back

  // Takes back every change that is not confirmed, newest first, and empties the change list. What was deleted is
  // where it was. On a store where nothing was ever confirmed this empties the store. When there is no memory for a
  // step (a parameter put back into an object of many) that is thrown, and a second call goes on from there.
  void undo();
  // Confirms everything that the store holds.
  void recordChanges();
  // A point in the sequence of changes; confirmTo confirms every change made before it.
  std::uint64_t changeMark() const;
  void confirmTo(std::uint64_t mark);
  // Where the changes begin that stand in the change list; changeMark() when it is empty.
  std::uint64_t pendingMark() const;
  // Takes back the changes that stand in the change list, and empties it.
  void undoPending();

  // -- validation; off at start

  // What somebody who understands the RULES knows of a type: its parameters, and whether it takes any other as well.
  // A type that was told before is told anew.
  void defineType(const std::string& type, std::vector<std::string> params, bool takesAnyParam);
  // Returns the setting before.
  bool enableValidation(bool on);
  // Not owned; null for none.
  void setValidator(const KSLValidator* validator);
  // Checks the objects of the given changes (of the current change list) against RULES, when validation is
  // on: throws ksl::invalid, class "KSLAPI", function "validateKSLData", "Object type '%s' is not defined."
  // or "Parameter '%s' is not defined for object type '%s'.", type 4; with a validator, too, "Parameter '%s' of object
  // '%s' cannot have value '%s'.". Changes nothing.
  void validateKSLData() const;
  void validateKSLData(const KSLChangeList& changes) const;

  // -- queries; constant time but for their results

  bool doesPathExist(const std::string& path) const;
  // Appends "/" and the component of an object to a path, as a header with this type and name makes it: a singleton is
  // its type alone, an object has its name, which is the type when the header has none.
  void appendComponent(std::string& path, std::string_view type, std::string_view name) const;
  // The whole data as lines of KSL, in text order, unindented.
  std::vector<std::string> getExpandedKSL() const;
  // The entries of the object with this path in text order; none when there is no such object.
  std::vector<ObjectInfo> getObjectInfo(const std::string& path) const;
  // The value of the parameter with this path ("/RULES/Categories"), split as a list, quotes taken off; empty
  // when there is none.
  std::vector<std::string> getStringList(const std::string& path) const;
  // The value of a parameter; null when there is none. Valid until the next change.
  const std::string* findParam(const std::string& path, const std::string& name) const;

  class Impl;  // the store's own business

 private:
  friend class KSLAPIUpdateProcessor;
  std::unique_ptr<Impl> m_impl;
};

// Applies each visited change to a store. It is tolerant: what is there already, or is missing already, is
// left as it is; missing ancestors are made; a parameter is simply set.
class ORV_API KSLAPIUpdateProcessor : public KSLChangeProcessor {
 public:
  // With `record` the changes made enter the store's change list; without, they do not. They can be taken
  // back (undo) either way.
  KSLAPIUpdateProcessor(KSLAPI* store, bool record);
  void newObject(const std::string& path) override;
  void deletedObject(const std::string& path) override;
  void newParam(const std::string& path, const std::string& name, const std::string& value) override;
  void changedParam(const std::string& path, const std::string& name, const std::string& newValue,
                    const std::string& oldValue) override;
  void deletedParam(const std::string& path, const std::string& name, const std::string& value) override;
  void visit(const KSLChange& change) override;
  // As if the list showed all its changes backward, but an object with its parameters comes and goes in one piece.
  void takeBack(const KSLChangeList& inverses);
  // The same for a list of one group.
  void takeBack(const ChangeGroup& inverse);

 private:
  KSLAPI* m_store;
  bool m_record;
};

}  // namespace orv
