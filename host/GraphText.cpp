#include "GraphText.h"

#include "database/ObjectDB.h"
#include "rules/GenericKSLObject.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using Schedulers = std::vector<orv::SchedulerObject>;

// Behind a backslash the language takes a quote for itself, and in labels some letters for more than that.
std::string quotedLabel(std::string_view name)
{
  std::string text = "\"";
  for (const char c : name) {
    if (c == '"' || c == '\\')
      text += '\\';
    text += c;
  }
  return text + '"';
}

// A text that is shown. What looks like an entity would become a character.
std::string shown(std::string_view name)
{
  std::string text;
  for (const char c : name)
    text.append(c == '&' ? "&amp;" : std::string_view(&c, 1));
  return quotedLabel(text);
}

std::string nodeOf(const orv::SchedulerObject& scheduler)
{
  return quotedLabel(scheduler.getPath() + " (" + scheduler.getType() + ")");
}

const Schedulers& schedulersOf(const orv::KSLObject& object)
{
  static const Schedulers none;
  const auto* computing = dynamic_cast<const orv::GenericKSLObject*>(&object);
  return computing ? computing->getSchedulers() : none;
}

void appendObject(const orv::KSLObject& object, std::string& text)
{
  const Schedulers& schedulers = schedulersOf(object);
  const std::string path = quotedLabel(object.getPath());
  const std::string label = shown(object.getPath());
  if (schedulers.empty()) {
    text.append("  ").append(path).append(" [label=").append(label).append(", shape=plain];\n");
    return;
  }
  text.append("  subgraph ").append(quotedLabel("cluster " + object.getPath())).append(" {\n");
  text.append("    label=").append(label).append(";\n");
  for (const orv::SchedulerObject& scheduler : schedulers) {
    text.append("    ").append(nodeOf(scheduler)).append(" [label=");
    if (scheduler.isPending())
      text.append(shown(scheduler.getType() + " (pending)")).append(", style=dashed];\n");
    else
      text.append(shown(scheduler.getType())).append("];\n");
  }
  text.append("  }\n");
}

// Sorted by name, as people look for them.
void appendEdges(const orv::SchedulerObject& from, std::string& text)
{
  std::vector<std::pair<std::string, int>> edges;
  edges.reserve(from.getChildren().size());
  for (const orv::LinkMap::Entry& edge : from.getChildren())
    edges.emplace_back(nodeOf(*edge.first), static_cast<int>(edge.count()));
  std::sort(edges.begin(), edges.end());
  for (const auto& [to, links] : edges) {
    text.append("  ").append(nodeOf(from)).append(" -> ").append(to);
    if (links > 1)
      text.append(" [label=\"x").append(std::to_string(links)).append("\"]");
    text.append(";\n");
  }
}

}  // namespace

std::string graphText(const orv::ObjectDB& database)
{
  std::string text = "digraph ksl {\n  rankdir=LR;\n  node [shape=box];\n";
  const std::vector<orv::KSLObject*> objects = database.getAllObjects();
  for (const orv::KSLObject* object : objects)
    appendObject(*object, text);
  for (const orv::KSLObject* object : objects)
    for (const orv::SchedulerObject& scheduler : schedulersOf(*object))
      appendEdges(scheduler, text);
  return text + "}\n";
}
