// Stores full of objects for the recovery and compaction tests: object graphs of many classes
// with every kind of member filled, and the logical listing by which two stores are compared.
//
// The listing names objects by the order in which a walk from the root meets them, never by
// address, so a store and its compacted copy list the same; it shows every member of every
// reachable object, so any lost or half-written change shows up in it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "srcldb/ldbobject.h"
#include "srcldb/ldbstglayout.h"
#include "srcldb/ldbstore.h"

namespace storegraph {

// The layout with both schemas, built once.
const LDBStorageLayout& Layout();

// Stores with that layout; null after a failure.
LDBStore* Create(const std::string& path);
LDBStore* Connect(const std::string& path);

// The classes that the graphs are made of, in the order they are used.
const std::vector<uint8_t>& GraphClasses();

// A new object of the class, on the store's modified list; null for a class not made here.
PDMc_LDBObject* NewObject(LDBStore* store, uint8_t typeCode);

// Sets every member of the object to a value derived from seed: references to objects picked
// from targets (or null), strings, lists and maps of a few elements, sometimes empty. Marks the
// object modified first.
void FillMembers(PDMc_LDBObject* object, uint32_t seed,
                 const std::vector<PDMc_LDBObject*>& targets);

// Makes count new objects of the graph classes in turn, the first one the root, and fills them
// so that they refer to each other. Inside a transaction.
std::vector<PDMc_LDBObject*> AddGraph(LDBStore* store, uint32_t seed, int count);

// A change of a stored graph: every third object the root reaches gets new values, and some
// of them refer to a handful of new objects. Inside a transaction.
void ChangeGraph(LDBStore* store, uint32_t seed);
// Connects, changes the graph and commits; 0 when all of it worked.
int CommitChange(const std::string& path, uint32_t seed);

// A new store file holding one graph of count objects, committed; 0 when all of it worked.
int MakeGraphStore(const std::string& path, uint32_t seed, int count);

// The objects that the root reaches, in the order of the listing. Inside a transaction.
std::vector<PDMc_LDBObject*> Reachable(LDBStore* store);

// The listing of a store that is in a transaction; empty with the reason in failure when an
// object can't be loaded.
std::string ListObjects(LDBStore* store, std::string* failure);

// Connects to the file (which repairs it), lists it in a transaction of its own and lets go
// of the file again. Empty with the reason in failure when any step fails.
std::string ListFile(const std::string& path, std::string* failure);

// What is wrong with the file's header as it lies on disk, or empty when it is clean.
std::string HeaderProblem(const std::string& path);

}  // namespace storegraph
