#include "database/ObjectHolder.h"

namespace orv {

ObjectHolder::~ObjectHolder() = default;

}  // namespace orv
