// The library's one reading of the wall clock. Tests that compare store files byte for byte pin
// it, as every stamp the model writes comes from here.
#pragma once

#include <cstdint>

namespace platform {

// Seconds since 1970, or the pinned value.
int64_t Now();
// Pins the clock at `seconds`; 0 lets it run again.
void PinClock(int64_t seconds);

}  // namespace platform
