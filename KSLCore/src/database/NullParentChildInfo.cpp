#include "database/NullParentChildInfo.h"

namespace orv {

const NullParentChildInfo* NullParentChildInfo::instance()
{
  static const NullParentChildInfo place;
  return &place;
}

}  // namespace orv
