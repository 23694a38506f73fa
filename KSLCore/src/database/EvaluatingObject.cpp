#include "database/EvaluatingObject.h"

#include <utility>

namespace orv {

namespace {

const KSLObject* s_current = nullptr;

}  // namespace

EvaluatingObject::EvaluatingObject(const KSLObject* object) noexcept
    : m_outer(std::exchange(s_current, object))
{}

EvaluatingObject::~EvaluatingObject()
{
  s_current = m_outer;
}

const KSLObject* EvaluatingObject::current() noexcept
{
  return s_current;
}

}  // namespace orv
