// The base toolkit's load-time statics. All of them are defined in src/srccldb/statics.cpp, in
// the one order in which the library builds them at load.
#pragma once

#include "btkwidetext.h"
#include "dsblockarray.h"
#include "dsortmap.h"
#include "threadlib.h"

// Built at load and used by nothing else in the library.
extern dsTextSortedMap btkLoadTimeTextMap;
extern dsBlockArray btkLoadTimeWordArray;
extern dsBlockArray btkLoadTimePairArray;

// The counted-buffer handles, narrow and wide; null for the life of the process.
extern btkBufHandle<char> btkCSBufHandle;
extern btkBufHandle<wchar_t> btkWSBufHandle;

// Taken by btkFatalError for the read of the failure handler.
extern thrMutex btkFatalHandlerMutex;
// The thread library's own statics: its general mutex, the static guard's lock set, the guard,
// two spare mutexes and the lock of the counted buffers.
extern thrMutex thrLibraryMutex;
extern thrStaticsArray thrMTSafeStaticsArray;
extern thrMTSafeStaticsSet thrMTSafeStatics;
extern thrMutex thrSpareMutexA;
extern thrMutex thrSpareMutexB;
extern thrMutex btkBufMutex;
