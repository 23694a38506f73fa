#include "LspCompletion.h"

#include "platform/ORVUtilities.h"
#include "database/ObjectFactory.h"
#include "Completer.h"
#include "LspHover.h"
#include "TypeText.h"
#include "session/TypeCatalogue.h"

#include <algorithm>
#include <set>

using orv::NameInText;
using orv::SyntaxTree;
using orv::StringUtilities::trimmed;
using Index = SyntaxTree::Index;
using Kind = SyntaxTree::Kind;

namespace {

// Those that the texts define.
class ObjectsOfTexts : public NamedObjects {
 public:
  explicit ObjectsOfTexts(const std::vector<NameInText>& names)
  {
    for (const NameInText& name : names)
      if (name.isDefinition)
        (name.isExpression ? m_expressions : m_paths).insert(name.name);
  }

  std::vector<std::string> matching(std::string_view typed, const std::string& schedulerType) const override
  {
    const bool isPath = !typed.empty() && typed.front() == '/';
    const std::string parent(isPath ? typed.substr(0, typed.rfind('/')) : std::string_view());
    std::vector<std::string> names;
    forEachIn(parent, [&](const std::string& path, std::string_view type, std::string_view name) {
      if (schedulerType.empty() || calculates(std::string(type), schedulerType))
        names.push_back(isPath ? path : std::string(name));
    });
    return names;
  }

  std::vector<std::string> namesIn(const std::vector<CommandInput::Block>& blocks,
                                   const std::string& type) const override
  {
    std::string parent;
    for (const CommandInput::Block& block : blocks)
      parent += "/" + block.type + (block.name.empty() || block.name == block.type ? "" : ":" + block.name);
    std::vector<std::string> names;
    forEachIn(parent, [&](const std::string&, std::string_view of, std::string_view name) {
      if (of == type && name != type)
        names.emplace_back(name);
    });
    return names;
  }

  std::vector<std::string> expressions() const override
  {
    return {m_expressions.begin(), m_expressions.end()};
  }

 private:
  template <class Take>
  void forEachIn(const std::string& parent, Take take) const
  {
    const std::string start = parent + "/";
    for (auto path = m_paths.lower_bound(start); path != m_paths.end() && path->starts_with(start); ++path) {
      const std::string_view component = std::string_view(*path).substr(start.size());
      if (component.find('/') != std::string_view::npos)
        continue;
      const std::size_t colon = component.find(':');
      take(*path, component.substr(0, colon),
           component.substr(colon == std::string_view::npos ? 0 : colon + 1));
    }
  }

  static bool calculates(const std::string& type, const std::string& schedulerType)
  {
    const std::vector<std::string> all = orv::TypeCatalogue::listOf(type, "Scheduler");
    return std::find(all.begin(), all.end(), schedulerType) != all.end();
  }

  std::set<std::string> m_paths;
  std::set<std::string> m_expressions;
};

// The header of the block that the byte stands in; none at top level.
Index blockAt(const SyntaxTree& tree, Index node, std::size_t offset)
{
  const bool isBehind = offset == tree.text().size() && !tree.text().empty() && tree.text().back() == '\n';
  if (!isBehind)
    return tree[node].parent;
  if (tree[node].kind == Kind::header)
    return node;
  const Index parent = tree[node].parent;
  return tree[node].kind == Kind::end && parent != SyntaxTree::none ? tree[parent].parent : parent;
}

// Begins the blocks around the byte, with what the innermost says besides.
void enterBlocks(const SyntaxTree& tree, Index block, Index except, CommandInput& input)
{
  std::vector<Index> headers;
  for (Index header = block; header != SyntaxTree::none; header = tree[header].parent)
    headers.push_back(header);
  std::string room;
  for (auto header = headers.rbegin(); header != headers.rend(); ++header)
    input.add(std::string(tree.read(*header, room).text));
  if (block == SyntaxTree::none)
    return;
  for (Index i = tree.firstChild(block); i != SyntaxTree::none; i = tree.next(i))
    if (i != except && tree[i].kind == Kind::parameter)
      input.add(std::string(tree.read(i, room).text));
}

// The protocol's numbers for what is offered.
enum class Item {
  function = 3,
  field = 5,
  type = 7,
  property = 10,
  value = 12,
  keyword = 14,
  reference = 18
};

class List {
 public:
  List(const LspText& text, std::size_t start, std::size_t end, bool snippets)
      : m_text(text),
        m_start(start),
        m_end(end),
        m_snippets(snippets)
  {}

  void addHeader(const std::string& header)
  {
    const std::string name = header.substr(0, header.find(':'));
    const orv::TypeInfo type = orv::TypeCatalogue::describe(name);
    LspJson& item = add(name, Item::type, m_snippets ? snippetOf(type) : header);
    item["filterText"] = header;
    if (m_snippets)
      item["insertTextFormat"] = 2;
    item["documentation"] = {{"kind", "markdown"}, {"value", markdownOf(type)}};
  }

  void addParameter(const std::string& text, const std::string& typeName)
  {
    const std::string name(trimmed(text.substr(0, text.rfind('='))));
    LspJson& item = add(name, Item::property, text);
    const bool isKnown = orv::ObjectFactory::instance()->hasObject(typeName);
    const orv::TypeInfo type = isKnown ? orv::TypeCatalogue::describe(typeName) : orv::TypeInfo();
    if (const orv::ParamInfo* param = type.findParam(name)) {
      item["detail"] = kindText(*param);
      item["documentation"] = {{"kind", "markdown"}, {"value", markdownOf(type, *param)}};
    }
  }

  LspJson& add(const std::string& label, Item kind, const std::string& text)
  {
    m_items.push_back({{"label", label},
                       {"kind", static_cast<int>(kind)},
                       {"textEdit", editOf(m_text, m_start, m_end - m_start, text)}});
    return m_items.back();
  }

  LspJson take() { return {{"isIncomplete", true}, {"items", std::move(m_items)}}; }

 private:
  static std::string escaped(const std::string& text, std::string_view special = "\\$}")
  {
    std::string out;
    for (const char c : text) {
      if (special.find(c) != std::string_view::npos)
        out += '\\';
      out += c;
    }
    return out;
  }

  // A place to fill in: the values that there are, the default first, or the default.
  static std::string placeOf(const orv::ParamInfo& param, std::size_t number)
  {
    const std::string place = "${" + std::to_string(number);
    constexpr std::size_t mostChoices = 20;
    if (param.allowedValues.empty() || param.allowedValues.size() > mostChoices)
      return place + ":" + escaped(param.defaultValue) + "}";
    std::vector<std::string> values = param.allowedValues;
    const auto usual = std::find(values.begin(), values.end(), param.defaultValue);
    if (usual != values.end())
      std::rotate(values.begin(), usual, usual + 1);
    for (std::string& value : values)
      value = escaped(value, "\\$},|");
    return place + "|" + orv::StringUtilities::vectorToString(values, ",") + "|}";
  }

  static bool isNeeded(const orv::TypeInfo& type, const orv::ParamInfo& param)
  {
    const orv::ParamInfo* rule = type.findParam(type.contextRule);
    const std::string context = rule ? rule->defaultValue : std::string();
    const std::vector<std::string>& contexts = param.essentialIn;
    return !param.internal
           && (param.essential || std::find(contexts.begin(), contexts.end(), context) != contexts.end());
  }

  static std::string snippetOf(const orv::TypeInfo& type)
  {
    std::size_t number = 1;
    std::string text = escaped(type.name) + ":" + (type.singleton ? "" : " ${1:name}");
    for (const orv::ParamInfo& param : type.params)
      if (isNeeded(type, param))
        text += "\n  " + escaped(param.name) + " = " + placeOf(param, ++number);
    return text + (number == 1 ? "\n  $0\nEND" : "\nEND$0");
  }

  const LspText& m_text;
  const std::size_t m_start;
  const std::size_t m_end;
  const bool m_snippets;
  LspJson m_items = LspJson::array();
};

void addItem(List& list, const std::string& text, std::string_view before, const CommandInput& input)
{
  const bool isAction = !before.empty() && before.front() == '>';
  if (isAction)
    list.add(text, Item::function, text);
  else if (before.find('=') != std::string_view::npos)
    list.add(text, text.front() == '/' ? Item::reference : Item::value, text);
  else if (before.find(':') != std::string_view::npos)
    list.add(text, Item::reference, text);
  else if (text == "END")
    list.add(text, Item::keyword, text);
  else if (text.ends_with("= "))
    list.addParameter(text, input.blocks().back().type);
  else
    list.addHeader(text);
}

}  // namespace

LspJson completionsAt(const orv::ActionFactory& actions, LspWorkspace& workspace, const LspDocument& document,
                      std::size_t offset, bool snippets)
{
  const SyntaxTree& tree = document.text.tree();
  const std::string_view bytes = tree.text();
  const Index node = tree.at(offset);
  CommandInput input;
  std::size_t line = bytes.rfind('\n', offset == 0 ? 0 : offset - 1);
  line = offset == 0 || line == std::string_view::npos ? 0 : line + 1;
  if (node != SyntaxTree::none) {
    const Index block = blockAt(tree, node, offset);
    enterBlocks(tree, block, node, input);
    // What the statement says in the lines above.
    for (std::size_t at = tree[node].offset; at < line && tree[node].offset + tree[node].size >= offset;) {
      const std::size_t end = bytes.find('\n', at);
      std::string above(bytes.substr(at, end - at));
      if (!above.empty() && above.back() == '\r')
        above.pop_back();
      if (tree[node].lines > 1)
        input.add(above);
      at = end + 1;
    }
  }
  const std::vector<std::string> noWords;
  const ObjectsOfTexts objects(workspace.names());
  const std::string_view typed = bytes.substr(line, offset - line);
  const Completions found = Completer(actions, noWords, objects).complete(input, typed);
  List list(document.text, line + found.start, offset, snippets);
  const std::string before = input.begun() + std::string(typed);
  for (const std::string& text : found.texts)
    addItem(list, text, trimmed(before), input);
  return list.take();
}
