// Which units people want to see.
#pragma once

#include "platform/ORVUnits.h"
#include "platform/ORVUtilities.h"

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv {

class KSLObject;

// The unit system of the application: a unit for each quantity, in one of the systems "SI", "CGS", "English"
// and "Custom", and the dimensions of variables. A UnitsKSLObject loads it; without one it is plain SI.
//
// It decides how numbers are shown and never touches a stored value. Observers hear of every change of it,
// once it is made; what they throw comes to whoever made the change, which stands.
class ORV_API EngineUnitSystemHandler final : public UnitSystemHandler, public ObserverSubject {
 public:
  enum Notification { systemChanged = 0 };

  struct Settings {
    std::string system = "SI";
    std::map<std::string, std::string> customUnits;  // of quantities, for "Custom"; the others have SI units
    std::map<std::string, UnitDimensions::Exponents> variables;
    bool operator==(const Settings& other) const
    {
      return system == other.system && customUnits == other.customUnits && variables == other.variables;
    }
  };

  // The first call makes it and puts it in force as UnitSystemHandler::current(): hosts call it at start-up.
  static EngineUnitSystemHandler* instance();
  // Puts the base handler back in force when this one is. Observers are forgotten.
  static void destroyInstance();
  // Null when there is none.
  static EngineUnitSystemHandler* existing() noexcept;

  static const std::vector<std::string>& getUnitSystemNames();
  // All quantities that have units of their own; docs/units.md lists them.
  static std::vector<std::string> getQuantityNames();
  // Null when the units may stand for the quantity; else why not, as part of a sentence. Of the empty text,
  // which is "as in SI", too.
  static std::string whyNoUnitsOf(const std::string& quantity, const std::string& units);
  // Of "M L^-1 T^-2" (mass, length, time and temperature, the letters M, L, T and K), or of any units ("Pa").
  // A text of these four letters alone is always of the first form: "T" is a time, not tesla. data::invalid
  // as UnitDimensions throws it.
  static UnitDimensions parseDimensions(const std::string& text);

  const std::string& getCurrentUnitSystem() const { return m_settings.system; }

  // Empty for an unknown one.
  std::string getPreferredUnitsForQuantity(const std::string& quantity) const override;
  // Empty for a variable whose dimensions nobody gave, and for a pure number: values are left alone then.
  // The name of a variable that is also one of a quantity settles which one of equal dimension it is.
  std::string getPreferredUnitsForVariable(const std::string& variable) const override;
  // Units of the quantity when it has the dimensions of `units`; else of the first quantity of these
  // dimensions; else a product of base units, empty for a pure number. Units that are none come back as they
  // are. What was asked for without a quantity is kept until the next load().
  std::string getPreferredUnitsFromUnits(const std::string& units,
                                         const std::string& quantity) const override;

  // Puts settings in force, on behalf of `source`, which releases them before it ends. Equal settings are no
  // change.
  // REQUIRES: checked settings. Costs the settings and what observers do.
  void load(Settings settings, const KSLObject* source);
  // Back to SI when the settings in force are from this source.
  void release(const KSLObject* source);
  // Of the last load(); null without one.
  const KSLObject* getSource() const { return m_source; }

 private:
  EngineUnitSystemHandler();
  ~EngineUnitSystemHandler() override;

  std::string unitsOf(const UnitDimensions& dimensions, std::string_view hint) const;
  std::string productOf(const UnitDimensions& dimensions) const;
  void put(Settings settings, const KSLObject* source);

  Settings m_settings;
  std::vector<std::string> m_units;                                   // in the order of the quantities
  const KSLObject* m_source = nullptr;                                // not owned
  mutable std::map<std::string, std::string, std::less<>> m_answers;  // emptied when it is full
};

}  // namespace orv
