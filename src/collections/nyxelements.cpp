#include "collections/nyxelements.h"

int32_t nyxTextCompare(const char* a, const char* b) {
    if (a == b) return 0;
    if (a == nullptr) return -1;
    if (b == nullptr) return 1;
    // strcmp compares as unsigned char, which is the byte order the stored maps rely on.
    int c = strcmp(a, b);
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
}

bool nyxTextEqual(const char* a, const char* b) {
    if (a == b) return true;
    if (a == nullptr || b == nullptr) return false;
    return strcmp(a, b) == 0;
}
