// The library's load-time statics, in the one order they must be built: g++ constructs
// namespace-scope objects of one file in definition order and registers each destructor as it
// goes, so unload releases them newest first. Nothing else may run at load: no file is opened
// and no store is touched.
#include "marrows/nyxmessagearg.h"

// 1. The null message argument that fills the unused tail of an error push.
nyxMessageArg nyxMessageArg::NullArg;
