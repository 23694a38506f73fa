#include "database/EvaluatingObject.h"

#include "platform/internal/ContextLocal.h"

#include <utility>

namespace orv {

namespace {

constinit ContextLocal<const KSLObject*> theObject;

}  // namespace

EvaluatingObject::EvaluatingObject(const KSLObject* object) noexcept
    : m_outer(std::exchange(*theObject, object))
{}

EvaluatingObject::~EvaluatingObject()
{
  *theObject = m_outer;
}

const KSLObject* EvaluatingObject::current() noexcept
{
  return *theObject;
}

}  // namespace orv
