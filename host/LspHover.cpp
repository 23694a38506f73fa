#include "LspHover.h"

#include "database/ObjectFactory.h"
#include "LspNames.h"
#include "TypeText.h"
#include "session/TypeCatalogue.h"

using orv::SyntaxTree;
using LeafKind = SyntaxTree::LeafKind;

namespace {

// What means something to Markdown is to be seen as it is.
std::string plain(const std::string& text)
{
  std::string out;
  for (const char c : text) {
    if (std::string_view("\\`*_{}[]<>#|!").find(c) != std::string_view::npos)
      out += '\\';
    out += c;
  }
  return out;
}

std::string fact(const char* name, const std::string& text)
{
  return text.empty() ? std::string() : "- " + std::string(name) + ": " + plain(text) + "\n";
}

std::string paragraph(const std::string& text)
{
  return text.empty() ? std::string() : "\n" + plain(text) + "\n";
}

// Of the statement's leaf at the byte; that before it where two meet, and it is a word.
LeafKind leafAt(const SyntaxTree& tree, SyntaxTree::Index node, std::size_t offset)
{
  std::vector<SyntaxTree::Leaf> leaves;
  tree.leaves(node, leaves);
  for (const SyntaxTree::Leaf& leaf : leaves)
    if (offset < leaf.offset + leaf.size)
      return leaf.kind;
  return LeafKind::lineEnd;
}

std::string paramText(const SyntaxTree& tree, SyntaxTree::Index node)
{
  const SyntaxTree::Index parent = tree[node].parent;
  std::string room;
  if (parent == SyntaxTree::none)
    return {};
  const std::string type(tree.read(parent, room).first);
  if (!orv::ObjectFactory::instance()->hasObject(type))
    return {};
  const orv::TypeInfo info = orv::TypeCatalogue::describe(type);
  const orv::ParamInfo* param = info.findParam(tree.read(node, room).first);
  return param ? markdownOf(info, *param) : std::string();
}

std::string typeText(const SyntaxTree& tree, SyntaxTree::Index node)
{
  std::string room;
  const std::string type(tree.read(node, room).first);
  const bool isType = orv::ObjectFactory::instance()->hasObject(type);
  return isType ? markdownOf(orv::TypeCatalogue::describe(type)) : std::string();
}

}  // namespace

std::string markdownOf(const orv::TypeInfo& type)
{
  std::string text = "**" + plain(type.name) + (type.singleton ? ":**" : ": name**") + "\n"
                     + paragraph(type.description) + "\n" + fact("Stands in", listed(type.allowedParents))
                     + fact("Holds", listed(type.children, "and"))
                     + fact("Computes", listed(type.schedulers, "and"));
  for (const orv::ParamInfo& param : type.params)
    if (param.essential)
      text += fact(plain(param.name).c_str(), kindText(param));
  return text;
}

std::string markdownOf(const orv::TypeInfo& type, const orv::ParamInfo& param)
{
  return "**" + plain(type.name) + "." + plain(param.name) + "**\n" + paragraph(param.description) + "\n"
         + fact("Takes", kindText(param)) + fact("Default", param.defaultValue)
         + fact("Needed", needText(type, param)) + fact("Changes", param.localType)
         + fact("Looked for in", param.remotePath);
}

LspJson hoverAt(LspWorkspace& workspace, const LspDocument& document, std::size_t offset)
{
  const SyntaxTree& tree = document.text.tree();
  const SyntaxTree::Index node = tree.at(offset);
  if (node == SyntaxTree::none)
    return {};
  const LeafKind leaf = leafAt(tree, node, offset);
  std::string text;
  if (leaf == LeafKind::name || leaf == LeafKind::value || leaf == LeafKind::arguments)
    if (const std::string name = nameAt(workspace, document, offset); !name.empty())
      text = "**" + plain(name) + "**\n\n";
  if (leaf == LeafKind::type || leaf == LeafKind::name)
    text += typeText(tree, node);
  else if (leaf == LeafKind::parameter || leaf == LeafKind::value)
    text += paramText(tree, node);
  if (text.empty())
    return {};
  return {{"contents", {{"kind", "markdown"}, {"value", text}}}};
}
