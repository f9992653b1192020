#include "nyxstring.h"

#include <cstring>
#include <istream>
#include <new>
#include <vector>

namespace {
// Constant-initialised, so it exists before any static constructor runs.
constexpr char kSharedEmpty[1] = "";

// A heap copy of `length` bytes plus a terminator; the shared empty text if memory ran out,
// since a nyxString may never hold null.
char* HeapCopy(const char* text, size_t length) {
    char* copy = new (std::nothrow) char[length + 1];
    if (copy == nullptr) return nullptr;
    if (length > 0) std::memcpy(copy, text, length);
    copy[length] = '\0';
    return copy;
}
}  // namespace

const char* nyxStringEmpty() { return kSharedEmpty; }

char* nyxStringDup(const char* text) {
    if (text != nullptr) {
        char* copy = HeapCopy(text, std::strlen(text));
        if (copy != nullptr) return copy;
    }
    return const_cast<char*>(kSharedEmpty);
}

char* nyxStrdup(const char* text) {
    if (text == nullptr) return nullptr;
    return HeapCopy(text, std::strlen(text));
}

char* nyxStringConcat(const char* first, const char* second) {
    size_t a = first ? std::strlen(first) : 0;
    size_t b = second ? std::strlen(second) : 0;
    char* out = new (std::nothrow) char[a + b + 1];
    if (out == nullptr) return const_cast<char*>(kSharedEmpty);
    if (a) std::memcpy(out, first, a);
    if (b) std::memcpy(out + a, second, b);
    out[a + b] = '\0';
    return out;
}

void nyxStringFree(char* text) {
    if (text != nullptr && text != kSharedEmpty) delete[] text;
}

nyxString::nyxString() : text(const_cast<char*>(kSharedEmpty)) {}
nyxString::nyxString(const char* t) : text(nyxStringDup(t)) {}
nyxString::nyxString(const nyxString& other) : nyxConstString(), text(nyxStringDup(other.text)) {}
nyxString::nyxString(nyxString&& other) noexcept : text(other.text) {
    other.text = const_cast<char*>(kSharedEmpty);
}
nyxString::~nyxString() { Clear(); }

nyxString& nyxString::operator=(const nyxString& other) {
    if (this == &other) return *this;
    Clear();
    text = nyxStringDup(other.text);
    return *this;
}

nyxString& nyxString::operator=(nyxString&& other) noexcept {
    if (this == &other) return *this;
    Clear();
    text = other.text;
    other.text = const_cast<char*>(kSharedEmpty);
    return *this;
}

nyxString& nyxString::operator=(const char* t) {
    // The argument may point into our own text: copy before releasing.
    char* copy = t ? nyxStringDup(t) : const_cast<char*>(kSharedEmpty);
    Clear();
    text = copy;
    return *this;
}

size_t nyxString::Length() const { return std::strlen(text); }

void nyxString::Clear() {
    if (text != kSharedEmpty) {
        delete[] text;
        text = const_cast<char*>(kSharedEmpty);
    }
}

nyxString& nyxString::Append(const char* more) {
    if (more == nullptr || more[0] == '\0') return *this;
    if (text == kSharedEmpty) {
        text = nyxStringDup(more);
    } else {
        char* joined = nyxStringConcat(text, more);
        delete[] text;
        text = joined;
    }
    return *this;
}

void nyxString::ReadFrom(std::istream& in) {
    std::vector<char> bytes;
    bytes.reserve(256);
    for (;;) {
        int c = in.get();
        if (c == std::char_traits<char>::eof() || c == 0) break;
        bytes.push_back(static_cast<char>(c));
    }
    Clear();
    text = HeapCopy(bytes.data(), bytes.size());
    if (text == nullptr) text = const_cast<char*>(kSharedEmpty);
}

bool nyxString::operator==(const nyxString& other) const {
    return std::strcmp(text, other.text) == 0;
}
