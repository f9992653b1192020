// The upgrade of a store file of an older format to the current one, in place. Every object
// that the root reaches is read by the descriptor of its old class version into named values
// (ldbupgobj.h), brought up to the current class version by the fix-ups, and written by its
// current descriptor into a shadow store at the tail of the file; the shadow then becomes the
// content of the file in one recoverable step. Dead bytes and unreachable objects fall away.
//
// An object's fixed part gets its address before anything that it points to is followed, so
// cycles end and a parent stands before its children in the new file; its members are written
// as the walk comes back from them. Every reachable object is written exactly once.
//
// The crash story: before the walk, the file is extended and its header names a top twice the
// old one, so that the shadow lies far enough out for its copy to the front never to reach the
// shadow's own header; an old file with a larger top is still an old file, and upgrades. Until
// CommitShadow marks the header the file is that old store with a tail that no header points
// at; from the mark on, every open finishes the copy. A failed walk puts the old header back
// and cuts the tail away, so the file is as it was.
#pragma once

#include <cstdint>

#include "collections/nyxhash.h"
#include "collections/nyxxarray.h"
#include "nyxstring.h"

class LDBMemberDescriptor;
class LDBMemberReader;
class LDBPoolCursor;
class LDBStorageLayout;
class LDBStore;
class LDBUpgradeFrame;
class LDBUpgradeObject;
class PDMc_LDB;
class PDMc_LDBRef;

// The whole job behind PDMLDBUpgrade: a store of the moment for the path, the upgrade, and
// nothing left open or locked. A file of the current version is left alone. Gives the code on
// the error stack.
int32_t LDBUpgradeDatabase(const nyxString& path, const LDBStorageLayout& layout,
                           PDMc_LDB* connection = nullptr);

class LDBUpgrader {
public:
    // source is a store that no transaction holds; the upgrader doesn't own it. layout holds
    // the descriptors of both the old and the current format.
    LDBUpgrader(LDBStore* source, const LDBStorageLayout& layout);
    ~LDBUpgrader();
    LDBUpgrader(const LDBUpgrader&) = delete;
    LDBUpgrader& operator=(const LDBUpgrader&) = delete;

    // Rewrites the file if its header says it is older than the current format. The store is
    // held open and locked for the length of the job. Gives the code on the error stack.
    int32_t Upgrade();

    const LDBStorageLayout& Layout() const { return m_layout; }
    LDBStore* Source() const { return m_source; }

private:
    int32_t Rewrite();
    // The target address of the object at source, rewriting it and everything it reaches
    // first if that hasn't been done yet. 0 or the code on the stack.
    int32_t UpgradeFrom(uint32_t source, uint32_t& target);
    // Loads, fixes up and places the object at source, and puts it on the walk's stack.
    int32_t BeginObject(uint32_t source);
    // Reads the record at the object's source address into its members, by the descriptor of
    // its class code and old object version.
    int32_t LoadObject(LDBUpgradeObject& object);
    int32_t LoadMember(LDBUpgradeObject& object, const LDBMemberDescriptor& member,
                       LDBMemberReader& reader, LDBPoolCursor& cursor);
    // Refuses a map whose keys would take more than the file can hold; the cursor stays.
    int32_t CheckMapSize(uint32_t memberAddress);
    // Gives the object its target address and enters it in the address map.
    int32_t AllocateObject(LDBUpgradeObject& object);
    int32_t StoreHead(LDBUpgradeObject& object);
    // The member's checks before its references are followed.
    int32_t BeginStoreMember(LDBUpgradeFrame& frame, const LDBMemberDescriptor& member);
    // The next reference of the frame's member that is not null, or null when all are done.
    PDMc_LDBRef* NextReference(LDBUpgradeFrame& frame);
    // Points the reference the frame waits on at target.
    void FinishReference(LDBUpgradeFrame& frame, uint32_t target);
    int32_t WriteMember(LDBUpgradeFrame& frame, const LDBMemberDescriptor& member);
    // The room of the shadow: the file grows to room and its header names room as its top.
    int32_t MoveShadowOut(uint32_t room);
    // Puts the old top back in the header after a failure; 0 or the code.
    int32_t RestoreTop(uint32_t top);
    // After a failure before the shadow exists: the old header back, then the file cut to it.
    void GiveBackRoom(uint32_t top);
    void DropWalk();

    LDBStore* m_source;
    LDBStore* m_target;
    const LDBStorageLayout& m_layout;
    nyxHashMapOf<uint32_t, uint32_t> m_address_map;  // source address of an object to target
    LDBPoolCursor* m_target_cursor;
    // The objects begun and not yet finished, innermost last: the walk's explicit stack, so
    // that the depth of the data never meets the depth of the process stack.
    nyxXArrayOf<LDBUpgradeFrame*> m_path;
    uint32_t m_room;          // the shadow's top may not pass this
    uint64_t m_loaded_bytes;  // block bytes read so far; each block has one owner
    uint64_t m_load_limit;    // what the old file holds
};
