// Judging many values of one parameter.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace orv {

// What a validator is, too, that does not find out anew about a parameter for each of its values.
class ValueJudges {
 public:
  class Judge {
   public:
    virtual ~Judge() = default;
    // True of nearly all values that will do, at a glance; of others whyRefused is to be asked.
    virtual bool takes(const std::string&) { return false; }
    // As KSLValidator::whyRefused.
    virtual std::string whyRefused(const std::string& value) = 0;
  };

  // Good as long as the RULES stay what they are; null when no value is ever refused.
  virtual std::unique_ptr<Judge> judgeOf(std::string_view type, const std::string& param) const = 0;

 protected:
  ~ValueJudges() = default;
};

}  // namespace orv
