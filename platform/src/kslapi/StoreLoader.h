// Reads lines of KSL into a store.
//
//   line      = [ statement ] [ "#" comment ]
//   statement = action | header | "END" | parameter
//   action    = ">" text
//   header    = [ "&replace" ] type ":" [ name ]        a ":" and no "="
//   parameter = name "=" [ value ]                      split at the first "="
//
// For example:
//   CUT: Mid span            # makes /CUT:Mid span, or goes on with it
//     Offset = 2 [mm]
//     LABEL: a               # nested: /CUT:Mid span/LABEL:a
//     END
//   END
//   > delete /CUT:Mid span
//
// Anyone who is called meanwhile (an action, a handler, a watcher) may delete or replace what is open here: the open
// blocks are found again by path when nodes have gone, and the rest of a block makes its object anew.
#pragma once

#include "platform/ORVKSLParseUtilities.h"
#include "platform/internal/UpdateHandler.h"
#include "StoreImpl.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace orv::store {

class Loader {
 public:
  // Without `mayDefine` RULES are refused.
  Loader(KSLAPI::Impl& store, KSLActionHandler* handler, bool mayDefine)
      : m_store(store),
        m_handler(handler),
        m_updates(handler ? store.updateHandler : nullptr),
        m_mayDefine(mayDefine),
        m_removals(store.tree.removals()),
        m_open(std::exchange(store.spareBlocks, {}))
  {}
  ~Loader()
  {
    m_open.blocks.clear();
    if (m_open.blocks.capacity() <= usualDepth && m_open.path.capacity() <= usualPath)
      m_store.spareBlocks = std::move(m_open);
  }
  Loader(const Loader&) = delete;
  Loader& operator=(const Loader&) = delete;

  // False when an action failed: the rest is not to be read. `scanned` is what the line is.
  bool readLine(std::string_view line, const MiniKSLParser::Line& scanned);
  bool readLine(std::string_view line) { return readLine(line, MiniKSLParser::scan(line)); }
  // An update that was put in; its line may still be asked for by the action handler.
  bool readUpdate(std::string_view line);
  // Blocks still open.
  std::size_t depth() const { return m_open.blocks.size(); }
  // The object of the outermost one. REQUIRES: depth() > 0.
  const std::string& topPath() const { return m_open.blocks.front().path.str(); }

 private:
  using Block = OpenBlocks::Block;
  static constexpr std::size_t usualDepth = 64;
  static constexpr std::size_t usualPath = 4096;

  void readHeader(std::string_view line, std::string_view statement);
  void readParam(std::string_view line, std::string_view statement, std::size_t equals);
  void endBlock();
  bool runAction(std::string_view statement);
  Node* openNode();
  void forgetNodes();
  void openBlock(std::string_view type, std::string_view name, bool replace);

  KSLAPI::Impl& m_store;
  KSLActionHandler* m_handler;
  UpdateHandler* m_updates;  // the same one, when it is both; else null
  bool m_mayDefine;
  std::size_t m_removals;
  OpenBlocks m_open;  // their nodes are good while m_removals is the tree's
  Values m_values;
};

}  // namespace orv::store
