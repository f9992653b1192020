// The error exports that clients call: push with text arguments, read a record as a plain
// structure, dump and clear the stack.
#include <cstdarg>
#include <new>

#include "errors/nyxerror.h"
#include "marrows/marrows.h"

namespace {
// The one array handed out by PDMErrorGetDetails; each call replaces it.
const char** g_details_arguments = nullptr;
}  // namespace

nyxError* nyxErrorPush(int module, int code, int severity, int count, ...) {
    const char* texts[9] = {};
    if (count > 9) count = 9;  // the contract allows nine; more would overrun the array
    va_list args;
    va_start(args, count);
    for (int i = 0; i < count; ++i) texts[i] = va_arg(args, const char*);
    va_end(args);
    return nyxErrorPushStrings(module, code, severity, count, texts);
}

int PDMErrorClearStack(void) {
    nyxErrorClear();
    return 0;
}

int PDMErrorDumpStack(FILE* stream) {
    nyxErrorDumpStack(stream);
    return 0;
}

int PDMErrorGetDetails(nyxError* error, PDMErrorDetails* details) {
    if (details == nullptr) return 0;
    delete[] g_details_arguments;
    g_details_arguments = nullptr;
    if (error == nullptr) {
        details->code = 0;
        details->severity = 0;
        details->argumentCount = 0;
        details->arguments = nullptr;
        return 0;
    }
    details->code = error->error_code;
    int32_t severity = error->severity;
    details->severity = (severity == NYX_SEVERITY_INFO || severity == NYX_SEVERITY_WARNING ||
                         severity == NYX_SEVERITY_FATAL) ? severity : NYX_SEVERITY_ERROR;
    details->argumentCount = error->argument_count;
    details->arguments = nullptr;
    if (error->argument_count > 0) {
        g_details_arguments = new (std::nothrow) const char*[error->argument_count];
        if (g_details_arguments != nullptr)
            for (int32_t i = 0; i < error->argument_count; ++i)
                g_details_arguments[i] = error->arguments[i];
        details->arguments = g_details_arguments;
    }
    return 0;
}
