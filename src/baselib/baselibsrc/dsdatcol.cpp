#include "dsdatcol.h"

#include "btkmemmgr.h"

namespace {
constexpr const char* kSource = "baselib/inc/dsdatcol";
}  // namespace

bool dsDataMap::Add(dsWord, dsWord) {
    btkFatalError("dsDataMap::Add ()", kSource, 291);
    return false;
}

bool dsDataMap::Remove(dsWord) {
    btkFatalError("dsDataMap::Remove ()", kSource, 295);
    return false;
}

bool dsDataMap::Find(dsWord, dsWord*) const {
    btkFatalError("dsDataMap::Find ()", kSource, 299);
    return false;
}
