// Values that come again and again.
#pragma once

#include "platform/ORVUtilities.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace orv::store {

// While a text is read, remembers short values that it has given, so that objects share them. Which parameters it pays for
// is found out as they come: those whose values are nearly all different (coordinates, descriptions) are looked up now and
// then only.
class Values {
 public:
  // The text of a value of the parameter.
  SharedText share(const SharedText& param, std::string_view value)
  {
    if (!m_known && !begin())
      return SharedText(value);
    Trial& trial = m_known->trials[param.hash() % trialCount];
    if (trial.pause == 0)
      return find(trial, value);
    --trial.pause;
    return SharedText(value);
  }

 private:
  static constexpr std::size_t slots = 2048;
  static constexpr std::size_t trialCount = 64;
  // Of the parameters with one hash.
  struct Trial {
    std::uint16_t pause = 0;  // so many values are not looked up
    std::uint8_t asked = 0;
    std::uint8_t known = 0;
  };
  struct Known {
    std::array<SharedText, slots> texts;
    std::array<Trial, trialCount> trials;
  };
  static std::size_t slotOf(std::string_view value) noexcept;
  bool begin();
  SharedText find(Trial& trial, std::string_view value);

  std::unique_ptr<Known> m_known;  // null at the beginning: most texts are short
  std::size_t m_given = 0;         // before
};

}  // namespace orv::store
