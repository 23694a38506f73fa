#include "DiffCommand.h"

#include "platform/ORVError.h"
#include "platform/ORVOutputFiles.h"
#include "platform/ORVSyntax.h"
#include "platform/ORVUnits.h"
#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"
#include "database/ObjectDB.h"
#include "command/FileText.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "ChangeText.h"
#include "TextTable.h"
#include "Values.h"
#include "session/CalculationLog.h"
#include "session/QuietActions.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <unistd.h>

using orv::KSLObject;
using orv::ParamDefinition;
using orv::Plan;

namespace {

struct Value {
  std::string text;
  bool shown = false;  // by state text
  bool logical = false;
  std::optional<std::vector<NumberItem>> numbers;
};
using Params = std::map<std::string, Value>;
using Objects = std::map<std::string, Params>;

constexpr int differ = 1;
constexpr int failed = 2;

// Objects through which the file actions keep their settings are no part of what a text is about.
bool isBookkeeping(const KSLObject& object)
{
  static const std::set<std::string> types{"FILE PROCESSING", "SESSION", "STATE"};
  return types.count(object.getType()) > 0;
}

Params paramsOf(const KSLObject& object)
{
  Params params;
  object.forEachParam([&](const ParamDefinition& param) {
    if (!param.isInternal())
      params[param.getName()] = {param.getValue(), false, param.typeIs("Logical"), numbersIn(param)};
  });
  for (const ParamDefinition* param : shownParams(object))
    params[param->getName()].shown = true;
  return params;
}

Objects allObjects()
{
  Objects objects;
  for (const KSLObject* object : orv::ObjectDB::instance()->getAllObjects())
    if (!isBookkeeping(*object))
      objects[object->getPath()] = paramsOf(*object);
  return objects;
}

bool isSession(const std::string& file)
{
  std::string line;
  return file != "-" && std::getline(std::ifstream(file), line)
         && line.starts_with(orv::FileText::sessionHead);
}

// Nobody hears of errors while it lives.
class Silence : public orv::ErrorSink {
 public:
  Silence() : m_former(orv::ErrorProgressReporter::instance()->setSink(this)) {}
  ~Silence() override { orv::ErrorProgressReporter::instance()->setSink(m_former); }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;
  void report(const orv::ErrorMsg&) override {}

 private:
  orv::ErrorSink* m_former;
};

// Nothing is calculated or written: what a text says is compared, not what comes of it. Texts of whole blocks are
// applied at their end, as states have to be; others in their own mode, in which they are refused.
void enter(const TextOptions& input)
{
  const orv::QuietActions quiet(*orv::KSLInterface::instance()->getExecutive(), harmlessActions());
  const orv::CalculationLog calculations(false);
  if (isSession(input.files.front())) {
    const orv::SessionFile session = orv::SessionFile::read(input.files.front());
    session.requireWhole();
    const Silence silence;  // what failed when it was recorded fails again
    for (const orv::SessionFile::Command& command : session.commands())
      enterText(command, input.files.front());
    return;
  }
  for (const EnteredText& text : readTexts(input)) {
    const orv::SyntaxTree tree(text.text);
    if (!tree.isFaulty())
      orv::KSLCoreAPI::instance()->setExternalKslUpdateMode(orv::kslUpdateAtEnd);
    if (!isBlank(text.text))
      enterText(text);
  }
}

// Null when that failed.
std::optional<Objects> read(const DiffCommand::Options& options, const std::string& file)
{
  TextOptions input = options.query.input;
  input.files = {file};
  Objects objects;
  const int status = runWithHost(input, [&](Host&) {
    enter(input);
    objects = allObjects();
  });
  return status == 0 ? std::optional<Objects>(std::move(objects)) : std::nullopt;
}

bool isSameNumber(const NumberItem& a, const NumberItem& b)
{
  if (a.units.empty() != b.units.empty() || !orv::UnitsConverter::areConvertible(a.units, b.units))
    return false;
  double converted = 0;
  orv::UnitsConverter::convertUnits(b.units, a.units, b.number, converted);
  const double size = std::max(std::abs(a.number), std::abs(converted));
  return std::abs(a.number - converted) <= 1e-12 * size;  // what conversions round away
}

bool isTrue(const Value& value, bool& known)
{
  return orv::StringUtilities::isTrue(value.text, known);
}

class Comparison {
 public:
  Comparison(const Objects& before, const Objects& after, bool values)
      : m_before(before),
        m_after(after),
        m_values(values)
  {}

  std::vector<Plan::Object> objects() const
  {
    std::vector<Plan::Object> all;
    for (const auto& [path, params] : m_before)
      if (m_after.count(path) == 0)
        all.push_back({Plan::Object::deleted, path, shown(params, true)});
    for (const auto& [path, params] : m_after) {
      const auto former = m_before.find(path);
      if (former == m_before.end())
        all.push_back({Plan::Object::added, path, shown(params, false)});
      else if (std::vector<Plan::Param> changes = differences(former->second, params); !changes.empty())
        all.push_back({Plan::Object::changed, path, std::move(changes)});
    }
    std::sort(all.begin(), all.end(),
              [](const Plan::Object& a, const Plan::Object& b) { return a.path < b.path; });
    return all;
  }

 private:
  static std::vector<Plan::Param> shown(const Params& params, bool before)
  {
    std::vector<Plan::Param> list;
    for (const auto& [name, value] : params)
      if (value.shown)
        list.push_back({name, before ? value.text : "", before ? "" : value.text});
    return list;
  }

  std::vector<Plan::Param> differences(const Params& before, const Params& after) const
  {
    std::vector<Plan::Param> list;
    Params names = before;
    names.insert(after.begin(), after.end());
    for (const auto& [name, unused] : names) {
      const Value a = valueOf(before, name);
      const Value b = valueOf(after, name);
      if ((a.shown || b.shown) && !isSame(a, b))
        list.push_back({name, a.text, b.text});
    }
    return list;
  }

  static Value valueOf(const Params& params, const std::string& name)
  {
    const auto found = params.find(name);
    return found == params.end() ? Value() : found->second;
  }

  bool isSame(const Value& a, const Value& b) const
  {
    if (a.text == b.text)
      return true;
    if (!m_values)
      return false;
    if (a.numbers && b.numbers)
      return std::equal(a.numbers->begin(), a.numbers->end(), b.numbers->begin(), b.numbers->end(),
                        isSameNumber);
    bool known = true;
    if (a.logical && b.logical && isTrue(a, known) == isTrue(b, known) && known)
      return true;
    return orv::StringUtilities::splitValue(a.text) == orv::StringUtilities::splitValue(b.text);
  }

  const Objects& m_before;
  const Objects& m_after;
  const bool m_values;
};

std::string nameOf(const std::string& file)
{
  return file == "-" ? "<stdin>" : file;
}

void print(const DiffCommand::Options& options, const std::vector<Plan::Object>& changes)
{
  if (options.query.format == OutputFormat::json) {
    std::cout << printedJson(changeJson(changes));
    return;
  }
  if (changes.empty())
    return;
  const bool coloured = takesColour(STDOUT_FILENO);
  std::cout << styled("--- " + nameOf(options.files[0]), "1", coloured) << '\n'
            << styled("+++ " + nameOf(options.files[1]), "1", coloured) << '\n'
            << changeText(changes, coloured) << countText(changes) << '\n';
}

}  // namespace

int DiffCommand::run(const Options& options)
{
  const std::optional<Objects> before = read(options, options.files[0]);
  const std::optional<Objects> after = read(options, options.files[1]);
  if (!before || !after)
    return failed;
  const std::vector<Plan::Object> changes = Comparison(*before, *after, options.values).objects();
  print(options, changes);
  if (!std::cout.flush()) {
    std::cerr << "ksl: error[4]: Cannot write to standard output.\n";
    return failed;
  }
  return changes.empty() ? 0 : differ;
}
