#include "platform/ORVError.h"
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVProgress.h"
#include "platform/ORVUtilities.h"
#include "StoreImpl.h"
#include "StoreLoader.h"

#include <algorithm>
#include <utility>

namespace orv {

using store::Node;
using Record = KSLAPI::Impl::Record;

// ----------------------------------------------------------------------------------------------------- handlers

KSLActionHandler::~KSLActionHandler() = default;
KSLValidator::~KSLValidator() = default;

bool KSLValidator::judgesValues(std::string_view, const std::string&) const
{
  return true;
}

bool KSLValidator::mayStandIn(std::string_view, std::string_view) const
{
  return false;
}

KSLReplaceModeHandler::~KSLReplaceModeHandler() = default;

KSLAPI::ObjectInfo::ObjectInfo(std::string name, std::string kind, std::string type, std::string path,
                               std::string value)
    : m_name(std::move(name)),
      m_kind(std::move(kind)),
      m_type(std::move(type)),
      m_path(std::move(path)),
      m_value(std::move(value))
{}

KSLAPI::KSLAPI() : m_impl(std::make_unique<Impl>()) {}
KSLAPI::~KSLAPI() = default;

void KSLAPI::defineType(const std::string& type, std::vector<std::string> params, bool takesAnyParam)
{
  m_impl->rules.define(type, std::move(params), takesAnyParam);
}

void KSLAPI::setKindsFrom(const KSLAPI* store)
{
  m_impl->rules.setFallback(store ? &store->m_impl->rules : nullptr);
}

bool KSLAPI::refuseRules(bool on)
{
  m_impl->validation.reset();
  return std::exchange(m_impl->refusesRules, on);
}

void KSLAPI::registerDefaultActionHandler(KSLActionHandler* handler)
{
  m_impl->actionHandler = handler;
  m_impl->updateHandler = dynamic_cast<UpdateHandler*>(handler);
}

void KSLAPI::registerReplaceModeHandler(KSLReplaceModeHandler* handler)
{
  m_impl->replaceHandler = handler;
}

// ------------------------------------------------------------------------------------------ reading and changing

void KSLLines::reserve(std::size_t characters, std::size_t lines)
{
  m_pieces.reserve(lines / pieceLines + 1);
  if (m_pieces.empty())
    m_pieces.emplace_back();
  m_pieces.front().text.reserve(std::min(characters, usualPiece));
  m_pieces.front().lines.reserve(std::min(lines, pieceLines));
}

std::string& KSLLines::begin()
{
  if (m_pieces.empty()) {
    m_pieces.emplace_back();
  } else if (m_pieces.back().lines.size() == pieceLines) {
    Piece next;
    next.text.reserve(m_pieces.back().text.size() + m_pieces.back().text.size() / 4);
    next.lines.reserve(pieceLines);
    m_pieces.push_back(std::move(next));
  }
  return m_pieces.back().text;
}

void KSLLines::end(Scanned scanned)
{
  m_pieces.back().lines.push_back({m_pieces.back().text.size(), scanned});
  ++m_size;
}

void KSLLines::add(std::string_view line)
{
  begin() += line;
  end();
}

std::string_view KSLLines::from(std::size_t index) const
{
  const std::string_view line = (*this)[index];
  const std::string& text = m_pieces[index / pieceLines].text;
  return {line.data(), static_cast<std::size_t>(text.data() + text.size() - line.data())};
}

void KSLLines::forgetBefore(std::size_t index) noexcept
{
  for (; m_forgotten < index / pieceLines; ++m_forgotten) {
    Piece gone;  // an assigned text would keep the memory that it has
    std::swap(m_pieces[m_forgotten], gone);
  }
}

void KSLLines::clear() noexcept
{
  m_size = 0;
  m_forgotten = 0;
  if (m_pieces.size() > 1 || (!m_pieces.empty() && m_pieces.front().text.capacity() > usualPiece))
    m_pieces.clear();
  for (Piece& piece : m_pieces) {
    piece.text.clear();
    piece.lines.clear();
  }
}

std::vector<std::string> KSLLines::copy() const
{
  std::vector<std::string> lines;
  lines.reserve(size());
  for (std::size_t i = 0; i < size(); ++i)
    lines.emplace_back((*this)[i]);
  return lines;
}

namespace {

constexpr std::string_view blockEnd = "END";

// What is known of a line before it is read.
KSLLines::Scanned knownOf(const std::vector<std::string>&, std::size_t)
{
  return {};
}

KSLLines::Scanned knownOf(const KSLLines& lines, std::size_t index)
{
  return lines.scanned(index);
}

bool mayEndBlock(KSLLines::Scanned known)
{
  return known.type == KSLLines::Scanned::unknown || known.type == MiniKSLParser::endLine;
}

// As their lines stand when they were joined.
std::size_t countBlocks(const std::vector<std::string>& lines)
{
  return static_cast<std::size_t>(std::count(lines.begin(), lines.end(), blockEnd));
}

std::size_t countBlocks(const KSLLines& lines)
{
  std::size_t blocks = 0;
  lines.forEach([&blocks](std::string_view line, std::size_t, KSLLines::Scanned known) {
    blocks += mayEndBlock(known) && line == blockEnd;
  });
  return blocks;
}

MiniKSLParser::Line scanned(std::string_view line, KSLLines::Scanned known)
{
  if (known.type == KSLLines::Scanned::unknown)
    return MiniKSLParser::scan(line);
  return {static_cast<MiniKSLParser::LineType>(known.type), line, known.mark};
}

// Calls begin(i) before each line is read. False when an action failed.
template <class Lines, class Begin>
bool load(KSLAPI::Impl& store, const Lines& lines, Begin begin)
{
  store::Loader loader(store, store.actionHandler, !store.refusesRules);
  Progress progress("blocks", ProgressWatcher::get() ? countBlocks(lines) : 0);
  std::size_t blocks = 0;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    begin(i);
    const std::string_view line = lines[i];
    const KSLLines::Scanned known = knownOf(lines, i);
    if (UpdateHandler::isPutIn(known)) {
      if (!loader.readUpdate(line))
        return false;
      continue;
    }
    const MiniKSLParser::Line read = scanned(line, known);
    const bool endsBlock = read.type == MiniKSLParser::endLine && line == blockEnd;
    if (!loader.readLine(line, read))
      return false;
    if (endsBlock)
      progress.advance(++blocks);
  }
  return true;
}

}  // namespace

void KSLAPI::loadKSLData(const std::vector<std::string>& lines)
{
  load(*m_impl, lines, [](std::size_t) {});
}

void KSLAPI::loadKSLData(const KSLLines& lines)
{
  load(*m_impl, lines, [](std::size_t) {});
}

void KSLAPI::loadKSLData(KSLLines& lines, std::size_t& line)
{
  const bool whole = load(*m_impl, lines, [&](std::size_t i) {
    line = i;
    if (i % 64 == 0)  // it goes in pieces of more
      lines.forgetBefore(i);
  });
  if (whole)
    line = lines.size();
}

void KSLAPI::deleteObj(const std::string& path)
{
  const std::string simple = StringUtilities::simplifyPath(path);
  Node* node = simple == "/" ? nullptr : m_impl->tree.find(std::string_view(simple));
  if (node && node != m_impl->tree.root())
    m_impl->removeNode(node, Record::yes);
}

void KSLAPI::moveLast(const std::string& path) noexcept
{
  Node* node = m_impl->tree.find(std::string_view(path));
  if (node && node != m_impl->tree.root())
    m_impl->tree.moveLast(node);
}

void KSLAPI::moveLast(const SharedText& path) noexcept
{
  Node* node = m_impl->tree.find(path);
  if (node && node != m_impl->tree.root())
    m_impl->tree.moveLast(node);
}

// ------------------------------------------------------------------------------------------------------ changes

const KSLChangeList* KSLAPI::getKSLChangeList() const
{
  return &m_impl->changes;
}

void KSLAPI::clearKSLChangeList()
{
  m_impl->changes.clear();
}

KSLChangeList KSLAPI::takeKSLChangeList()
{
  KSLChangeList taken(m_impl->changesName, nullptr);
  taken.swapChanges(m_impl->changes);
  return taken;
}

void KSLAPI::undo()
{
  m_impl->undoTo(0);
  m_impl->changes.clear();
}

void KSLAPI::recordChanges()
{
  m_impl->confirmTo(m_impl->mark());
}

std::uint64_t KSLAPI::changeMark() const
{
  return m_impl->mark();
}

void KSLAPI::confirmTo(std::uint64_t mark)
{
  m_impl->confirmTo(mark);
}

std::uint64_t KSLAPI::pendingMark() const
{
  return m_impl->pendingMark();
}

void KSLAPI::undoPending()
{
  m_impl->undoTo(m_impl->pendingMark());
  m_impl->changes.clear();
}

// --------------------------------------------------------------------------------------------------- validation

bool KSLAPI::enableValidation(bool on)
{
  return std::exchange(m_impl->validating, on);
}

void KSLAPI::setValidator(const KSLValidator* validator)
{
  m_impl->validator = validator;
  m_impl->rules.changed();
}

void KSLAPI::validateKSLData() const
{
  validateKSLData(m_impl->changes);
}

void KSLAPI::validateKSLData(const KSLChangeList& changes) const
{
  if (m_impl->validating)
    m_impl->validate(changes);
}

// ------------------------------------------------------------------------------------------------------ queries

namespace {

// A node's entries in text order.
class Entries {
 public:
  explicit Entries(const Node* node) : m_node(node), m_child(node->firstChild) {}
  // The next entry: a parameter has name and value, an object a node; all are null at the end.
  struct Entry {
    const SharedText* name = nullptr;
    const SharedText* value = nullptr;
    const Node* child = nullptr;
  };
  Entry next()
  {
    const store::ParamRun& params = m_node->params;
    while (m_param < params.size() && params.name(m_param).empty())
      ++m_param;
    const std::size_t param = m_param;
    if (param < params.size() && (!m_child || params.place(param) < m_child->place)) {
      ++m_param;
      return {.name = &params.name(param), .value = &params.value(param)};
    }
    const Node* const child = m_child;
    m_child = child ? child->next : nullptr;
    return {.child = child};
  }

 private:
  const Node* m_node;
  const Node* m_child;
  std::size_t m_param = 0;
};

std::string headerOf(const Node* node)
{
  const std::string_view component = store::lastComponent(node->path);
  const std::string_view type = store::typeOf(component);
  std::string header(type);
  header += ':';
  if (type.size() < component.size())
    header.append(" ").append(StringUtilities::writtenName(store::nameOf(component)));
  return header;
}

}  // namespace

bool KSLAPI::doesPathExist(const std::string& path) const
{
  const std::string simple = StringUtilities::simplifyPath(path);
  return simple == "/" || m_impl->tree.find(std::string_view(simple)) != nullptr;
}

void KSLAPI::appendComponent(std::string& path, std::string_view type, std::string_view name) const
{
  path += '/';
  m_impl->rules.appendComponent(path, type, name);
}

std::vector<std::string> KSLAPI::getExpandedKSL() const
{
  std::vector<std::string> lines;
  std::vector<Entries> open{Entries(m_impl->tree.root())};
  while (true) {
    const Entries::Entry entry = open.back().next();
    if (entry.name) {
      lines.push_back(StringUtilities::writtenName(entry.name->str()) + " = " + entry.value->str());
    } else if (entry.child) {
      lines.push_back(headerOf(entry.child));
      open.emplace_back(entry.child);
    } else {
      open.pop_back();
      if (open.empty())
        return lines;
      lines.emplace_back("END");
    }
  }
}

std::vector<KSLAPI::ObjectInfo> KSLAPI::getObjectInfo(const std::string& path) const
{
  std::vector<ObjectInfo> infos;
  const std::string simple = StringUtilities::simplifyPath(path);
  const Node* node = simple == "/" ? m_impl->tree.root() : m_impl->tree.find(std::string_view(simple));
  if (!node)
    return infos;
  Entries entries(node);
  for (Entries::Entry entry = entries.next(); entry.name || entry.child; entry = entries.next()) {
    if (entry.name) {
      const std::string& name = entry.name->str();
      infos.emplace_back(name, "Param", "", node->path.copy() + "/" + name, entry.value->str());
      continue;
    }
    const std::string_view component = store::lastComponent(entry.child->path);
    infos.emplace_back(std::string(store::nameOf(component)), "Object", std::string(store::typeOf(component)),
                       entry.child->path.copy(), "");
  }
  return infos;
}

std::vector<std::string> KSLAPI::getStringList(const std::string& path) const
{
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos)
    return {};
  const std::string* value = findParam(path.substr(0, slash), path.substr(slash + 1));
  if (!value)
    return {};
  std::vector<std::string> items = StringUtilities::splitValue(*value);
  for (std::string& item : items)
    item = std::string(StringUtilities::unquoted(item));
  return items;
}

const std::string* KSLAPI::findParam(const std::string& path, const std::string& name) const
{
  Node* node = m_impl->tree.find(std::string_view(path));
  const SharedText interned = m_impl->tree.findInterned(name);
  if (!node || interned.empty())
    return nullptr;
  const std::size_t param = m_impl->tree.findParam(node, interned);
  return param == store::Tree::none ? nullptr : &node->params.value(param).str();
}

// ------------------------------------------------------------------------------------------------------ replay

KSLAPIUpdateProcessor::KSLAPIUpdateProcessor(KSLAPI* store, bool record) : m_store(store), m_record(record) {}

void KSLAPIUpdateProcessor::visit(const KSLChange& change)
{
  m_store->m_impl->apply(change, m_record ? Record::yes : Record::no);
}

void KSLAPIUpdateProcessor::takeBack(const KSLChangeList& inverses)
{
  ChangeGroups::Cursor cursor(inverses);
  for (std::size_t left = inverses.size(); left > 0; left = cursor.first()) {
    const ChangeGroup group = *cursor.find(left - 1);
    takeBack(group);
  }
}

void KSLAPIUpdateProcessor::takeBack(const ChangeGroup& inverse)
{
  const Record record = m_record ? Record::yes : Record::no;
  if (inverse.changed())
    m_store->m_impl->apply(inverse, record);
  else
    m_store->m_impl->apply(inverse.reversed(), record);
}

void KSLAPIUpdateProcessor::newObject(const std::string& path)
{
  visit(KSLChange::createObject(SharedText(path)));
}

void KSLAPIUpdateProcessor::deletedObject(const std::string& path)
{
  visit(KSLChange::deleteObject(SharedText(path)));
}

void KSLAPIUpdateProcessor::newParam(const std::string& path, const std::string& name,
                                     const std::string& value)
{
  visit(KSLChange::createParam(SharedText(path), SharedText(name), SharedText(value)));
}

void KSLAPIUpdateProcessor::changedParam(const std::string& path, const std::string& name,
                                         const std::string& newValue, const std::string& oldValue)
{
  visit(
      KSLChange::changeParam(SharedText(path), SharedText(name), SharedText(newValue), SharedText(oldValue)));
}

void KSLAPIUpdateProcessor::deletedParam(const std::string& path, const std::string& name,
                                         const std::string& value)
{
  visit(KSLChange::deleteParam(SharedText(path), SharedText(name), SharedText(value)));
}

}  // namespace orv
