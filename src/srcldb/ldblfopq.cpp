#include "ldblfopq.h"

// No kind of local file operation is queued yet: a run of the empty queue has no entry that
// could fail, and its result is 0.
int32_t PDMc_LFOPQ::Commit() { return 0; }
int32_t PDMc_LFOPQ::Abort() { return 0; }
