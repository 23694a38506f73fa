// The updates that are put into a text, on their way from its lines to who runs them.
#pragma once

#include "platform/ORVKSLAPI.h"

namespace orv {

// What an action handler is, too, that knows what such a line asks for without reading it.
class UpdateHandler {
 public:
  // In place of handleAction; returns as that does.
  virtual bool handleUpdate() = 0;

  // The type of the line, where it was put in.
  static constexpr KSLLines::Scanned putIn{-2, 0};
  static bool isPutIn(KSLLines::Scanned scanned) { return scanned.type == putIn.type; }

 protected:
  ~UpdateHandler() = default;
};

}  // namespace orv
