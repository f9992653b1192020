#include "collections/nyxkeyed.h"

void nyxKeyedCollection::AssignPairs(nyxKeyedCollection& other) {
    if (&other == this) return;
    Clear();
    InsertPairs(other);
}

void nyxKeyedCollection::InsertPairs(nyxKeyedCollection& other) {
    if (&other == this) return;
    // Present keys are refused one by one; the rest still go in.
    for (void* entry = other.FirstEntry(nullptr); entry != nullptr; entry = other.FirstEntry(entry))
        PutValue(other.KeyOfEntry(entry), other.ValueOfEntry(entry));
}
