// Writes the state of objects as KSL text.
#pragma once

#include "database/KSLStateLogger.h"

#include <cstddef>
#include <string>

namespace orv {

// Blocks indented by two blanks a level; values as stored; a parameter with an empty value writes nothing.
class ORV_API StateTextLogger : public KSLStateLogger {
 public:
  explicit StateTextLogger(std::string& out) : m_out(out) {}  // appends; `out` outlives the logger
  ~StateTextLogger() override;
  void objectBegin(const KSLObject* object) override;
  void parameter(const KSLObject* object, const ParamDefinition* param) override;
  void objectEnd(const KSLObject* object) override;

 private:
  std::string& m_out;
  std::size_t m_indent = 0;
};

}  // namespace orv
