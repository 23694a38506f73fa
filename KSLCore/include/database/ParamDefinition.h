// One parameter of one object: its value as KSL text, and what its type says about it.
#pragma once

#include "platform/ORVExport.h"
#include "platform/ORVExpressions.h"
#include "platform/ORVUnits.h"
#include "platform/ORVUtilities.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv {

// A value is kept as text only, which it shares with the text store; every typed read parses it anew. The description is
// shared by all copies, so that a parameter costs little more than its text: there are millions of them.
//
// All failures are data::invalid of type 4, class "ParamDefinition", unless stated otherwise; a call that
// throws leaves the parameter as it was. Reads cost what the text is long.
class ORV_API ParamDefinition final {
 public:
  // What the RULES say about a parameter. Filled once, then shared and never changed; freed with its last
  // holder.
  struct ORV_API Rules : rcount_base {
    std::string name;
    std::string type;  // "Parameter Type"
    std::string defaultValue;
    std::set<std::string> allowedValues;  // "Allowed String List"; empty allows every text
    std::vector<std::string>
        allowedInOrder;      // the same as written, doubles included: the first may be the default
    std::string localType;   // scheduler of this object that a change marks; may be empty
    std::string remoteType;  // scheduler of the object referred to; empty: not a reference
    std::string remotePath;  // where references are looked up
    std::string category;    // "Parameter Category"
    std::map<std::string, std::string, std::less<>> extraStrings;
    std::map<std::string, std::vector<std::string>, std::less<>> extraLists;
    bool remoteOptional = false;  // "Remote Optional": a text that names no object stands for itself

    // Replaces both forms of the allowed values.
    void setAllowedValues(std::vector<std::string> asWritten);
  };

  enum ExtraRuleType { textRule = 0, listRule = 1 };

  // Hears of every change of one parameter. Not owned by the parameter.
  class ORV_API NotifyChange {
   public:
    virtual ~NotifyChange();
    // After the parameter was set or unset. What this throws undoes that change and passes on to its caller.
    virtual void paramChanged(ParamDefinition* param) = 0;
  };

  ParamDefinition();  // no value, rules of its own that say nothing
  // Rules of its own; the value starts as the default. Mind the order.
  ParamDefinition(std::string name, std::string localType, std::string remoteType, std::string type,
                  std::string defaultValue, std::string category);
  // Shares the rules; the value starts as their default. Null throws internal::nullPointer, function
  // "ParamDefinition", "Input parameter p_rules is a null pointer.".
  explicit ParamDefinition(refcnt_ptr<const Rules> rules);
  // Shares the rules and takes over the value and the internal flag. The copy has no observer and counts as
  // neither set nor changed: these belong to the place of the original in its object.
  ParamDefinition(const ParamDefinition& other);
  ParamDefinition& operator=(const ParamDefinition&) = delete;
  ~ParamDefinition() = default;
  // There are millions: each takes its 32 bytes and no more.
  static void* operator new(std::size_t size);
  static void operator delete(void* memory) noexcept;

  // A copy of its own, as the copy constructor makes it.
  std::unique_ptr<ParamDefinition> clone() const;

  // ---- Description (constant)

  const std::string& getName() const { return m_rules->name; }
  const std::string& getType() const { return m_rules->type; }
  bool typeIs(std::string_view type) const { return m_rules->type == type; }
  const std::string& getDefaultValue() const { return m_rules->defaultValue; }
  const std::string& getCategory() const { return m_rules->category; }
  bool categoryIs(std::string_view category) const { return m_rules->category == category; }
  const std::string& getLocalType() const { return m_rules->localType; }
  const std::string& getRemoteType() const { return m_rules->remoteType; }
  const std::string& getRemotePath() const { return m_rules->remotePath; }
  const std::set<std::string>& getAllowedValues() const { return m_rules->allowedValues; }
  // Always empty, on purpose: units stand in the value, parameters have none of their own.
  std::string getUnits() const { return {}; }
  bool hasExtraRule(std::string_view name, ExtraRuleType kind) const;
  // Empty when there is no such rule. The reference lives as long as the rules.
  const std::string& getExtraRulesString(std::string_view name) const;
  const std::vector<std::string>& getExtraRulesStrList(std::string_view name) const;
  const refcnt_ptr<const Rules>& getRules() const { return m_rules; }
  // Whether names in its text stand for values. Who is no expression refers to objects, if to anything.
  bool isExpression() const;
  // Types whose values are numbers, which expressions may give.
  static bool isNumberType(std::string_view type) noexcept;
  // Whether its text may name objects or use names.
  bool mayName() const;

  // ---- Value

  // The value as stored; the reference holds until the next setValue.
  const std::string& getValue() const { return m_value.str(); }
  const SharedText& getShared() const { return m_value; }
  // With `convert` false and no units: the value as stored. Otherwise each list element that is a quantity
  // becomes its bare number: in `units`, or when that is empty in the units preferred by the unit system in
  // force for its own units, or when it prefers none in its own. Other elements stay; several are joined with
  // ",". Units given convert even with `convert` false. The units are dropped from the text, so never write
  // the result back. `difference` leaves the offsets of temperature scales out. Throws what UnitsConverter
  // throws; who wants such a value as it is stored takes getValue() then.
  std::string getValue(bool convert, const std::string& units, bool difference = false) const;

  // Replaces the value, marks the parameter as set and changed, tells the observer and returns the previous
  // text. The same text again is a change like any other, on purpose. Throws as requireAllowed; what the
  // observer throws puts value and flags back and passes on.
  std::string setValue(std::string text);
  // The same for a text that others share.
  void setShared(SharedText text);
  // The same for one of which requireAllowed was asked.
  void setAllowed(SharedText text);
  // Function "setValue", "Parameter '%s' cannot have value '%s'.", when the value is not allowed.
  void requireAllowed(const std::string& text) const;

  // True when no values are listed, or the whole text is one of them; for type "String List" when each
  // element is (no elements at all are allowed).
  bool isAllowedValue(const std::string& text) const;

  // List elements as StringUtilities::splitValue cuts them.
  std::vector<std::string> splitValue() const { return splitValue(getValue()); }
  static std::vector<std::string> splitValue(std::string_view text);
  // As StringUtilities::splitNameValue.
  static std::pair<std::string, std::string> splitNameValue(std::string_view text);
  // Name to value of texts "name = value"; of a name that comes twice the first value stays.
  static std::map<std::string, std::string> createNameValueMap(const std::vector<std::string>& texts);

  // ---- Typed reads
  //
  // A quantity is a finite number, optionally followed by units in brackets; whatever else is handed to the
  // expression evaluator, and what that throws passes on. Numbers follow no locale. A number too big for the
  // type asked for: "Value '%s' of parameter '%s' is out of range.", function as stated for the read.

  // Truncated toward zero. Function "getIntValueInternal": "No value for parameter %s."; function
  // "getIntValue": "Integer parameter value %s must be Dimensionless.", and out of range.
  int getIntValue() const;
  // No elements for an empty value, else each read as getIntValue does.
  std::vector<int> getIntArray() const;

  // Function "getQuantityValueInternal": "Value for parameter '%s' is empty.", and out of range.
  Quantity getQuantityValue() const;
  // The number as written, or in the units given (empty: as written), narrowed to float. Errors as
  // getQuantityValue and UnitsConverter; out of the range of float: function "getFloatValue".
  float getFloatValue() const { return getFloatValue({}); }
  float getFloatValue(const std::string& units) const;
  // Each element read as getFloatValue does. An empty value is an error, as there.
  std::vector<float> getFloatArray() const { return getFloatArray({}); }
  std::vector<float> getFloatArray(const std::string& units) const;
  // The same in full precision.
  std::vector<double> getRealArray(const std::string& units) const;
  // Function "getTripletValue": "Parameter %s must have exactly three values.".
  TripletBase<float> getTripletValue() const { return getTripletValue({}); }
  TripletBase<float> getTripletValue(const std::string& units) const;
  TripletBase<double> getPointValue(const std::string& units) const;  // the same in full precision

  // The value, or another text, as StringUtilities::isTrue reads it. Function "getBoolValue": "Parameter '%s'
  // (of type boolean) cannot have value '%s'.".
  bool getBoolValue() const { return getBoolValue(getValue()); }
  bool getBoolValue(const std::string& text) const;

  ExpressionDef getExpression() const { return ExpressionDef(getValue()); }
  std::vector<ExpressionDef> getExpressionArray() const;  // one for each list element

  // True when every list element is a quantity as it stands; so for an empty value.
  bool isPureNumeric() const;

  // ---- Flags and observer

  // Internal parameters belong to the program, not to the user: they are no part of the text a user sees.
  bool isInternal() const { return m_internal; }
  void setInternal(bool internal) { m_internal = internal; }
  // True from setValue until unset.
  bool hasBeenSet() const { return m_hasBeenSet; }
  // The parameter no longer counts as set and the observer is told; the value text stays, and so does the
  // mark of change. What the observer throws puts the flag back and passes on.
  void unset();
  bool isChanged() const { return m_changed; }
  void setChanged() { m_changed = true; }
  void clearChanged() { m_changed = false; }

  // Value and flags, for a change of several steps that may have to be taken back.
  struct State {
    SharedText value;
    bool hasBeenSet = false;
    bool changed = false;
    bool operator==(const State& other) const
    {
      return value == other.value && hasBeenSet == other.hasBeenSet && changed == other.changed;
    }
  };
  State getState() const { return {m_value, m_hasBeenSet, m_changed}; }
  // Puts a state back, also a value that is not allowed, and tells the observer, which has heard of the steps;
  // what it throws then has no one to go to. Nothing when nothing differs.
  void restore(State state) noexcept;

  // At most one observer, not owned; null takes it away. A second one throws internal::error, function
  // "setNotifyChange", "Attempt to register NotifyChange when one is already registered.".
  void setNotifyChange(NotifyChange* observer);

 private:
  friend class ParamSet;
  int readInt(const std::string& text) const;
  Quantity readQuantity(const std::string& text) const;
  float readFloat(const std::string& text, const std::string& units) const;
  std::string convertedElement(const std::string& text, const std::string& units, bool difference) const;
  data::invalid refusal(const std::string& text) const;
  void requireTriplet(std::size_t count) const;
  [[noreturn]] void throwOutOfRange(const char* function, const std::string& text) const;
  void notify();

  SharedText m_value;
  refcnt_ptr<const Rules> m_rules;         // never null
  NotifyChange* m_notifyChange = nullptr;  // not owned
  bool m_internal = false;
  bool m_hasBeenSet = false;
  bool m_changed = false;
  std::uint32_t m_slot = 0;  // in the layout of the object's parameters; the ParamSet's
};

}  // namespace orv
