#include "command/BackCompatibilityFunctor.h"

namespace orv {

BackCompatibilityFunctor::~BackCompatibilityFunctor() = default;

void BackCompatibilityFunctor::operator()(std::vector<std::string>&, bool) const {}

}  // namespace orv
