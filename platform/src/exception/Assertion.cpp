#include "platform/ORVException.h"
#include "platform/internal/ContextLocal.h"

#include <iostream>
#include <utility>

namespace orv {

namespace {

void writeAssertion(std::string_view text, std::string_view source)
{
  std::cerr << "Assertion failed: " << text << " (" << source << ")" << std::endl;
}

constinit ContextLocal<AssertionHandler> theHandler;  // null: writeAssertion

}  // namespace

AssertionHandler setAssertionHandler(AssertionHandler handler) noexcept
{
  const AssertionHandler before = std::exchange(*theHandler, handler);
  return before ? before : &writeAssertion;
}

void reportAssertion(std::string_view text, std::string_view source) noexcept
{
  try {
    const AssertionHandler handler = *theHandler;
    (handler ? handler : &writeAssertion)(text, source);
  } catch (...) {  // who tells of a broken assumption must not break more
  }
}

}  // namespace orv
