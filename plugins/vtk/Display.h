// A screen for those who have none.
#pragma once

namespace results {

// Makes sure that there is a display to paint for: without the environment's DISPLAY an Xvfb of our own, which ends with
// this library or this process, however that ends. Throws data::invalid when it cannot be started.
void needDisplay();
// Ends it, and waits until it has gone.
void endDisplay() noexcept;

}  // namespace results
