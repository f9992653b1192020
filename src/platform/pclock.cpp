#include "platform/pclock.h"

#include <ctime>

namespace {
int64_t g_pinned = 0;
}

namespace platform {

int64_t Now() { return g_pinned != 0 ? g_pinned : static_cast<int64_t>(std::time(nullptr)); }

void PinClock(int64_t seconds) { g_pinned = seconds; }

}  // namespace platform
