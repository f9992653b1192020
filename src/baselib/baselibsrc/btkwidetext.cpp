#include "btkwidetext.h"

#include <cstring>
#include <cwchar>
#include <new>

#include "btkstatics.h"
#include "threadlib.h"

char* btkCSBuf::emptyStringBuf = nullptr;
wchar_t* btkWSBuf::emptyStringBuf = nullptr;
btkOBSFunc* btkMBStrFunc::mbsMode = nullptr;

int32_t btkBufLockGate[3] = {0, 0, 0};

namespace {

// Texts are NUL-terminated, so no character is longer than what is left of the text; the bound
// only keeps the decoder from looking further than a character can reach.
constexpr size_t kCharBound = 0x1000000;

// Decodes the next character of `s` into `*out`: the bytes it takes, 0 at the terminator. A
// byte that the locale can't decode (the C locale refuses everything above 0x7F) stands for
// itself, so that a text always converts whole.
size_t NextWide(const char* s, wchar_t* out, std::mbstate_t* state) {
    size_t n = std::mbrtowc(out, s, kCharBound, state);
    if (n == static_cast<size_t>(-1) || n == static_cast<size_t>(-2)) {
        *state = std::mbstate_t();
        *out = static_cast<wchar_t>(static_cast<unsigned char>(*s));
        return 1;
    }
    return n;
}

// Converts up to `limit` characters into `target` (null: count only), terminating it when there
// is room. Gives the number of characters converted, terminator excluded.
size_t Convert(wchar_t* target, const char* s, size_t limit) {
    std::mbstate_t state = std::mbstate_t();
    size_t n = 0;
    while (n < limit) {
        wchar_t wide = 0;
        size_t used = NextWide(s, &wide, &state);
        if (target != nullptr) target[n] = wide;
        if (used == 0) return n;
        s += used;
        ++n;
    }
    return n;
}

bool IsTinyValue(const char* s) { return reinterpret_cast<uintptr_t>(s) < 256; }

}  // namespace

int btkMbsCharLength(const char* s) {
    std::mbstate_t state = std::mbstate_t();
    size_t n = std::mbrtowc(nullptr, s, kCharBound, &state);
    if (n == static_cast<size_t>(-1) || n == static_cast<size_t>(-2)) return -1;
    return static_cast<int>(n);
}

size_t btkMbsWideLength(const char* s) {
    if (IsTinyValue(s) || *s == '\0') return 0;
    return Convert(nullptr, s, kCharBound);
}

wchar_t* btkMbsToWide(const char* s) {
    if (s == nullptr) return nullptr;
    size_t length = btkMbsWideLength(s);
    auto* wide = new (std::nothrow) wchar_t[length + 1];
    if (wide == nullptr) return nullptr;
    wide[0] = L'\0';
    if (length > 0) Convert(wide, s, length + 1);
    return wide;
}

wchar_t* btkMbsCopyToWide(wchar_t* target, const char* s, size_t limit) {
    Convert(target, s, limit);
    return target;
}

bool btkWideMatch(const wchar_t* text, const wchar_t* pattern) {
    for (;; ++text, ++pattern) {
        wchar_t c = *pattern;
        if (c == L'*') break;
        if (c == L'?') {
            if (*text == L'\0') return false;
        } else {
            if (c != *text) return false;
            if (c == L'\0') return true;
        }
    }
    ++pattern;
    if (*pattern == L'\0') return true;
    // One level of recursion per star: the rest of the pattern is tried at every position.
    for (; *text != L'\0'; ++text) {
        if (btkWideMatch(text, pattern)) return true;
    }
    return false;
}

void btkBufRelease(void** handle) {
    if (*handle == nullptr) return;
    btkBufHeader* header = btkBufHeaderOf(*handle);
    if (header->count == 1) {
        header->free(header);
    } else {
        bool locked = btkBufLockGate[0] != 0 || btkBufLockGate[1] > btkBufLockGate[2];
        if (locked) btkBufMutex.Lock();
        if (header->count == 1) {
            header->free(header);
        } else {
            --header->count;
        }
        if (locked) btkBufMutex.Unlock();
    }
    *handle = nullptr;
}
