#include "Model.h"

#include "database/KSLObject.h"
#include "database/ObjectDB.h"
#include "command/KSLInterface.h"

#include <algorithm>
#include <utility>

namespace orv {

namespace {

std::string trimmed(const std::string& text)
{
  const std::size_t first = text.find_first_not_of(' ');
  return first == std::string::npos ? std::string()
                                    : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string typeOf(const std::string& component)
{
  return component.substr(0, component.find(':'));
}

std::string nameOf(const std::string& component)
{
  return component.substr(component.find(':') + 1);  // all of a singleton
}

std::string lastOf(const std::string& path)
{
  return path.substr(path.rfind('/') + 1);
}

std::string parentOf(const std::string& path)
{
  return path.substr(0, path.rfind('/'));
}

bool isBelow(const std::string& path, const std::string& top)
{
  return path.compare(0, top.size() + 1, top + "/") == 0;
}

// What the RULES of the test system say about the types that commands use.
struct TypeRules {
  bool singleton;
  std::set<std::string> params;
};

const std::map<std::string, TypeRules>& types()
{
  static const std::map<std::string, TypeRules> table{{"A", {false, {"x", "y", "z"}}},
                                                      {"B", {false, {"x", "y", "z"}}},
                                                      {"MARK", {false, {"Colour", "Text"}}},
                                                      {"VIEW", {true, {"Zoom", "Text"}}}};
  return table;
}

bool canCreate(const std::string& component)
{
  const auto found = types().find(typeOf(component));
  return found != types().end() && found->second.singleton == (component.find(':') == std::string::npos);
}

bool canSet(const std::string& component, const std::string& name, const std::string& value)
{
  static const std::set<std::string> colours{"red", "green", "blue"};
  const auto found = types().find(typeOf(component));
  return found != types().end() && found->second.params.count(name) > 0
         && (name != "Colour" || colours.count(value) > 0);
}

std::string componentOf(const std::string& type, const std::string& name)
{
  const auto found = types().find(type);
  const bool bare = name.empty() || name == type;
  if (bare && (found == types().end() || found->second.singleton))
    return type;
  return type + ":" + (name.empty() ? type : name);
}

}  // namespace

// --------------------------------------------------------------------------------------------------------------- tree

const ModelNode* ModelNode::find(const std::string& path) const
{
  const ModelNode* node = this;
  for (std::size_t at = 0; node && at < path.size();) {
    const std::size_t end = std::min(path.find('/', at + 1), path.size());
    const std::string step = path.substr(at + 1, end - at - 1);
    at = end;
    const auto group = node->children.find(typeOf(step));
    if (group == node->children.end())
      return nullptr;
    const auto child = std::find_if(group->second.begin(), group->second.end(),
                                    [&step](const ModelNode& each) { return each.component == step; });
    node = child == group->second.end() ? nullptr : &*child;
  }
  return node;
}

ModelNode* ModelNode::find(const std::string& path)
{
  return const_cast<ModelNode*>(std::as_const(*this).find(path));
}

ModelNode ModelNode::sorted() const
{
  ModelNode copy{component, params, {}};
  for (const auto& [type, group] : children) {
    std::vector<ModelNode>& target = copy.children[type];
    for (const ModelNode& child : group)
      target.push_back(child.sorted());
    std::sort(target.begin(), target.end(),
              [](const ModelNode& a, const ModelNode& b) { return a.component < b.component; });
  }
  return copy;
}

std::string ModelNode::toText(const std::string& indent) const
{
  std::string text = component.empty() ? "" : indent + component + "\n";
  for (const auto& [name, value] : params)
    text.append(indent).append("  ").append(name).append(" = ").append(value).append("\n");
  for (const auto& entry : children) {
    for (const ModelNode& child : entry.second)
      text += child.toText(component.empty() ? indent : indent + "  ");
  }
  return text;
}

namespace {

// Trees of tests are a few levels deep: recursion is fine here.
ModelNode readStore(const std::string& path)
{
  ModelNode node;
  node.component = lastOf(path);
  for (const KSLAPI::ObjectInfo& info : KSLInterface::instance()->getKSLAPI()->getObjectInfo(path)) {
    if (info.getPath() == "/RULES")
      continue;
    if (info.getKind() == "Param")
      node.params[info.getName()] = info.getValue();
    else
      node.children[info.getType()].push_back(readStore(info.getPath()));
  }
  return node;
}

ModelNode readDatabase(const KSLObject* object)
{
  ModelNode node;
  node.component = lastOf(object->getPath());
  object->forEachChild(
      [&node](KSLObject* child) { node.children[child->getType()].push_back(readDatabase(child)); });
  if (object->getPath().empty())
    return node;
  object->forEachParam([&node](const ParamDefinition& param) {
    if (param.hasBeenSet())
      node.params[param.getName()] = param.getValue();
  });
  return node;
}

}  // namespace

ModelNode readStore()
{
  return readStore(std::string());
}

ModelNode readDatabase()
{
  return readDatabase(ObjectDB::instance()->getRoot());
}

// ------------------------------------------------------------------------------------------------------------- changes

Model::Change Model::Change::inverse() const
{
  switch (kind) {
    case Kind::createObject:
      return {Kind::deleteObject, path, {}, {}, {}};
    case Kind::deleteObject:
      return {Kind::createObject, path, {}, {}, {}};
    case Kind::createParam:
      return {Kind::deleteParam, path, name, value, {}};
    case Kind::deleteParam:
      return {Kind::createParam, path, name, value, {}};
    case Kind::changeParam:
      return {Kind::changeParam, path, name, oldValue, value};
  }
  return *this;
}

void Model::record(const Change& inverse)
{
  Stack& stack = m_mode == Mode::undo ? m_redo : m_undo;
  bool& open = m_mode == Mode::undo ? m_redoOpen : m_undoOpen;
  if (!std::exchange(open, true))
    stack.push_back(std::make_shared<Step>(Step{++m_lastId, {}, m_root}));
  stack.back()->changes.push_back(inverse);
}

void Model::make(const Change& change)
{
  m_normalChanges = m_normalChanges || m_mode == Mode::normal;
  // A redo first takes such a change back; whatever else comes before meets a tree that it does not know.
  if (!m_replaying && (m_mode == Mode::undo || (m_mode == Mode::redo && !m_redo.empty())))
    m_mixed = true;
  m_pending = true;
  followCreation(change);
  record(change.inverse());
  apply(change);
}

// Objects are created when one of those that wait is given a parameter, or at the update: one that is deleted again
// before that is never created, even if it never could be.
void Model::followCreation(const Change& change)
{
  const std::string& path = change.path;
  switch (change.kind) {
    case Kind::createObject:
      m_waiting.push_back(path);
      return;
    case Kind::deleteObject:
      std::erase_if(m_waiting,
                    [&path](const std::string& each) { return each == path || isBelow(each, path); });
      return;
    case Kind::createParam:
    case Kind::changeParam:
      if (std::find(m_waiting.begin(), m_waiting.end(), path) != m_waiting.end())
        createWaiting();
      return;
    case Kind::deleteParam:
      return;
  }
}

void Model::createWaiting()
{
  const auto creatable = [](const std::string& path) { return canCreate(lastOf(path)); };
  if (!m_replaying
      && !std::all_of(m_waiting.begin(), m_waiting.end(), creatable))  // a replay restores what was there
    m_bad = true;
  m_waiting.clear();
}

// What a replayed change comes to when the tree is not the one that it was made for: what is there already, or is
// missing already, is left alone, and what is done beyond the change belongs to the step that takes it back.
void Model::makeTolerantly(const Change& change)
{
  const ModelNode* node = m_root.find(change.path);
  switch (change.kind) {
    case Kind::createObject:
      return makeObject(change.path);
    case Kind::deleteObject:
      return node ? removeSubtree(change.path) : void();
    case Kind::deleteParam:
      if (node && node->params.count(change.name) > 0)
        make({Kind::deleteParam, change.path, change.name, node->params.at(change.name), {}});
      return;
    case Kind::createParam:
    case Kind::changeParam:
      makeObject(change.path);
      return setParam(change.path, change.name, change.value);
  }
}

void Model::makeObject(const std::string& path)
{
  std::vector<std::string> missing;
  for (std::string at = path; !m_root.find(at); at = parentOf(at))
    missing.push_back(at);
  for (std::size_t i = missing.size(); i-- > 0;) {
    make({Kind::createObject, missing[i], {}, {}, {}});
  }
}

void Model::setParam(const std::string& path, const std::string& name, const std::string& value)
{
  const ModelNode* node = m_root.find(path);
  const auto present = node->params.find(name);
  if (present != node->params.end() && present->second == value)
    return;
  m_bad = m_bad || !canSet(node->component, name, value);
  if (present == node->params.end())
    make({Kind::createParam, path, name, value, {}});
  else
    make({Kind::changeParam, path, name, value, present->second});
}

// The object first, then what it holds, last things first: so that the way back restores the first things first.
void Model::removeSubtree(const std::string& top)
{
  m_orderTouched = true;
  std::vector<std::pair<std::string, ModelNode>> waiting{{top, *m_root.find(top)}};
  while (!waiting.empty()) {
    const auto [path, node] = waiting.back();
    waiting.pop_back();
    make({Kind::deleteObject, path, {}, {}, {}});
    for (const auto& [name, value] : node.params)
      make({Kind::deleteParam, path, name, value, {}});
    for (const auto& entry : node.children) {
      for (const ModelNode& child : entry.second)
        waiting.emplace_back(path + "/" + child.component, child);
    }
  }
}

// Applies a change of which all that it presupposes is there, or has just gone with its parent.
void Model::apply(const Change& change)
{
  ModelNode* node = m_root.find(change.path);
  const std::string component = lastOf(change.path);
  ModelNode* parent = m_root.find(parentOf(change.path));
  switch (change.kind) {
    case Kind::createObject:
      parent->children[typeOf(component)].push_back({component, {}, {}});
      return;
    case Kind::deleteObject:
      if (node) {
        std::vector<ModelNode>& group = parent->children[typeOf(component)];
        std::erase_if(group, [&component](const ModelNode& each) { return each.component == component; });
        if (group.empty())
          parent->children.erase(typeOf(component));
      }
      return;
    case Kind::createParam:
    case Kind::changeParam:
      node->params[change.name] = change.value;
      return;
    case Kind::deleteParam:
      if (node)
        node->params.erase(change.name);
      return;
  }
}

// ------------------------------------------------------------------------------------------------------------ commands

template <class Work>
Model::Outcome Model::command(Fault fault, Work work)
{
  const ModelNode before = m_root;
  const std::uint64_t newest = m_lastId;
  const std::uint64_t undoTop = m_undo.empty() ? 0 : m_undo.back()->id;
  const std::size_t stepsBefore = m_undo.size() + m_redo.size();
  const std::size_t redoBefore = m_redo.size();
  m_fault = fault;
  m_mode = Mode::normal;
  m_undoOpen = m_redoOpen = m_normalChanges = m_orderTouched = m_pending = m_bad = false;
  m_warnings = 0;
  m_waiting.clear();
  const bool mixedBefore = m_mixed;
  try {
    work();
    commit(undoTop, redoBefore);
    return {false, m_warnings};
  } catch (const Failed&) {
    // Nothing has happened, except that the steps which the command took from the stacks are gone.
    m_root = before;
    for (Stack* stack : {&m_undo, &m_redo})
      std::erase_if(*stack, [newest](const auto& step) { return step->id > newest; });
    m_mixed = mixedBefore;
    m_replaying = false;
    m_lost = m_lost || m_undo.size() + m_redo.size() < stepsBefore;
    return {true, m_warnings};
  }
}

void Model::commit(std::uint64_t undoTop, std::size_t redoBefore)
{
  const std::uint64_t undoTopNow = m_undo.empty() ? 0 : m_undo.back()->id;
  if (m_mode == Mode::normal && undoTopNow != undoTop)
    m_redo.clear();
  else if (m_normalChanges && redoBefore > 0)
    m_mixed = true;
}

Model::Outcome Model::run(const Lines& lines, kslUpdateMode mode, const std::vector<Lines>& nested,
                          Fault fault)
{
  return command(fault, [&] {
    m_nested = nested;
    m_updateMode = mode;
    parse(lines, mode);
    notify(16);
  });
}

Model::Outcome Model::history(Mode mode, Fault fault)
{
  return command(fault, [&] { replay(mode); });
}

void Model::replay(Mode mode)
{
  m_mode = mode;
  Stack& source = mode == Mode::undo ? m_undo : m_redo;
  if (source.empty()) {
    ++m_warnings;
    return;
  }
  if (mode == Mode::redo && m_normalChanges && !m_redoOpen)
    m_mixed = true;
  const std::shared_ptr<Step> step = source.back();
  source.pop_back();
  (mode == Mode::undo ? m_undoOpen : m_redoOpen) = false;
  m_orderTouched = true;
  m_replaying = true;
  for (std::size_t i = step->changes.size(); i-- > 0;)
    makeTolerantly(step->changes[i]);
  update();
  m_replaying = false;
  if (!entangled() && m_root.sorted() != step->before.sorted())
    m_contradiction = "A step leads to\n" + m_root.toText() + "instead of\n" + step->before.toText();
}

void Model::notify(int type)
{
  if (type == m_fault.type && m_fault.at > 0 && --m_fault.at == 0)
    throw Failed();
}

void Model::update()
{
  if (!std::exchange(m_pending, false))
    return;
  createWaiting();
  if (m_bad)
    throw Failed();
  notify(4);
}

// --------------------------------------------------------------------------------------------------------------- texts

void Model::parse(const Lines& lines, kslUpdateMode mode)
{
  const auto isEnd = [](const std::string& line) { return trimmed(line) == "END"; };
  const auto isHeader = [](const std::string& line) {
    return trimmed(line).front() != '>' && line.find(':') != std::string::npos
           && line.find('=') == std::string::npos;
  };
  if (mode == kslUpdateDefault
      && std::count_if(lines.begin(), lines.end(), isEnd)
             != std::count_if(lines.begin(), lines.end(), isHeader))
    throw Failed();
  std::vector<std::string> open;
  int depth = 0;
  for (const std::string& line : lines) {
    readLine(trimmed(line), open);
    depth += isHeader(line) ? 1 : 0;
    if (isEnd(line) && depth-- == 1 && mode == kslUpdateDefault)
      update();
  }
  if (!lines.empty())
    update();
}

void Model::readLine(const std::string& line, std::vector<std::string>& open)
{
  if (line.front() == '>') {
    update();
    act(line);
    update();
  } else if (line == "END") {
    if (!open.empty())
      open.pop_back();
  } else if (line.find('=') != std::string::npos && line.find('=') < line.find(':')) {
    readParam(line, open);
  } else if (line.find(':') != std::string::npos && line.find('=') == std::string::npos) {
    readHeader(line, open);
  } else {
    throw Failed();
  }
}

void Model::readHeader(std::string line, std::vector<std::string>& open)
{
  const std::string replaceWord = "&replace ";
  const bool replace = line.compare(0, replaceWord.size(), replaceWord) == 0;
  if (replace)
    line.erase(0, replaceWord.size());
  const std::string name = trimmed(nameOf(line));
  if (name.find_first_of("/,") != std::string::npos)
    throw Failed();
  const std::string parent = open.empty() ? std::string() : open.back();
  const std::string path = parent + "/" + componentOf(trimmed(typeOf(line)), name);
  if (replace && m_root.find(path))
    removeSubtree(path);
  makeObject(path);  // and what is open, if an action has deleted it
  open.push_back(path);
}

void Model::readParam(const std::string& line, const std::vector<std::string>& open)
{
  if (open.empty())
    throw Failed();
  makeObject(open.back());
  setParam(open.back(), trimmed(line.substr(0, line.find('='))), trimmed(line.substr(line.find('=') + 1)));
}

void Model::act(const std::string& line)
{
  std::vector<std::string> words;
  const std::string text = trimmed(line.substr(1));
  const std::size_t space = std::min(text.find(' '), text.size());
  words.push_back(text.substr(0, space));
  for (std::size_t at = space; at < text.size();) {
    const std::size_t comma = std::min(text.find(',', at + 1), text.size());
    words.push_back(trimmed(text.substr(at + 1, comma - at - 1)));
    at = comma;
  }
  if (words[0] == "undo" || words[0] == "redo")
    return replay(words[0] == "undo" ? Mode::undo : Mode::redo);
  if (words[0] == "delete") {
    for (const std::string& path : pathsToDelete(words))
      removeSubtree(path);
    return update();
  }
  if (words[0] != "nest" && words[0] != "nestthrow")
    throw Failed();
  parse(m_nested.at(std::stoul(words[1])), m_updateMode);
  if (words[0] == "nestthrow")
    throw Failed();
}

// Arguments are paths, or names of top-level objects; what lies below another argument goes with it.
std::vector<std::string> Model::pathsToDelete(const std::vector<std::string>& words) const
{
  std::vector<std::string> found;
  for (std::size_t i = 1; i < words.size(); ++i) {
    if (words[i].front() == '/') {
      if (m_root.find(words[i]))
        found.push_back(words[i]);
      continue;
    }
    std::size_t matches = 0;
    for (const auto& entry : m_root.children) {
      for (const ModelNode& child : entry.second) {
        if (nameOf(child.component) == words[i] && ++matches == 1)
          found.push_back("/" + child.component);
      }
    }
    if (matches > 1)
      throw Failed();
  }
  std::vector<std::string> paths;
  for (const std::string& path : found) {
    const bool covered = std::any_of(found.begin(), found.end(),
                                     [&path](const std::string& other) { return isBelow(path, other); });
    if (!covered && std::find(paths.begin(), paths.end(), path) == paths.end())
      paths.push_back(path);
  }
  return paths;
}

}  // namespace orv
