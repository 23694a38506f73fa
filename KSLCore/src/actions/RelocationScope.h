// Names follow a copy or rename for as long as its text is processed.
#pragma once

#include "rules/Relocation.h"

namespace orv {

class RelocationScope {
 public:
  explicit RelocationScope(Relocation relocation);
  ~RelocationScope();
  RelocationScope(const RelocationScope&) = delete;
  RelocationScope& operator=(const RelocationScope&) = delete;

 private:
  const Relocation m_relocation;
  const Relocation* m_outer;
};

}  // namespace orv
