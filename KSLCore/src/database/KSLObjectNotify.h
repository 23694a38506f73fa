// Hears of the changes of an object's own parameters and passes them on.
#pragma once

#include "database/KSLObject.h"
#include "database/ObjectChangeNotify.h"

namespace orv {

class KSLObject::ParamNotify final : public ParamDefinition::NotifyChange {
 public:
  ParamNotify(KSLObject* object, ObjectChangeNotify* observer) : m_object(object), m_observer(observer) {}

  void paramChanged(ParamDefinition* param) override
  {
    if (!param->hasBeenSet() && param->getValue().empty())
      m_observer->paramDeleted(m_object, param->getName());
    else
      m_observer->paramChanged(m_object, param);
  }
  ObjectChangeNotify* observer() const { return m_observer; }

 private:
  KSLObject* m_object;
  ObjectChangeNotify* m_observer;  // not owned
};

}  // namespace orv
