#include "database/DBChangeNotify.h"

namespace orv {

DBChangeNotify::~DBChangeNotify() = default;

}  // namespace orv
