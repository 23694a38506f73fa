// What is known of statements whatever stands around them.
#pragma once

#include "CheckedTypes.h"
#include "session/TextChecker.h"

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace orv {

// Of a parameter: that its value suits its type.
struct KnownStatement {
  const CheckedType* type = nullptr;  // null when nothing is known
  const CheckedParam* param = nullptr;
  bool mayName = false;  // its value is to be looked up among the objects
};

// By the statements' own numbers, which stay as long as their bytes do.
class KnownStatements {
 public:
  KnownStatement& operator[](std::uint32_t id)
  {
    if (id >= m_statements.size())
      m_statements.resize(id + id / 8 + 64);
    return m_statements[id];
  }

 private:
  std::vector<KnownStatement> m_statements;
};

class CheckMemory::Impl {
 public:
  CheckedTypes types;
  std::unordered_map<std::size_t, KnownStatements> texts;
};

}  // namespace orv
