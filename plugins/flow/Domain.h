// The field of a domain: found once, left on the domain, and read there by whoever cuts, probes or paints.
#pragma once

#include "Field.h"

#include <optional>
#include <string>

namespace orv {
class KSLObject;
}

namespace flow {

void writeField(orv::KSLObject& domain, const std::optional<Field>& field);
std::optional<Field> readField(const orv::KSLObject& domain);
// Of the domain at a path; none when there is no such object.
std::optional<Field> readField(const std::string& domainPath);

}  // namespace flow
