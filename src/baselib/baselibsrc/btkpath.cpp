#include "btkpath.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <cwchar>

namespace {

// Steps through a text by multibyte characters. A byte that the locale can't decode counts as
// one character, so a name with a Latin-1 byte in the C locale isn't cut short. The locales in
// use have no shift states, and a separator is never part of a longer character in them.
class CharWalker {
public:
    explicit CharWalker(const char* text) : at(text) {}

    // The current character's bytes; 0 at the end of the text.
    size_t Length() const {
        if (*at == '\0') return 0;
        std::mbstate_t state = std::mbstate_t();
        size_t n = std::mbrlen(at, MB_CUR_MAX, &state);
        if (n == static_cast<size_t>(-1) || n == static_cast<size_t>(-2) || n == 0) return 1;
        return n;
    }
    const char* Position() const { return at; }
    // The current character if it is a single byte, otherwise 0.
    char Single() const { return Length() == 1 ? *at : '\0'; }
    void Next() { at += Length(); }
    bool AtEnd() const { return *at == '\0'; }

private:
    const char* at;
};

bool IsDriveLetter(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }

// Characters of the root of an absolute path: 1, 3, or 0 for a relative path.
size_t RootLength(const char* path) {
    CharWalker walk(path);
    char first = walk.Single();
    if (first == '/' || first == '|') return 1;
    if (first == '\0' || !IsDriveLetter(first)) return 0;
    walk.Next();
    if (walk.Single() != ':') return 0;
    walk.Next();
    char third = walk.Single();
    return third == '|' || third == '\\' ? 3 : 0;
}

void ConvertSeparators(char* target, const char* path, char separator) {
    CharWalker walk(path);
    while (!walk.AtEnd()) {
        size_t n = walk.Length();
        if (n == 1 && btkIsSeparator(*walk.Position())) {
            *target++ = separator;
        } else {
            std::memcpy(target, walk.Position(), n);
            target += n;
        }
        walk.Next();
    }
    *target = '\0';
}

}  // namespace

bool btkPathIsAbsolute(const char* path) { return RootLength(path) != 0; }

const char* btkPathSkipRoot(const char* path) { return path + RootLength(path); }

void btkPathToNative(char* target, const char* path) {
    ConvertSeparators(target, path, kBtkNativeSeparator);
}

void btkPathToPortable(const char* path, char* target) {
    ConvertSeparators(target, path, kBtkPortableSeparator);
}

void btkPathStripTrailing(char* path) {
    CharWalker walk(path);
    // In an absolute path the first run of separators stays, so that a root stays a root.
    const char* keep = path;
    if (btkPathIsAbsolute(path)) {
        while (!walk.AtEnd() && !btkIsSeparator(walk.Single())) walk.Next();
        while (!walk.AtEnd() && btkIsSeparator(walk.Single())) walk.Next();
        keep = walk.Position();
    }
    const char* runStart = nullptr;
    for (; !walk.AtEnd(); walk.Next()) {
        if (btkIsSeparator(walk.Single())) {
            if (runStart == nullptr) runStart = walk.Position();
        } else {
            runStart = nullptr;
        }
    }
    if (runStart != nullptr && runStart >= keep) path[runStart - path] = '\0';
}

void btkPathAppend(char* path, const char* part) {
    if (part == nullptr || *part == '\0') return;
    size_t partLength = std::strlen(part);
    if (*path == '\0') {
        if (partLength < kBtkPathSize) std::memcpy(path, part, partLength + 1);
        return;
    }
    size_t pathLength = std::strlen(path);
    if (pathLength + partLength + 2 >= kBtkPathSize) return;
    char last = '\0';
    for (CharWalker walk(path); !walk.AtEnd(); walk.Next()) last = walk.Single();
    if (last != '|') path[pathLength++] = '|';
    std::memcpy(path + pathLength, part, partLength + 1);
}

const char* btkPathLastSeparator(const char* path) {
    const char* last = nullptr;
    for (const char* at = path; *at != '\0'; ++at) {
        if (btkIsSeparator(*at)) last = at;
    }
    return last;
}

bool btkPathFileName(const char* path, char* name) {
    if (*path == '\0') return false;
    const char* separator = btkPathLastSeparator(path);
    const char* start = separator != nullptr ? separator + 1 : path;
    std::memmove(name, start, std::strlen(start) + 1);
    return true;
}
