// The object through which people choose their units.
#pragma once

#include "rules/GenericKSLObject.h"
#include "services/EngineUnitSystemHandler.h"

namespace orv {

// What its parameters say is loaded into the EngineUnitSystemHandler at each update:
//
//   Unit System          "SI", "CGS", "English" or "Custom"
//   Variable Dimensions  a list of "name = dimension"; a dimension as EngineUnitSystemHandler::parseDimensions
//                        reads it
//   a quantity's name    its units in the system "Custom"; empty for those of SI
//
// The rules of a type say which of these it has. All are checked before any is loaded, also units of a system
// that is not chosen; so a failed update leaves the handler as it was, and going back, which updates again,
// restores it. The end of the object whose settings are in force brings SI back.
//
// Failures are data::invalid, class "UnitsKSLObject", type 4.
class ORV_API UnitsKSLObject : public GenericKSLObject {
 public:
  UnitsKSLObject();
  ~UnitsKSLObject() override;

  // Registers a fresh object as base type "UnitsKSLObject". For the host, before the RULES are processed.
  static void registerBaseType();
  // The path of the object whose settings are in force; without one, of a top-level object of this class, or
  // the one that a block at the top level would make. Empty when no type is of this class. Types are named by
  // the RULES. O(types) at worst.
  static std::string findPath();

  KSLObject* clone() const override;
  // function "update", "Parameter '%s' of object '%s' cannot have value '%s'. %s": the reason at the end. Then
  // what GenericKSLObject::update throws.
  void update() override;

 private:
  EngineUnitSystemHandler::Settings readSettings() const;
};

}  // namespace orv
