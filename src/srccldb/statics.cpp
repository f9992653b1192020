// The library's load-time statics, in the one order they must be built: g++ constructs
// namespace-scope objects of one file in definition order and registers each destructor as it
// goes, so unload releases them newest first. Nothing else may run at load: no file is opened
// and no store is touched.
#include <cstdint>
#include <cstring>
#include <new>

#include "btkarraymemmgr.h"
#include "btkblkobjmemmgr.h"
#include "btkmemmgr.h"
#include "btkstatics.h"
#include "marrows/marrows.h"
#include "marrows/nyxmessagearg.h"

namespace {
// Signed difference of the first words of two elements.
int CompareFirstWords(const void* first, const void* second) {
    int32_t a;
    int32_t b;
    std::memcpy(&a, first, sizeof a);
    std::memcpy(&b, second, sizeof b);
    return a - b;
}
}  // namespace

// 1. The null message argument that fills the unused tail of an error push.
nyxMessageArg nyxMessageArg::NullArg;

// 2. A text-keyed sorted map of the toolkit.
dsTextSortedMap btkLoadTimeTextMap;

// 3. The toolkit's settings, from the environment as the process found it.
baselibState theCTState = btkReadCTState();

// 4. The lock of the failure handler.
thrMutex btkFatalHandlerMutex;

// 5. The managers. They are never destroyed: what a client left in them goes with the process.
btkMemMgr* pArrayMemMgr = new (std::nothrow) btkArrayMemMgr;
btkMemMgr* pStringMemMgr = pArrayMemMgr;
btkMemMgr* pBlkObjMemMgr = new (std::nothrow) btkBlkObjMemMgr;
btkMemMgr* pDefMemMgr = new (std::nothrow) btkDefMemMgr;

// 6. Two small arrays of the toolkit.
dsBlockArray btkLoadTimeWordArray(4);
dsBlockArray btkLoadTimePairArray(8, CompareFirstWords);

// 7. The counted-buffer handles, narrow then wide.
btkBufHandle<char> btkCSBufHandle;
btkBufHandle<wchar_t> btkWSBufHandle;

// 8. The thread library's statics. The guard's lock set is built before the guard, so that the
// guard's report at exit still finds it.
thrMutex thrLibraryMutex;
thrStaticsArray thrMTSafeStaticsArray;
thrMTSafeStaticsSet thrMTSafeStatics;
thrMutex thrSpareMutexA;
thrMutex thrSpareMutexB;
thrMutex btkBufMutex;
