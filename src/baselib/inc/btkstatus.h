// btkStatus: the toolkit's result of a file-system operation, 1 for success. It isn't an
// error-stack code: callers that report a failure turn it into records of their own.
#pragma once

#include <cstdint>

typedef int32_t btkStatus;

constexpr btkStatus kBtkStatusSuccess = 1;
constexpr btkStatus kBtkStatusTrap = 4;
constexpr btkStatus kBtkStatusNoEntry = 5;

// The status texts as the toolkit stores them: 69 rows, 54 twice, no 41 or 42.
struct btkStatusText {
    btkStatus status;
    const char* text;
};
extern const btkStatusText btkStatusTexts[69];

// The status that an errno value stands for; 4 for one that isn't listed.
btkStatus btkStatusFromErrno(int error);
// The same for the calling thread's last error.
btkStatus btkStatusFromLastError();
