// When the changes of a command text reach the typed objects.
#pragma once

namespace orv {

enum kslUpdateMode {
  // Once, at the end of the text (and before and after each action).
  kslUpdateAtEnd = 0,
  // As the enclosing text does; outermost: after each top-level block, whose END lines are counted.
  kslUpdateDefault = 1,
  // Once, at the end, without running the objects' actions; new objects are not made.
  kslUpdateNoAction = 2
};

}  // namespace orv
