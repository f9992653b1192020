// Message texts: per-module catalogues of formats with %1..%9 placeholders. The library installs
// no catalogue, so every lookup ends in the fallback text and records keep no rendered message.
#pragma once

#include <cstdint>

#include "marrows/nyxmessagearg.h"
#include "nyxstring.h"

class nyxMessageCatalog {
public:
    virtual ~nyxMessageCatalog() = default;
    virtual const char* GetModuleName() = 0;
    virtual bool GetMessage(int32_t number, nyxString& out) = 0;
};

// The catalogue of a module, or null when the registry has none for it.
nyxMessageCatalog* nyxFindCatalog(int32_t module);
// The display name of a module for the dump, or null when no catalogue names it.
const char* nyxModuleName(int32_t module);

// Composes the message; true only if a catalogue supplied the format. `out` is filled either way.
bool nyxRenderMessage(int32_t module, int32_t number, nyxString& out,
                      const nyxMessageArg& a1, const nyxMessageArg& a2, const nyxMessageArg& a3,
                      const nyxMessageArg& a4, const nyxMessageArg& a5, const nyxMessageArg& a6,
                      const nyxMessageArg& a7, const nyxMessageArg& a8, const nyxMessageArg& a9);

// Replaces %1..%9 by the texts (empty past `count` or for a null entry); always true.
bool nyxExpandMessage(const char* format, int32_t count, const char* const* texts, nyxString& out);
