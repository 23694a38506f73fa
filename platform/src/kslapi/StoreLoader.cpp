#include "StoreLoader.h"

#include "platform/ORVError.h"
#include "platform/src/parse/lexical.h"

namespace orv::store {

namespace {

using StringUtilities::trimmed;

constexpr std::string_view rulesType = "RULES";

[[noreturn]] void syntaxError(std::string_view line)
{
  throw ksl::invalid("KSLAPI", "loadKSLData", _("Syntax error in KSL line: '%s'.", line));
}

void checkName(std::string_view name, bool inRules)
{
  if (const char character = lexical::forbiddenCharacter(name, inRules))
    throw ksl::invalid("KSLAPI", "loadKSLData",
                       _("Object name '%s' must not contain '%s'.", name, std::string_view(&character, 1)));
}

}  // namespace

bool Loader::readLine(std::string_view line, const MiniKSLParser::Line& scanned)
{
  switch (scanned.type) {
    case MiniKSLParser::emptyLine:
      return true;
    case MiniKSLParser::actionLine:
      return runAction(scanned.text);
    case MiniKSLParser::objectLine:
      readHeader(line, scanned.text);
      return true;
    case MiniKSLParser::parameterLine:
      readParam(line, scanned.text, scanned.mark);
      return true;
    case MiniKSLParser::endLine:
      endBlock();
      return true;
    case MiniKSLParser::otherLineType:
      break;
  }
  syntaxError(line);
}

bool Loader::readUpdate(std::string_view line)
{
  return m_updates ? m_updates->handleUpdate() : runAction(line);
}

void Loader::readHeader(std::string_view line, std::string_view statement)
{
  const lexical::Header header = lexical::readHeader(statement);
  if (header.type.empty())
    syntaxError(line);
  if (m_open.blocks.empty() && !m_mayDefine && header.type == rulesType)
    throw ksl::invalid("KSLAPI", "loadKSLData",
                       _("Object type '%s' cannot be changed by a command.", header.type));
  const bool inRules = !m_open.blocks.empty() && isRulesPath(m_open.blocks.front().path);
  checkName(header.type, inRules);
  checkName(header.name, inRules);
  openBlock(header.type, header.name, header.replace);
}

void Loader::openBlock(std::string_view type, std::string_view name, bool replace)
{
  Node* parent = openNode();
  const SharedText& above = parent->path;
  m_open.path.clear();
  if (!above.isLong())
    m_open.path = above.str();
  const std::size_t start = m_open.path.size();
  m_open.path += '/';
  m_store.rules.appendComponent(m_open.path, type, name);
  const std::string_view component = std::string_view(m_open.path).substr(start);
  const bool isLong = above.isLong() || m_open.path.size() > SharedText::longestWhole;
  const std::uint32_t hash = isLong ? 0 : SharedText::hashOf(m_open.path);
  Node* node = isLong ? m_store.tree.findBelow(parent, component) : m_store.tree.find(m_open.path, hash);
  if (node && replace) {
    m_store.removeNode(node, KSLAPI::Impl::Record::yes);
    node = nullptr;
  }
  if (!node)
    node = m_store.makeNode(parent, isLong ? above.below(component) : SharedText(m_open.path, hash),
                            KSLAPI::Impl::Record::yes);
  m_open.blocks.push_back({node->path, m_removals == m_store.tree.removals() ? node : nullptr});
  if (replace && m_store.replaceHandler)
    m_store.replaceHandler->objectReplaced(WholePath(m_open.blocks.back().path).str());
}

void Loader::readParam(std::string_view line, std::string_view statement, std::size_t equals)
{
  const auto [name, value] = lexical::readParameter(statement, equals);
  if (name.empty() || m_open.blocks.empty())
    syntaxError(line);
  Node* const node = openNode();
  m_store.setParam(node, m_store.tree.internNext(node, name), value, m_values, KSLAPI::Impl::Record::yes);
}

void Loader::endBlock()
{
  if (!m_open.blocks.empty())  // a surplus END is the line counter's to judge
    m_open.blocks.pop_back();
}

bool Loader::runAction(std::string_view statement)
{
  if (!m_handler)
    return true;
  return m_handler->handleAction(std::string(trimmed(statement.substr(1))), {});
}

void Loader::forgetNodes()
{
  m_removals = m_store.tree.removals();
  for (Block& block : m_open.blocks)
    block.node = nullptr;
}

Node* Loader::openNode()
{
  if (m_open.blocks.empty())
    return m_store.tree.root();
  if (m_removals != m_store.tree.removals())
    forgetNodes();
  Block& block = m_open.blocks.back();
  if (!block.node)
    block.node = m_store.ensureNode(block.path, KSLAPI::Impl::Record::yes);
  return block.node;
}

}  // namespace orv::store
