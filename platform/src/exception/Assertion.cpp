#include "platform/ORVException.h"

#include <iostream>

namespace orv {

namespace {

void writeAssertion(std::string_view text, std::string_view source)
{
  std::cerr << "Assertion failed: " << text << " (" << source << ")" << std::endl;
}

AssertionHandler currentHandler = &writeAssertion;

}  // namespace

AssertionHandler setAssertionHandler(AssertionHandler handler) noexcept
{
  const AssertionHandler before = currentHandler;
  currentHandler = handler ? handler : &writeAssertion;
  return before;
}

void reportAssertion(std::string_view text, std::string_view source) noexcept
{
  try {
    currentHandler(text, source);
  } catch (...) {  // who tells of a broken assumption must not break more
  }
}

}  // namespace orv
