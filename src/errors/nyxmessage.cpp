#include "nyxmessage.h"

#include <cstdio>
#include <cstring>
#include <cstdlib>
#include <cwchar>

namespace {
// The registry of catalogues by module value. Nothing in the library installs one.
nyxMessageCatalog** g_catalogs = nullptr;
int32_t g_catalog_count = 0;

// Length of the multibyte character at `p`; an invalid sequence counts as one byte.
size_t CharLength(const char* p) {
    std::mbstate_t state{};
    size_t n = std::mbrlen(p, MB_CUR_MAX, &state);
    if (n == static_cast<size_t>(-1) || n == static_cast<size_t>(-2) || n == 0) return 1;
    return n;
}
}  // namespace

nyxMessageCatalog* nyxFindCatalog(int32_t module) {
    if (g_catalogs == nullptr || module < 0 || module >= g_catalog_count) return nullptr;
    return g_catalogs[module];
}

const char* nyxModuleName(int32_t module) {
    nyxMessageCatalog* catalog = nyxFindCatalog(module);
    return catalog ? catalog->GetModuleName() : nullptr;
}

bool nyxExpandMessage(const char* format, int32_t count, const char* const* texts, nyxString& out) {
    // Output goes through a fixed buffer, flushed in 4095-byte pieces, so that only long
    // messages allocate more than once.
    char buffer[4096];
    size_t used = 0;
    out = "";
    auto put = [&](const char* bytes, size_t length) {
        while (length > 0) {
            size_t room = 4095 - used;
            size_t take = length < room ? length : room;
            std::memcpy(buffer + used, bytes, take);
            used += take;
            bytes += take;
            length -= take;
            if (used == 4095) {
                buffer[used] = '\0';
                out.Append(buffer);
                used = 0;
            }
        }
    };
    const char* p = format ? format : "";
    while (*p != '\0') {
        if (p[0] == '%' && p[1] >= '1' && p[1] <= '9') {
            int32_t index = p[1] - '1';
            const char* text = (index < count && texts != nullptr) ? texts[index] : nullptr;
            if (text != nullptr) put(text, std::strlen(text));
            p += 2;
            continue;
        }
        size_t length = CharLength(p);
        // A truncated multibyte sequence must not carry the walk past the terminator.
        size_t available = std::strlen(p);
        if (length > available) length = available;
        put(p, length);
        p += length;
    }
    buffer[used] = '\0';
    out.Append(buffer);
    return true;
}

bool nyxRenderMessage(int32_t module, int32_t number, nyxString& out,
                      const nyxMessageArg& a1, const nyxMessageArg& a2, const nyxMessageArg& a3,
                      const nyxMessageArg& a4, const nyxMessageArg& a5, const nyxMessageArg& a6,
                      const nyxMessageArg& a7, const nyxMessageArg& a8, const nyxMessageArg& a9) {
    const nyxMessageArg* args[9] = {&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8, &a9};
    // Unlike the push, null arguments in the middle are skipped and the rest packed together.
    nyxString texts[9];
    const char* packed[9];
    int32_t count = 0;
    for (const nyxMessageArg* arg : args) {
        if (arg->IsNull()) continue;
        arg->ToString(texts[count]);
        packed[count] = texts[count].c_str();
        ++count;
    }
    nyxString format;
    nyxMessageCatalog* catalog = nyxFindCatalog(module);
    bool found = catalog != nullptr && catalog->GetMessage(number, format);
    if (!found) {
        char piece[64];
        std::snprintf(piece, sizeof piece, "<no message available> (module %d, message %d)",
                      module, number);
        format = piece;
        if (count > 0) {
            format.Append(" [");
            for (int32_t i = 0; i < count; ++i) {
                std::snprintf(piece, sizeof piece, "%s\"%%%d\"", i == 0 ? "" : ", ", i + 1);
                format.Append(piece);
            }
            format.Append("]");
        }
    }
    bool expanded = nyxExpandMessage(format.c_str(), count, packed, out);
    return found && expanded;
}
