// The classes of the library of which a session has one each.
#pragma once

namespace orv {

// Those that Session's parts do not own. One session at a time has them.
class Instances {
 public:
  // internal::error, class "Session", function "Session", "There is a session already."
  Instances();
  // Ends what is left: the objects, their types, and what they work with.
  ~Instances();
  Instances(const Instances&) = delete;
  Instances& operator=(const Instances&) = delete;

  // Makes them current on this thread while it lives.
  class Entered {
   public:
    explicit Entered(const Instances&) {}
    Entered(const Entered&) = delete;
    Entered& operator=(const Entered&) = delete;
  };
};

}  // namespace orv
