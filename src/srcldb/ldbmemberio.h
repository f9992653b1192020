// The readers and writers of stored members. An object moves between memory and a record
// member by member, in descriptor order, through an LDBCursor; strings and lists live in blocks
// of their own, which a member points at by address.
//
// Readers take the store version of the file, since older files lay out booleans and lists
// differently; writers always write the current form. References come in unresolved: reading
// an object never loads another one. Every operation gives 0 or the code on the error stack,
// and stops at the first failure.
#pragma once

#include <cstdint>

#include "srcldb/ldbcursor.h"
#include "srcldb/ldbstgdesc.h"

class LDBObjectOwner;

class LDBMemberReader {
public:
    // References read are given to owner for loading their targets later.
    LDBMemberReader(LDBCursor& cursor, LDBObjectOwner* owner, uint32_t storeVersion);

    // Each member of the class in turn, from the cursor's position, into object.
    int32_t ReadMembers(const LDBClassDescriptor& descriptor, PDMc_LDBObject* object);
    int32_t ReadMember(const LDBMemberDescriptor& member, PDMc_LDBObject* object);
    // A member of the type into field, which is of the type LDBMemberFieldType<type>.
    int32_t ReadField(uint32_t type, void* field);

    int32_t ReadString(nyxString& text);
    int32_t ReadReference(PDMc_LDBRef& reference);
    int32_t ReadValue(PDMc_LDBValue& value);
    int32_t ReadBoolean(uint8_t& value);
    int32_t ReadRefArray(LDBRefArrayRep& array);
    int32_t ReadIdArray(LDBIdArrayRep& array);
    // The stored capacity is passed over: the table grows by its own rules as entries come in.
    int32_t ReadMap(LDBRefMapRep& map);

private:
    // The string whose block is at address; the cursor ends where it started.
    int32_t ReadStringBlock(uint32_t address, nyxString& text);
    // Reads a list member's words and enters its block; count 0 when there is none. resumeAt is
    // where the next member starts.
    int32_t EnterList(uint32_t& count, uint32_t& resumeAt);
    // Moves to the block at address and reads its header; the elements of elementSize bytes
    // each must lie in the store.
    int32_t EnterBlock(uint32_t address, uint32_t elementSize, uint32_t& count);

    LDBCursor& m_cursor;
    LDBObjectOwner* m_owner;
    uint32_t m_store_version;
};

class LDBMemberWriter {
public:
    explicit LDBMemberWriter(LDBCursor& cursor);

    int32_t WriteMembers(const LDBClassDescriptor& descriptor, PDMc_LDBObject* object);
    int32_t WriteMember(const LDBMemberDescriptor& member, PDMc_LDBObject* object);
    int32_t WriteField(uint32_t type, const void* field);

    // A non-empty text gets a new block at the top of the store; an empty one is address 0.
    int32_t WriteString(const nyxString& text);
    int32_t WriteReference(const PDMc_LDBRef& reference);
    int32_t WriteValue(const PDMc_LDBValue& value);
    int32_t WriteBoolean(uint8_t value);
    int32_t WriteRefArray(const LDBRefArrayRep& array);
    int32_t WriteIdArray(const LDBIdArrayRep& array);
    int32_t WriteMap(const LDBRefMapRep& map);

    // The space that writing the member will allocate for its blocks, so that a commit can size
    // itself before it writes anything.
    static uint32_t BlockSpace(uint32_t type, const void* field);
    static uint32_t BlockSpaceOfMembers(const LDBClassDescriptor& descriptor,
                                        PDMc_LDBObject* object);

private:
    // Allocates a block of count elements of elementSize bytes, writes its address at the
    // cursor, then moves into the block behind its header. resumeAt is where the member goes
    // on once the elements are written.
    int32_t StartBlock(uint8_t kind, uint32_t count, uint32_t elementSize, uint32_t& resumeAt);
    // The count word of a list, then its block of 32-bit elements, or address 0 when empty.
    int32_t StartList(uint8_t kind, uint32_t count, uint32_t& resumeAt);

    LDBCursor& m_cursor;
};
