// Wide text: conversion from the process's multibyte code page, and the wildcard match that
// the directory iterator uses. The library never converts back from wide to multibyte.
//
// Also the remains of the toolkit's counted-buffer strings: a handle points at the first
// character of a text behind a 16-byte header whose first word is the reference count and whose
// second is the function that frees the buffer. The library keeps one static handle of each
// kind, null for the life of the process, and the routine that releases one.
#pragma once

#include <cstddef>
#include <cstdint>

// Bytes of the first multibyte character of `s`: 0 at the terminator, -1 for an invalid one.
int btkMbsCharLength(const char* s);
// The number of wide characters in `s`; 0 for an empty text or a value below 256. A byte that
// the current locale can't decode counts as one character of its own value.
size_t btkMbsWideLength(const char* s);
// A new heap copy of `s` in wide characters, terminated; null for null. The caller deletes it
// with delete[].
wchar_t* btkMbsToWide(const char* s);
// Converts at most `limit` wide characters into `target`, terminated when there is room; gives
// `target`.
wchar_t* btkMbsCopyToWide(wchar_t* target, const char* s, size_t limit);

// True when `pattern` matches the whole of `text`: `*` any run, `?` exactly one character,
// anything else itself, case-sensitive, with no escape.
bool btkWideMatch(const wchar_t* text, const wchar_t* pattern);

struct btkBufHeader {
    int32_t count;
    void (*free)(btkBufHeader* header);
};
static_assert(sizeof(btkBufHeader) <= 16, "a counted buffer's header is 16 bytes");
constexpr size_t kBtkBufHeaderBytes = 16;

inline btkBufHeader* btkBufHeaderOf(void* text) {
    return reinterpret_cast<btkBufHeader*>(static_cast<unsigned char*>(text) - kBtkBufHeaderBytes);
}

// Drops one reference to the buffer behind `*handle`, frees it with the last one, and clears
// the handle. A null handle does nothing.
void btkBufRelease(void** handle);

// The three process-wide numbers that, with the threading switch, decide whether a release
// takes the buffers' lock: the first isn't 0, or the second is above the third. All stay 0.
extern int32_t btkBufLockGate[3];

// A static counted-buffer handle; its destructor is the exit function that releases what it
// still holds.
template <typename Char>
class btkBufHandle {
public:
    Char* text = nullptr;

    btkBufHandle() = default;
    ~btkBufHandle() {
        if (text == nullptr) return;
        if (text[0] != 0) {
            btkBufRelease(reinterpret_cast<void**>(&text));
            if (text != nullptr) btkBufRelease(reinterpret_cast<void**>(&text));
        } else {
            text = nullptr;
        }
    }
    btkBufHandle(const btkBufHandle&) = delete;
    btkBufHandle& operator=(const btkBufHandle&) = delete;
};
