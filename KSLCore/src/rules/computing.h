// Whether an object computes.
#pragma once

#include "rules/GenericKSLObject.h"

#include <typeinfo>

namespace orv {

// The object as one that computes; null for one that does not, or none. Nearly all that do are of the class itself, which
// is seen without a look at what it is derived from: every object that comes or goes, and every link, is asked.
inline GenericKSLObject* computing(KSLObject* object) noexcept
{
  if (object && typeid(*object) == typeid(GenericKSLObject))
    return static_cast<GenericKSLObject*>(object);
  return dynamic_cast<GenericKSLObject*>(object);
}

inline const GenericKSLObject* computing(const KSLObject* object) noexcept
{
  return computing(const_cast<KSLObject*>(object));
}

}  // namespace orv
