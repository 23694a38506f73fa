#include "Domain.h"

#include "database/ObjectDB.h"
#include "Values.h"

namespace flow {

using orv::KSLObject;

void writeField(KSLObject& domain, const std::optional<Field>& field)
{
  std::vector<double> numbers;
  if (field)
    numbers = {field->speed,       field->pressure, field->density, field->radius,
               field->circulation, field->lower.x,  field->lower.y, field->lower.z,
               field->upper.x,     field->upper.y,  field->upper.z};
  setResult(domain, "Field", numbers);
  for (const char* name : {"Pressure", "Speed"}) {
    std::vector<double> range;
    if (field) {
      const auto [low, high] = field->range(findVariable(name));
      range = {low, high};
    }
    setResult(domain, std::string(name) + " Range", range);
  }
}

std::optional<Field> readField(const KSLObject& domain)
{
  const std::vector<double> n = result(domain, "Field");
  if (n.size() != 11)
    return std::nullopt;
  return Field{n[0], n[1], n[2], n[3], n[4], {n[5], n[6], n[7]}, {n[8], n[9], n[10]}};
}

std::optional<Field> readField(const std::string& domainPath)
{
  const KSLObject* domain =
      domainPath.empty() ? nullptr : orv::ObjectDB::instance()->getObjectByPath(domainPath);
  return domain ? readField(*domain) : std::nullopt;
}

}  // namespace flow
