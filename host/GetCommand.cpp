#include "GetCommand.h"

#include "platform/ORVError.h"
#include "platform/ORVUnits.h"
#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"
#include "database/ObjectDB.h"
#include "TextTable.h"
#include "Values.h"

#include <algorithm>
#include <fnmatch.h>
#include <iostream>
#include <nlohmann/json.hpp>
#include <unistd.h>

using orv::KSLObject;
using orv::ParamDefinition;

namespace {

struct FoundValue {
  const KSLObject* object;
  const ParamDefinition* param;
};

bool isPattern(const std::string& text)
{
  return text.find('*') != std::string::npos;
}

// Nothing but * means something: names may hold the other signs of patterns.
bool matches(const std::string& pattern, const std::string& text)
{
  std::string plain;
  for (const char c : pattern) {
    if (c == '?' || c == '[' || c == '\\')
      plain += '\\';
    plain += c;
  }
  return ::fnmatch(plain.c_str(), text.c_str(), 0) == 0;
}

class Finder {
 public:
  explicit Finder(const GetCommand::Options& options)
      : m_options(options),
        m_params(orv::StringUtilities::splitValue(options.params))
  {}

  std::vector<FoundValue> find()
  {
    for (const std::string& item : orv::StringUtilities::splitValue(m_options.objects))
      if (isPattern(item))
        addMatching(item);
      else
        addNamed(item);
    return std::move(m_values);
  }

 private:
  // A pattern that begins with a "/" is one of paths, another of names or of "TYPE:name" at the top.
  void addMatching(const std::string& pattern)
  {
    const std::string path = orv::PathUtils::normalisePathBwdComp(pattern);
    const std::size_t before = m_values.size();
    bool found = false;
    for (const KSLObject* object : orv::ObjectDB::instance()->getAllObjects())
      if (matches(path, path.front() == '/' ? object->getPath() : object->getName())) {
        found = true;
        addParams(*object, false);
      }
    if (!found)
      throw orv::data::notFound("ksl", "get", orv::_("No object matches '%s'.", pattern));
    if (m_values.size() == before)
      throw orv::data::notFound(
          "ksl", "get",
          orv::_("No object that matches '%s' has a parameter '%s'.", pattern, m_options.params));
  }

  void addNamed(const std::string& text)
  {
    const NamedParam named = requireNamed(text);
    if (named.param.empty())
      addParams(*named.object, true);
    else
      m_values.push_back({named.object, named.object->lookUpParam(named.param)});
  }

  void addParams(const KSLObject& object, bool required)
  {
    if (m_params.empty())
      for (const ParamDefinition* param : shownParams(object))
        m_values.push_back({&object, param});
    for (const std::string& name : m_params)
      if (isPattern(name))
        object.forEachParam([&](const ParamDefinition& param) {
          if (matches(name, param.getName()))
            m_values.push_back({&object, &param});
        });
      else if (const ParamDefinition* param = object.lookUpParam(name))
        m_values.push_back({&object, param});
      else if (required)
        requireNamed(object.getPath() + "." + name);  // says that there is none
  }

  const GetCommand::Options& m_options;
  const std::vector<std::string> m_params;
  std::vector<FoundValue> m_values;
};

// A field of a CSV file: quoted where it must be.
std::string field(const std::string& text)
{
  if (text.find_first_of(",\"\n\r") == std::string::npos)
    return text;
  std::string quoted = "\"";
  for (const char c : text)
    quoted.append(c == '"' ? 2 : 1, c);
  return quoted + '"';
}

void printText(const std::vector<FoundValue>& values, const std::string& units)
{
  if (values.size() == 1) {  // as scripts want it
    std::cout << valueIn(*values.front().param, units) << '\n';
    return;
  }
  TextTable table({"OBJECT", "PARAMETER", "VALUE"});
  for (const FoundValue& value : values)
    table.add({value.object->getPath(), value.param->getName(), valueIn(*value.param, units)});
  std::cout << table.text(0, takesColour(STDOUT_FILENO));
}

void printJson(const std::vector<FoundValue>& values, const std::string& units)
{
  nlohmann::ordered_json all = nlohmann::ordered_json::array();
  for (const FoundValue& value : values) {
    nlohmann::ordered_json json{{"object", value.object->getPath()}, {"parameter", value.param->getName()}};
    json.update(toJson(*value.param, units));
    all.push_back(std::move(json));
  }
  std::cout << printedJson(all);
}

// One number has a column of its own, and so have its units.
void printCsv(const std::vector<FoundValue>& values, const std::string& units)
{
  std::cout << "object,parameter,value,units\n";
  for (const FoundValue& value : values) {
    const nlohmann::ordered_json json = toJson(*value.param, units);
    const bool isNumber = json.contains("number");
    const std::string text = isNumber ? json["number"].dump() : json["value"].get_ref<const std::string&>();
    std::cout << field(value.object->getPath()) << ',' << field(value.param->getName()) << ',' << field(text)
              << ',' << (isNumber && json.contains("units") ? field(json["units"].get<std::string>()) : "")
              << '\n';
  }
}

}  // namespace

void GetCommand::print(const Options& options)
{
  if (!options.units.empty() && !orv::UnitsConverter::isValid(options.units))
    throw orv::data::invalid("UnitsConverter", "convertUnits",
                             orv::UnitsConverter::whyInvalid(options.units));
  const std::vector<FoundValue> values = Finder(options).find();
  if (options.query.format == OutputFormat::json)
    printJson(values, options.units);
  else if (options.query.format == OutputFormat::csv)
    printCsv(values, options.units);
  else
    printText(values, options.units);
}

int GetCommand::run(const Options& options)
{
  return runQuery(options.query, [&options] { print(options); });
}
