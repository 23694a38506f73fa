// Reads command text whose types, parameters and values have had other names since.
#pragma once

#include "command/BackCompatibilityFunctor.h"

#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace orv {

// A table of renamings, applied line by line: headers of blocks, parameters of blocks of a type, their values.
// In what the table does not speak of, and so in action lines too, only components "/OLD TYPE:" of paths
// change. Comments stand, and quoted texts that do not begin with "/". A line that needs nothing stays byte
// for byte, and of others what does not change.
//
// Renamings may follow each other ("A" to "B" in one version, "B" to "C" in the next): a text is brought to the
// last name at once, so applying the table to its own result changes nothing. For that, names must not come
// back to themselves.
//
// Additions are refused with data::invalid, class "RenamingBackCompatibilityFunctor", type 4: "Input
// parameter %s is empty.", "'%s' is already renamed to '%s'.", "Renaming '%s' to '%s' leads back to '%s'.". A
// refused addition changes nothing.
class ORV_API RenamingBackCompatibilityFunctor : public BackCompatibilityFunctor {
 public:
  RenamingBackCompatibilityFunctor();
  ~RenamingBackCompatibilityFunctor() override;

  // Objects of a type. A type has one successor: its blocks cannot be torn apart.
  void renameType(const std::string& oldType, const std::string& newType);
  // A parameter of a type, which may be renamed with it: the two types may differ. The old type and parameter
  // are as the old text has them.
  void renameParameter(const std::string& oldType, const std::string& oldName, const std::string& newType,
                       const std::string& newName);
  // Its lines go.
  void dropParameter(const std::string& oldType, const std::string& oldName);
  // A value of a parameter, compared without its comment and the blanks at its ends.
  void renameValue(const std::string& type, const std::string& name, const std::string& oldValue,
                   const std::string& newValue);

  // Linear in the text, times the logarithm of the table.
  void operator()(std::vector<std::string>& lines, bool perBlock) const override;

 private:
  class Rewriter;
  using Names = std::map<std::string, std::string, std::less<>>;
  using TypeAndName = std::pair<std::string, std::string>;

  static void addTo(Names& table, const std::string& from, const std::string& to, const char* function);
  static std::string lastOf(const Names& table, std::string_view name);

  Names m_types;
  std::map<std::string, Names, std::less<>> m_parameters;  // by type; to "" for what is dropped
  std::map<TypeAndName, Names> m_values;
};

}  // namespace orv
