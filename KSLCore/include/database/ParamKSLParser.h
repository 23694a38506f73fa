// Collects the values of one parameter from KSL text.
#pragma once

#include "platform/ORVExport.h"
#include "platform/ORVKSLParseUtilities.h"

#include <map>
#include <string>
#include <vector>

namespace orv {

// Finds a parameter in all blocks of one object type, at any depth, and in the blocks inside them: a
// parameter line counts for the innermost open block of the type sought. Linear in the text.
class ORV_API ParamKSLParser : public MiniKSLParser {
 public:
  explicit ParamKSLParser(std::vector<std::string> lines);  // lines as MiniKSLParser takes them
  ~ParamKSLParser() override;

  // Adds what it finds to the results. Of several values for one object the first stays, unlike in KSL
  // itself, where the last line wins; callers depend on it.
  void parseForParam(const std::string& objectKey, const std::string& paramName);
  // Object name to value; a singleton's name is its type.
  const std::map<std::string, std::string>& getResults() const { return m_results; }
  void resetResults() { m_results.clear(); }

 protected:
  void newParameter(const std::string& name, const std::string& value) override;

 private:
  std::string m_objectKey;
  std::string m_paramName;
  std::map<std::string, std::string> m_results;
};

}  // namespace orv
