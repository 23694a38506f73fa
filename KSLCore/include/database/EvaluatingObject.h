// Whose parameter is being read.
#pragma once

#include "platform/ORVExport.h"

namespace orv {

class KSLObject;

// Set while an object reads one of its own parameters as a number: names in the text may then stand for other
// parameters of that object. A parameter that is read by itself knows no object.
class ORV_API EvaluatingObject {
 public:
  explicit EvaluatingObject(const KSLObject* object) noexcept;
  ~EvaluatingObject();
  EvaluatingObject(const EvaluatingObject&) = delete;
  EvaluatingObject& operator=(const EvaluatingObject&) = delete;

  // Null when there is none. Not owned.
  static const KSLObject* current() noexcept;

 private:
  const KSLObject* m_outer;
};

}  // namespace orv
