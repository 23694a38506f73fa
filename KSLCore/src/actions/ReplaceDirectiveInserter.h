// Puts "&replace" before the headers of objects that are to be built anew.
#pragma once

#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVUtilities.h"

#include <set>
#include <string>
#include <vector>

namespace orv {

// Rewrites whole lines block by block, indented by two blanks a level. A directive that stands there already stays.
class ReplaceDirectiveInserter : public MiniKSLParser {
 public:
  ReplaceDirectiveInserter(std::vector<std::string> lines, const std::set<KSLPath>& paths);
  ~ReplaceDirectiveInserter() override;

  // Without any paths the lines come back as they are.
  std::vector<std::string> insert();

 protected:
  void newObject(const std::string& type, const std::string& name) override;
  void newParameter(const std::string& name, const std::string& value) override;
  void endObject() override;
  void otherLine(const std::string& line) override;

 private:
  std::set<KSLPath> m_paths;
  KSLPath m_current;
  std::string m_indentation;
  std::vector<std::string> m_output;
};

}  // namespace orv
