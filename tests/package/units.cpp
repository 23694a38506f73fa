// A program of few includes that needs the library, and what the library needs.
#include <cstdio>
#include <orvksl/platform/ORVUnits.h>

int main()
{
  std::printf("%g\n", orv::Quantity(50, "cm").convertTo("m"));
}
