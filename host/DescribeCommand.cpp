#include "DescribeCommand.h"

#include "platform/ORVError.h"
#include "database/KSLObject.h"
#include "database/ObjectFactory.h"
#include "Manual.h"
#include "TextTable.h"
#include "TypeText.h"
#include "Values.h"

#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <unistd.h>
#include <utility>
#include <vector>

using orv::KSLObject;
using orv::ParamInfo;
using orv::TypeCatalogue;
using orv::TypeInfo;

namespace {

// What is to be described: a type, or an object with its values; one parameter of it, or all.
struct Subject {
  TypeInfo type;
  const KSLObject* object = nullptr;
  const ParamInfo* param = nullptr;
};

const ParamInfo* requireParam(const TypeInfo& type, const std::string& name)
{
  if (name.empty())
    return nullptr;
  if (const ParamInfo* param = type.findParam(name))
    return param;
  std::vector<std::string> names;
  for (const ParamInfo& param : type.params)
    names.push_back(param.name);
  throw orv::diagnosed(
      orv::data::notFound("ksl", "describe",
                          orv::_("Parameter '%s' is not defined for object type '%s'.", name, type.name)),
      orv::oneOf(name, std::move(names)));
}

// The longest beginning of the text that is a type.
std::optional<std::size_t> typeEnd(const std::string& text)
{
  for (std::size_t end = text.size(); end != std::string::npos && end > 0; end = text.rfind('.', end - 1))
    if (orv::ObjectFactory::instance()->hasObject(text.substr(0, end)))
      return end;
  return std::nullopt;
}

std::string behind(const std::string& text, std::size_t end)
{
  return end < text.size() ? text.substr(end + 1) : std::string();
}

void fill(Subject& subject, const std::string& text)
{
  if (const std::optional<std::size_t> end = typeEnd(text)) {
    subject.type = TypeCatalogue::describe(text.substr(0, *end));
    subject.param = requireParam(subject.type, behind(text, *end));
    return;
  }
  const NamedParam named = findNamed(text);
  if (!named.object)
    throw orv::diagnosed(
        orv::data::notFound(
            "ksl", "describe",
            orv::_("'%s' is neither a type nor an object. ksl describe lists the types.", text)),
        orv::oneOf(text, TypeCatalogue::types()));
  subject.object = named.object;
  subject.type = TypeCatalogue::describe(named.object->getType());
  subject.param = requireParam(subject.type, named.param);
}

// Results can be long lists.
std::string shortened(const std::string& value)
{
  constexpr std::size_t most = 50;
  return widthOf(value) <= most ? value : value.substr(0, most - 4) + " ...";
}

class Printer {
 public:
  explicit Printer(const Subject& subject)
      : m_type(subject.type),
        m_object(subject.object),
        m_coloured(takesColour(STDOUT_FILENO))
  {}

  std::string typeText() const
  {
    std::string text = styled(m_object ? m_object->getPath() : headerOf(m_type), "1", m_coloured) + "\n";
    text += wrapped(m_type.description, 2);
    TextTable facts;
    addFact(facts, "Stands in", m_type.allowedParents);
    addFact(facts, "Holds", m_type.children);
    addFact(facts, "Computes", m_type.schedulers);
    addFact(facts, "Categories", m_type.categories);
    if (!facts.empty())
      text += "\n" + facts.text(2);
    for (const ParamGroup& group : groupsOf(m_type))
      if (isShown(group))
        text += groupText(group);
    return text;
  }

  std::string paramText(const ParamInfo& param) const
  {
    const std::string head = (m_object ? m_object->getPath() : m_type.name) + "." + param.name;
    std::string text = styled(head, "1", m_coloured) + "\n" + wrapped(param.description, 2) + "\n";
    TextTable facts;
    if (m_object)
      facts.add({"Value", wholeValueOf(param)});
    facts.add({"Takes", kindText(param)});
    facts.add({"Default", param.defaultValue.empty() ? "(empty)" : param.defaultValue});
    facts.add({"Needed", needText(m_type, param)});
    if (!param.units.empty())
      facts.add({"Units", param.units + ", or others that convert to it"});
    if (!param.localType.empty())
      facts.add({"Changes", param.localType});
    if (!param.remotePath.empty())
      facts.add({"Looked for in", param.remotePath});
    facts.add({"Category", param.category});
    return text + facts.text(2);
  }

 private:
  static std::string headerOf(const TypeInfo& type) { return type.name + (type.singleton ? ":" : ": name"); }

  static void addFact(TextTable& facts, const char* name, const std::vector<std::string>& items)
  {
    if (!items.empty())
      facts.add({name, listed(items, "and")});
  }

  std::string wholeValueOf(const ParamInfo& param) const
  {
    const orv::ParamDefinition* value = m_object->lookUpParam(param.name);
    return value && !value->getValue().empty() ? value->getValue() : "(empty)";
  }

  // An object is in one context at a time.
  bool isShown(const ParamGroup& group) const
  {
    return !m_object || group.context.empty() || m_object->getValue(m_type.contextRule) == group.context;
  }

  std::string groupText(const ParamGroup& group) const
  {
    TextTable table;
    for (const ParamInfo* param : group.params) {
      std::vector<std::string> cells{param->name};
      if (m_object)
        cells.push_back(shortened(wholeValueOf(*param)));
      else if (!param->internal)
        cells.push_back(param->defaultValue.empty() ? "-" : param->defaultValue);
      cells.push_back(kindText(*param));
      table.add(std::move(cells));
    }
    const std::string columns = m_object                         ? "  (value, what it takes)"
                                : group.params.front()->internal ? ""
                                                                 : "  (default, what it takes)";
    return "\n  " + styled(group.title, "1", m_coloured) + columns + "\n" + table.text(4);
  }

  const TypeInfo& m_type;
  const KSLObject* m_object;
  const bool m_coloured;
};

nlohmann::ordered_json jsonOf(const Subject& subject)
{
  nlohmann::ordered_json json = subject.param ? toJson(subject.type, *subject.param) : toJson(subject.type);
  if (!subject.object)
    return json;
  const auto addValue = [&](nlohmann::ordered_json& param) {
    const orv::ParamDefinition* value =
        subject.object->lookUpParam(param["name"].get_ref<const std::string&>());
    param["value"] = value ? value->getValue() : std::string();
  };
  if (subject.param) {
    addValue(json);
  } else {
    json["object"] = subject.object->getPath();
    for (nlohmann::ordered_json& param : json["parameters"])
      addValue(param);
  }
  return json;
}

void printAll(OutputFormat format)
{
  if (format == OutputFormat::json) {
    nlohmann::ordered_json all = nlohmann::ordered_json::array();
    for (const std::string& type : TypeCatalogue::types())
      all.push_back(toJson(TypeCatalogue::describe(type)));
    std::cout << printedJson(all);
    return;
  }
  TextTable table({"TYPE", "STANDS IN", "WHAT IT IS"});
  for (const std::string& name : TypeCatalogue::types()) {
    const TypeInfo type = TypeCatalogue::describe(name);
    table.add({name + (type.singleton ? ":" : ": name"),
               type.allowedParents.empty() ? "-" : listed(type.allowedParents),
               firstSentence(type.description)});
  }
  std::cout << table.text(0, takesColour(STDOUT_FILENO));
}

}  // namespace

void DescribeCommand::print(const Options& options)
{
  if (!options.html.empty())
    writeManual(options.html, ManualFormat::html);
  if (!options.markdown.empty())
    writeManual(options.markdown, ManualFormat::markdown);
  if (options.subject.empty()) {
    if (options.html.empty() && options.markdown.empty())
      printAll(options.query.format);
    return;
  }
  Subject subject;
  fill(subject, options.subject);
  const Printer printer(subject);
  if (options.query.format == OutputFormat::json)
    std::cout << printedJson(jsonOf(subject));
  else
    std::cout << (subject.param ? printer.paramText(*subject.param) : printer.typeText());
}

int DescribeCommand::run(const Options& options)
{
  return runQuery(options.query, [&options] { print(options); });
}
