// JSON, written.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// An object, member by member in the order given. What is no UTF-8 is replaced.
class JsonText {
 public:
  void add(std::string_view name, std::string_view value);
  void add(std::string_view name, const char* value) { add(name, std::string_view(value)); }
  void add(std::string_view name, std::size_t value);
  void add(std::string_view name, const JsonText& value) { addRaw(name, value.text()); }
  void add(std::string_view name, const std::vector<std::string>& values);
  void add(std::string_view name, const std::vector<JsonText>& values);
  // Nothing for an empty text or list, or 0.
  template <class Value>
  void addKnown(std::string_view name, const Value& value)
  {
    if (value != Value())
      add(name, value);
  }
  std::string text() const { return '{' + m_members + '}'; }

 private:
  void addRaw(std::string_view name, std::string_view value);
  std::string m_members;
};
