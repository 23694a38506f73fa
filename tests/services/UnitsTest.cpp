#include "platform/ORVApplicationSupport.h"
#include "database/ObjectDB.h"
#include "services/EngineUnitSystemHandler.h"
#include "services/PreferencesExecutorBase.h"
#include "services/UnitsKSLObject.h"
#include "tests/support/TestSystem.h"
#include "tests/support/thrown.h"

#include <gtest/gtest.h>
#include <memory>

namespace orv {
namespace {

std::string rules()
{
  std::string text =
      "RULES:\nKSLObjectClasses = DataKSLObject, UnitsKSLObject\n"
      "SINGLETON: UNITS\nKSLObject Class = UnitsKSLObject\nEssential Parameter List = Unit System\n"
      "Optional Parameter List = Variable Dimensions, Length, Pressure, Mass\nEND\n"
      "OBJECT: PLATE\nKSLObject Class = DataKSLObject\n"
      "Optional Parameter List = Width, Corner, Heat, Fill, Turn, Value, Variable, Name\nEND\n"
      "SINGLETON: FILE PROCESSING\nKSLObject Class = DataKSLObject\n"
      "Optional Parameter List = Processing Mode\nEND\nPARAMETER: Unit System\nDefault = SI\nEND\n";
  for (const char* name : {"Variable Dimensions", "Length", "Pressure", "Mass", "Width", "Corner", "Heat",
                           "Fill", "Turn", "Value", "Variable", "Name", "Processing Mode"})
    text.append("PARAMETER: ").append(name).append("\nEND\n");
  return text + "END";
}

const char* const plate =
    "PLATE: p\nWidth = 3048 [mm]\nCorner = 0 [ft], 1 [ft], 2 [ft]\nHeat = 3 [J m kg^-1 C^-1]\nFill = 50 [%]\n"
    "Turn = 180 [degree]\nVariable = Pressure\nValue = 2 [kPa]\nName = 3 [blob]\nEND\n";

class ViewerPreferences : public PreferencesExecutorBase {
 public:
  explicit ViewerPreferences(std::string* log) : m_log(log) {}

 protected:
  std::vector<std::string> viewerParams() const override { return {"Background", "Lights"}; }
  bool isViewerValueAllowed(const std::string& name, const std::string& value) const override
  {
    return name != "Lights" || value == "On" || value == "Off";
  }
  void applyViewerPreference(const std::string& name, const std::string& value) override
  {
    *m_log += name + "=" + value + ";";
  }

 private:
  std::string* m_log;
};

class ServicesUnits : public testing::Test {
 protected:
  ServicesUnits() { EngineUnitSystemHandler::instance(); }
  ~ServicesUnits() override
  {
    m_system.reset();
    EngineUnitSystemHandler::destroyInstance();
    Preferences::destroyInstance();
  }

  TestSystem& system() { return *m_system; }
  static EngineUnitSystemHandler& handler() { return *EngineUnitSystemHandler::instance(); }
  static const KSLObject* object(const char* path) { return ObjectDB::instance()->getObjectByPath(path); }
  static std::string shown(const char* name)
  {
    return object("/PLATE:p")->getParams(UnitSystemTypes::preferred, false).at(name);
  }
  void choose(const std::string& name) { system().run("UNITS:\n  Unit System = " + name + "\nEND"); }

 private:
  struct BaseType {
    BaseType() { UnitsKSLObject::registerBaseType(); }
  };
  BaseType m_baseType;
  std::unique_ptr<TestSystem> m_system = std::make_unique<TestSystem>(rules());
};

TEST_F(ServicesUnits, ASwitchChangesWhatIsShownAndNoText)
{
  system().run(plate);
  system().run("UNITS:\n  Variable Dimensions = Pressure=M L^-1 T^-2, Ratio=1\nEND");
  const std::string state = object("/PLATE:p")->getState(allParams);
  const std::string store = TestSystem::storeText(*system().text());
  const auto all = [] {
    return shown("Width") + "; " + shown("Corner") + "; " + shown("Heat") + "; " + shown("Fill") + "; "
           + shown("Turn") + "; " + shown("Value") + "; " + shown("Name");
  };
  EXPECT_EQ(all(), "3.048; 0,0.3048,0.6096; 3; 0.5; 3.141592653589793; 2000; 3 [blob]")
      << "without its sign a percentage is a pure number";
  choose("English");
  EXPECT_EQ(all(), "10; 0,1,2; 58.857777869147654; 0.5; 180; 0.2900754754604184; 3 [blob]");
  choose("CGS");
  EXPECT_EQ(shown("Width") + "; " + shown("Value"), "304.8; 20000");
  system().run("UNITS:\n  Unit System = Custom\n  Length = inch\n  Pressure = bar\nEND");
  EXPECT_EQ(shown("Width") + "; " + shown("Value"), "120; 0.02");
  system().run("PLATE: p\n  Width = 3048 [mm]\nEND");
  EXPECT_EQ(object("/PLATE:p")->getState(allParams), state);
  EXPECT_EQ(system().errors(), "");
  system().run("> delete /UNITS");
  EXPECT_EQ(TestSystem::storeText(*system().text()), store.substr(0, store.find("UNITS")));
}

TEST_F(ServicesUnits, UndoDeletionAndFailureBringTheFormerSystemBack)
{
  const auto current = [] { return handler().getCurrentUnitSystem(); };
  choose("English");
  choose("CGS");
  system().undo();
  EXPECT_EQ(current(), "English");
  system().run("> delete /UNITS");
  EXPECT_EQ(current(), "SI");
  system().undo();
  EXPECT_EQ(current(), "English");
  system().run("UNITS:\n  Unit System = CGS\nEND\nPLATE: p\n  Nonsense = 1\nEND");
  EXPECT_NE(system().errors(), "");
  EXPECT_EQ(current(), "English");
  system().undo();
  EXPECT_EQ(current(), "SI") << "the object is gone";
  system().redo();
  EXPECT_EQ(current(), "English");
}

// A second one, in another object: the last that was heard counts, and no other that goes.
TEST_F(ServicesUnits, OneOfTwoCounts)
{
  choose("English");
  system().run("PLATE: p\nUNITS:\nUnit System = CGS\nEND\nEND");
  system().actions().registerExecutor("preferences", std::make_unique<ViewerPreferences>(nullptr));
  system().run("> preferences Length Units=mm\n> delete /UNITS");
  EXPECT_EQ(object("/PLATE:p/UNITS")->getValue("Length"), "mm");
  EXPECT_EQ(handler().getCurrentUnitSystem(), "CGS");
  EXPECT_EQ(system().errors(), "");
}

TEST_F(ServicesUnits, ABadTextIsToldAndNothingIsLoaded)
{
  choose("English");
  const std::string state = system().state();
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"Unit System", "Metric", "The unit systems are SI, CGS, English, Custom."},
      {"Length", "s", "'s' are no units of the quantity 'Length'."},
      {"Pressure", "pa", "Units 'pa' are not recognized. 'pa' is a trillionth of an are; pascal is 'Pa'."},
      {"Variable Dimensions", "Speed", "Each item should have the format: name=dimension."},
  };
  for (const auto& [name, value, reason] : cases) {
    system().run(_("UNITS:\n  Mass = g\n  Unit System = Custom\n  %s = %s\nEND", name, value));
    EXPECT_EQ(
        system().errorList(),
        (std::vector<ErrorMsg>{
            {"UnitsKSLObject", "update",
             _("Parameter '%s' of object '/UNITS' cannot have value '%s'. %s", name, value, reason), 4}}));
    EXPECT_EQ(handler().getCurrentUnitSystem(), "English") << name << " = " << value;
    EXPECT_EQ(system().state(), state);
    system().expectConsistent();
  }
}

TEST_F(ServicesUnits, PreferredUnitsFollowDimensionsAndNames)
{
  system().run(
      "UNITS:\n  Unit System = English\n"
      "  Variable Dimensions = Torque=N m, Work=M L^2 T^-2, Heat=K, Spin=rev s^-1, "
      "Shear=T^-1, Ratio=1, Force=Pa, Plate=L L, Rate=T-1\nEND");
  ASSERT_EQ(system().errors(), "");
  const std::pair<const char*, const char*> variables[] = {
      {"Torque", "lbf ft"}, {"Work", "BTU"},  {"Heat", "F"},   {"Spin", "rev min^-1"}, {"Ratio", ""},
      {"Shear", "s^-1"},    {"Force", "psi"}, {"Unknown", ""}, {"Plate", "ft^2"},      {"Rate", "s^-1"}};
  for (const auto& [name, units] : variables)
    EXPECT_EQ(handler().getPreferredUnitsForVariable(name), units) << name;
  const std::tuple<const char*, const char*, const char*> units[] = {
      {"N m", "Torque", "lbf ft"}, {"N m", "Length", "BTU"}, {"%", "", ""},
      {"degree", "", "degree"},    {"m^0.5", "", "m^0.5"},   {"m kg K^-2", "", "lb ft degR^-2"},
      {"blob", "Length", "blob"},  {"J degree", "", "BTU"},  {"N m^-1 degree", "", "lb s^-2"}};
  for (const auto& [from, quantity, to] : units) {
    EXPECT_EQ(handler().getPreferredUnitsFromUnits(from, quantity), to) << from << " " << quantity;
    EXPECT_TRUE(!UnitsConverter::isValid(from) || UnitsConverter::areConvertible(from, to)) << to;
  }
  system().run("UNITS:\n  Unit System = Custom\n  Length = 2 m\nEND");
  EXPECT_EQ(handler().getPreferredUnitsFromUnits("m kg K^-2", ""), "kg (2 m) K^-2");
}

TEST_F(ServicesUnits, PreferencesAreOneUndoableStepAndKept)
{
  std::string log;
  system().actions().registerExecutor("preferences", std::make_unique<ViewerPreferences>(&log));
  system().run("> preferences Unit System = Custom, Background=dark red, Length Units=mm, Lights=On");
  EXPECT_EQ(system().errors(), "");
  EXPECT_EQ(handler().getPreferredUnitsForQuantity("Length"), "mm");
  EXPECT_EQ(log, "Background=dark red;Lights=On;");
  EXPECT_EQ(system().undoSteps().substr(0, 1), "1");
  const Preferences* saved = Preferences::instance();
  EXPECT_EQ(saved->getValue("Length Units") + saved->getValue("Background"), "mmdark red");
  system().undo();
  EXPECT_EQ(handler().getCurrentUnitSystem(), "SI");

  system().run(
      "FILE PROCESSING:\n  Processing Mode = Session\nEND\n> preferences Unit System=CGS, Lights=Off");
  EXPECT_EQ(handler().getCurrentUnitSystem(), "CGS");
  EXPECT_EQ(saved->getValue("Unit System") + saved->getValue("Lights"), "CustomOn")
      << "somebody else's session is no preference of this user";
}

TEST_F(ServicesUnits, PreferencesAreCheckedBeforeAnyIsApplied)
{
  std::string log;
  system().actions().registerExecutor("preferences", std::make_unique<ViewerPreferences>(&log));
  const std::pair<const char*, const char*> cases[] = {
      {"> preferences", "Action 'preferences' requires at least 1 argument(s). Received 0 argument(s)."},
      {"> preferences Lights=On, Background",
       "Syntax error: preferences parameters should have the format: param=value"},
      {"> preferences Unit System=CGS, Fog=On", "Invalid parameter in preferences: 'Fog'."},
      {"> preferences Background=red, Unit System=Metric", "Invalid parameter value: 'Metric'."},
      {"> preferences Unit System=CGS, Lights=Dim", "Invalid parameter value: 'Dim'."},
  };
  for (const auto& [line, message] : cases) {
    system().run(line);
    EXPECT_EQ(system().errorList(),
              (std::vector<ErrorMsg>{{"PreferencesExecutorBase", "invoke", message, 4}}))
        << line;
  }
  EXPECT_EQ(log, "");
  EXPECT_EQ(handler().getCurrentUnitSystem(), "SI");
  EXPECT_FALSE(Preferences::instance()->hasValue("Unit System"));
}

}  // namespace
}  // namespace orv
