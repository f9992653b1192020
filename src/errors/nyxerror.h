// The process-wide error stack: every failure in the library is a record pushed here, and every
// export's result comes from its top. Nothing unwinds by itself; records stay until a client
// (or one of two internal points) removes them.
#pragma once

#include <cstdint>
#include <cstdio>

#include "marrows/marrows.h"
#include "marrows/nyxmessagearg.h"
#include "nyxstring.h"

enum nyxModule : int32_t {
    NYX_MODULE_NONE = 0,
    NYX_MODULE_MFTOOLKIT = 1,
    NYX_MODULE_ORACLE = 2,
    NYX_MODULE_MARROWFIN = 3,
};

enum nyxSeverity : int32_t {
    NYX_SEVERITY_INFO = 0,
    NYX_SEVERITY_WARNING = 1,
    NYX_SEVERITY_ERROR = 2,
    NYX_SEVERITY_FATAL = 3,
};

struct nyxError {
    int32_t originator;
    int32_t error_code;
    int32_t severity;
    int32_t message_number;
    int32_t argument_count;
    char** arguments;   // owned deep copies; an entry may be null
    char* message;      // rendered on first demand, owned
    nyxError* previous; // next older record
};

// The push that library code calls: the leading non-null arguments become the record's texts.
nyxError* nyxErrorPushArgs(int32_t module, int32_t code, int32_t severity,
                           const nyxMessageArg& a1 = nyxMessageArg::NullArg,
                           const nyxMessageArg& a2 = nyxMessageArg::NullArg,
                           const nyxMessageArg& a3 = nyxMessageArg::NullArg,
                           const nyxMessageArg& a4 = nyxMessageArg::NullArg,
                           const nyxMessageArg& a5 = nyxMessageArg::NullArg,
                           const nyxMessageArg& a6 = nyxMessageArg::NullArg,
                           const nyxMessageArg& a7 = nyxMessageArg::NullArg,
                           const nyxMessageArg& a8 = nyxMessageArg::NullArg,
                           const nyxMessageArg& a9 = nyxMessageArg::NullArg);

// Allocates the record and links it on top; null (stack unchanged) if memory ran out.
nyxError* nyxErrorPushStrings(int32_t module, int32_t code, int32_t severity, int32_t count,
                              const char* const* texts);

// A broken internal rule: code 101, severity 3, arguments message (if not empty), path, line.
void nyxErrorPushInternal(const char* message, const char* sourcePath, int32_t line);

// The code of the newest record, 0 on an empty stack.
int32_t nyxErrorCurrentCode();
bool nyxErrorStackEmpty();

// Shorthand for the usual push: module 1, severity 2. Returns the code.
int32_t nyxErrorReport(int32_t code,
                       const nyxMessageArg& a1 = nyxMessageArg::NullArg,
                       const nyxMessageArg& a2 = nyxMessageArg::NullArg,
                       const nyxMessageArg& a3 = nyxMessageArg::NullArg);

// Reports an internal failure at the caller's place and returns the code now on top.
#define NYX_INTERNAL_ERROR(message, sourcePath) \
    (nyxErrorPushInternal((message), (sourcePath), __LINE__), nyxErrorCurrentCode())

// The dump text of the whole stack, newest first.
void nyxErrorDumpToString(nyxString& out);
