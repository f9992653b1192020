// What every export shares: the call frame guard, the check of a handle argument, and the ring
// from which computed texts are handed to clients without a release call.
#pragma once

#include <cstdint>
#include <cstdio>

// Held for the length of an export's body. Frames nest; the outermost export's name is kept.
// A frame has no effect on results or on the error stack.
class PDMCallFrame {
public:
    explicit PDMCallFrame(const char* exportName);
    ~PDMCallFrame();
    PDMCallFrame(const PDMCallFrame&) = delete;
    PDMCallFrame& operator=(const PDMCallFrame&) = delete;

    static uint32_t Depth();
    static const char* OutermostName();
};

// Copies the text into the next of 32 ring slots, freeing what the slot held; the copy stays
// valid for the next 31 calls. Null gives null and leaves the ring alone.
const char* PDMKeepString(const char* text);

// Pushes error 110 (export name, handle kind text) for a null handle; 0 or 110.
int32_t PDMCheckHandle(const void* handle, const char* exportName, const char* kindText);

// The result of form T: the code on top of the error stack, 0 when it is empty.
int32_t PDMResultT();

// Runs an integrity check whose findings go to standard output, and stores its boolean in
// `*found`. Form Z, but a check that couldn't read what it was to check (an error pushed on a
// stack that was empty) reports that error.
template <class Check>
int32_t PDMRunCheck(int* found, Check check) {
    const bool clean = PDMResultT() == 0;
    *found = check() ? 1 : 0;
    // The findings belong before whatever the client prints next.
    std::fflush(stdout);
    return clean ? PDMResultT() : 0;
}
