#include "command/SessionUpdateStrategy.h"

namespace orv {

SessionUpdateStrategy::~SessionUpdateStrategy() = default;

}  // namespace orv
