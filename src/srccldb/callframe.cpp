#include "callframe.h"

#include "errors/nyxerror.h"
#include "nyxstring.h"

namespace {
// Constant-initialised process state: exports may run from a client's static constructors.
uint32_t g_depth = 0;
const char* g_outermost = nullptr;

constexpr uint32_t kRingSlots = 32;
char* g_ring[kRingSlots] = {};
uint32_t g_ring_index = 0;
}  // namespace

PDMCallFrame::PDMCallFrame(const char* exportName) {
    if (g_depth == 0) g_outermost = exportName;
    ++g_depth;
}

PDMCallFrame::~PDMCallFrame() {
    if (--g_depth == 0) g_outermost = nullptr;
}

uint32_t PDMCallFrame::Depth() { return g_depth; }
const char* PDMCallFrame::OutermostName() { return g_outermost; }

const char* PDMKeepString(const char* text) {
    if (text == nullptr) return nullptr;
    char* copy = nyxStrdup(text);
    nyxStringFree(g_ring[g_ring_index]);
    g_ring[g_ring_index] = copy;
    g_ring_index = (g_ring_index + 1) % kRingSlots;
    return copy;
}

int32_t PDMCheckHandle(const void* handle, const char* exportName, const char* kindText) {
    if (handle != nullptr) return 0;
    nyxErrorPushArgs(NYX_MODULE_MFTOOLKIT, 110, NYX_SEVERITY_ERROR, exportName, kindText);
    return 110;
}

int32_t PDMResultT() { return nyxErrorCurrentCode(); }
