// One fault that waits for its occasion. Linked in, it also makes allocations fail on request.
#pragma once

namespace orv {

enum class FaultKind {
  allocation,
  setValue,
  initialize,
  update,
  calculation,
  link,
  load,
  notification,
  observer,
  action,
  step,
  file  // an operation of the C library
};

struct Trap {
  FaultKind kind = FaultKind::allocation;
  unsigned long left = 0;  // occasions until it happens; 0 is disarmed

  bool strikes(FaultKind occasion) { return left > 0 && kind == occasion && --left == 0; }
};
extern Trap trap;

// Throws a std::runtime_error when the trap strikes.
void failAt(FaultKind occasion);

}  // namespace orv
