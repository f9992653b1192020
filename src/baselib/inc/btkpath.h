// Path texts of the toolkit.
//
// A path may use any of three separators: `|`, the portable form in which the library stores
// paths; `\`; and `/`. The native form, which goes to the system, uses the platform's own
// separator. A path lives in a 1024-byte buffer (btkPath); only btkPathAppend checks that a
// text fits. All functions except btkPathLastSeparator step through the text by multibyte
// characters of the current locale, where a byte that doesn't decode counts as a character of
// its own.
#pragma once

#include <cstddef>

constexpr size_t kBtkPathSize = 1024;
typedef char btkPath[kBtkPathSize];

constexpr char kBtkPortableSeparator = '|';
constexpr char kBtkNativeSeparator = '/';

inline bool btkIsSeparator(char c) { return c == '|' || c == '\\' || c == '/'; }

// True if the path opens with `/` or `|`, or with a letter, `:` and `|` or `\`.
bool btkPathIsAbsolute(const char* path);
// The position behind the root: one character for `/` or `|`, three for a drive, none otherwise.
const char* btkPathSkipRoot(const char* path);
// Copies `path` into `target` with every separator in the native form.
void btkPathToNative(char* target, const char* path);
// Copies `path` into `target` with every separator in the portable form `|`.
void btkPathToPortable(const char* path, char* target);
// Cuts the trailing run of separators; a root stays a root.
void btkPathStripTrailing(char* path);
// Adds `part` behind a `|`, unless the result would not be shorter than the buffer, in which case
// the path stays as it was.
void btkPathAppend(char* path, const char* part);
// The last separator of any kind, scanning bytes; null if there is none.
const char* btkPathLastSeparator(const char* path);
// What follows the last separator, or the whole path; false for an empty path.
bool btkPathFileName(const char* path, char* name);
