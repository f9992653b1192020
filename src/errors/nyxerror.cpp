// The error stack: one process-wide singly linked list of records, newest on top.
#include "nyxerror.h"

#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <new>

#include "nyxmessage.h"

namespace {
// Constant-initialised: pushes may happen from any static constructor.
nyxError* g_top = nullptr;

// The trace file of "MARW_ERROR_DEBUG_FILE": looked up once, then its value at every push.
enum class TraceState { kUnknown, kOff, kOn };
TraceState g_trace = TraceState::kUnknown;

const char* ModuleDebugText(int32_t module) {
    switch (module) {
        case NYX_MODULE_NONE: return "NYX_MODULE_NONE";
        case NYX_MODULE_MFTOOLKIT: return "NYX_MODULE_MFTOOLKIT";
        case NYX_MODULE_ORACLE: return "NYX_MODULE_ORACLE";
        case NYX_MODULE_MARROWFIN: return "NYX_MODULE_MARROWFIN";
        default: return "";
    }
}

const char* SeverityDebugText(int32_t severity) {
    switch (severity) {
        case NYX_SEVERITY_INFO: return "NYX_SEVERITY_INFO";
        case NYX_SEVERITY_WARNING: return "NYX_SEVERITY_WARNING";
        case NYX_SEVERITY_ERROR: return "NYX_SEVERITY_ERROR";
        case NYX_SEVERITY_FATAL: return "NYX_SEVERITY_FATAL";
        default: return "";
    }
}

const char* SeverityDumpText(int32_t severity) {
    switch (severity) {
        case NYX_SEVERITY_INFO: return "Information";
        case NYX_SEVERITY_WARNING: return "Warning";
        case NYX_SEVERITY_ERROR: return "Error";
        case NYX_SEVERITY_FATAL: return "Fatal";
        default: return "";
    }
}

// Writes the pushed record to the trace file; a file that can't be opened is passed over.
void TracePush(const nyxError* record) {
    if (g_trace == TraceState::kUnknown)
        g_trace = std::getenv("MARW_ERROR_DEBUG_FILE") ? TraceState::kOn : TraceState::kOff;
    if (g_trace == TraceState::kOff) return;
    const char* path = std::getenv("MARW_ERROR_DEBUG_FILE");
    if (path == nullptr) return;
    FILE* trace = std::fopen(path, "a");
    if (trace == nullptr) return;
    std::fprintf(trace,
                 "===========================================================\n"
                 "originator = %s\nseverity   = %s\nerror_code = %d\n",
                 ModuleDebugText(record->originator), SeverityDebugText(record->severity),
                 record->error_code);
    for (int32_t i = 0; i < record->argument_count; ++i)
        if (record->arguments[i] != nullptr) std::fprintf(trace, "%s\n", record->arguments[i]);
    std::fclose(trace);
}

void DestroyTop() {
    nyxError* record = g_top;
    g_top = record->previous;
    for (int32_t i = 0; i < record->argument_count; ++i) nyxStringFree(record->arguments[i]);
    delete[] record->arguments;
    nyxStringFree(record->message);
    delete record;
}
}  // namespace


nyxMessageArg::nyxMessageArg(const nyxConstString& text) : kind(kText) {
    value.text = text.c_str();
}

void nyxMessageArg::ToString(nyxString& out) const {
    char buffer[32];
    switch (kind) {
        case kText: out = value.text ? value.text : ""; break;
        case kSigned:
            std::snprintf(buffer, sizeof buffer, "%ld", static_cast<long>(value.number));
            out = buffer;
            break;
        case kUnsigned:
            std::snprintf(buffer, sizeof buffer, "%lu", static_cast<unsigned long>(value.unumber));
            out = buffer;
            break;
        default: out = ""; break;
    }
}

nyxError* nyxErrorPushStrings(int32_t module, int32_t code, int32_t severity, int32_t count,
                              const char* const* texts) {
    nyxError* record = new (std::nothrow) nyxError();
    if (record == nullptr) return nullptr;
    record->originator = module;
    record->error_code = code;
    record->severity = severity;
    record->message_number = code;
    record->argument_count = 0;
    record->arguments = nullptr;
    record->message = nullptr;
    if (count > 0 && texts != nullptr) {
        record->arguments = new (std::nothrow) char*[count];
        if (record->arguments == nullptr) {
            delete record;
            return nullptr;
        }
        for (int32_t i = 0; i < count; ++i) record->arguments[i] = nyxStrdup(texts[i]);
        record->argument_count = count;
    }
    record->previous = g_top;
    g_top = record;
    TracePush(record);
    return record;
}

nyxError* nyxErrorPushArgs(int32_t module, int32_t code, int32_t severity, const nyxMessageArg& a1,
                           const nyxMessageArg& a2, const nyxMessageArg& a3,
                           const nyxMessageArg& a4, const nyxMessageArg& a5,
                           const nyxMessageArg& a6, const nyxMessageArg& a7,
                           const nyxMessageArg& a8, const nyxMessageArg& a9) {
    const nyxMessageArg* args[9] = {&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8, &a9};
    // Arguments behind the first null one are not recorded.
    int32_t count = 0;
    while (count < 9 && !args[count]->IsNull()) ++count;
    nyxString texts[9];
    const char* pointers[9];
    for (int32_t i = 0; i < count; ++i) {
        args[i]->ToString(texts[i]);
        pointers[i] = texts[i].c_str();
    }
    return nyxErrorPushStrings(module, code, severity, count, pointers);
}

void nyxErrorPushInternal(const char* message, const char* sourcePath, int32_t line) {
    if (message == nullptr || message[0] == '\0')
        nyxErrorPushArgs(NYX_MODULE_MFTOOLKIT, 101, NYX_SEVERITY_FATAL, sourcePath, line);
    else
        nyxErrorPushArgs(NYX_MODULE_MFTOOLKIT, 101, NYX_SEVERITY_FATAL, message, sourcePath, line);
}

int32_t nyxErrorReport(int32_t code, const nyxMessageArg& a1, const nyxMessageArg& a2,
                       const nyxMessageArg& a3) {
    nyxErrorPushArgs(NYX_MODULE_MFTOOLKIT, code, NYX_SEVERITY_ERROR, a1, a2, a3);
    return code;
}

int32_t nyxErrorCurrentCode() { return g_top ? g_top->error_code : 0; }
bool nyxErrorStackEmpty() { return g_top == nullptr; }

nyxError* nyxErrorGetCurrent() { return g_top; }
nyxError* nyxErrorGetPrevious(nyxError* e) { return e->previous; }
int nyxErrorGetErrorCode(nyxError* e) { return e->error_code; }
int nyxErrorGetOriginator(nyxError* e) { return e->originator; }
int nyxErrorGetSeverity(nyxError* e) { return e->severity; }
int nyxErrorGetArgumentCount(nyxError* e) { return e->argument_count; }

const char* nyxErrorGetArgument(nyxError* e, int index) {
    if (index < 0 || index >= e->argument_count) return nullptr;
    return e->arguments[index];
}

const char* nyxErrorGetMessage(nyxError* e) {
    if (e->message == nullptr) {
        // Entries beyond the count render as empty texts but still count as present.
        nyxMessageArg args[9];
        for (int32_t i = 0; i < 9; ++i)
            args[i] = nyxMessageArg(i < e->argument_count ? e->arguments[i] : nullptr);
        nyxString text;
        if (nyxRenderMessage(e->originator, e->message_number, text, args[0], args[1], args[2],
                             args[3], args[4], args[5], args[6], args[7], args[8]))
            e->message = nyxStrdup(text.c_str());
    }
    return e->message;
}

void nyxErrorPop(nyxError* e) {
    while (g_top != nullptr) {
        bool last = g_top == e;
        DestroyTop();
        if (last) break;
    }
}

void nyxErrorClear() {
    while (g_top != nullptr) DestroyTop();
}

void nyxErrorDumpToString(nyxString& out) {
    if (g_top == nullptr) {
        out = "Error Stack: <empty>\n";
        return;
    }
    out = "Error Stack:\n";
    char number[64];
    for (nyxError* e = g_top; e != nullptr; e = e->previous) {
        out.Append(" ");
        const char* module = nyxModuleName(e->originator);
        if (module != nullptr) {
            std::snprintf(number, sizeof number, " error %d", e->error_code);
            out.Append(module).Append(number);
        } else {
            std::snprintf(number, sizeof number, "Error %d [module %d]", e->error_code,
                          e->originator);
            out.Append(number);
        }
        const char* severity = SeverityDumpText(e->severity);
        if (severity[0] != '\0') out.Append(" (").Append(severity).Append(")");
        const char* message = nyxErrorGetMessage(e);
        out.Append(": ").Append(message ? message : "<no message>").Append("\n");
        if (message != nullptr) continue;
        for (int32_t i = 0; i < e->argument_count; ++i) {
            std::snprintf(number, sizeof number, "  Argument %d: ", i + 1);
            out.Append(number).Append(e->arguments[i] ? e->arguments[i] : "<null>").Append("\n");
        }
    }
}

void nyxErrorDumpStack(FILE* stream) {
    nyxString text;
    nyxErrorDumpToString(text);
    if (stream == nullptr) stream = stderr;
    std::fprintf(stream, "%s", text.c_str());
    std::fflush(stream);
}
