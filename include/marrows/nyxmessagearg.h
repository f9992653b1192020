/* nyxMessageArg: one argument of an error push, a kind and a borrowed value. C++ only: the
 * library exports its class-static NullArg, which code uses to fill an unused tail of arguments. */
#ifndef MARROWS_NYXMESSAGEARG_H
#define MARROWS_NYXMESSAGEARG_H

#ifdef __cplusplus
#include <stdint.h>

#include "marrows_export.h"

class nyxString;
class nyxConstString;

class nyxMessageArg {
public:
    enum Kind : int32_t { kNull = 0, kText = 1, kSigned = 2, kUnsigned = 3 };

    int32_t kind;
    /* On a 64-bit host the value holds a pointer: the record is 16 bytes. */
    union {
        const char* text;
        int32_t number;
        uint32_t unumber;
    } value;

    nyxMessageArg() : kind(kNull) { value.text = 0; }
    nyxMessageArg(const char* text) : kind(kText) { value.text = text; }
    nyxMessageArg(int32_t number) : kind(kSigned) { value.text = 0; value.number = number; }
    nyxMessageArg(uint32_t number) : kind(kUnsigned) { value.text = 0; value.unumber = number; }
    /* Holds the string's c_str() at this moment: valid only while the string is unchanged. */
    nyxMessageArg(const nyxConstString& text);

    bool IsNull() const { return kind == kNull; }
    /* The argument as text: "%ld" for signed, "%lu" for unsigned, empty for null. */
    void ToString(nyxString& out) const;

    MARROWS_API static nyxMessageArg NullArg;
};
#endif

#endif
