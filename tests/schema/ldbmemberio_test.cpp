#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "errors/nyxerror.h"
#include "fakeowner.h"
#include "marrows/marrows.h"
#include "memberfill.h"
#include "recordforms.h"
#include "srcldb/ldbbufcursor.h"
#include "srcldb/ldbmemberio.h"
#include "srcldb/ldbschema.h"
#include "testsupport.h"

using testsupport::Arguments;

namespace {

using Bytes = std::vector<uint8_t>;

class MemberIO : public testsupport::CleanStackTest {
protected:
    // Room for size bytes at the top, with the cursor at its start.
    uint32_t Room(uint32_t size) {
        uint32_t address = 0;
        EXPECT_EQ(buffer_.Allocate(size, address), 0);
        buffer_.SetAddress(address);
        return address;
    }

    Bytes At(uint32_t address, uint32_t count) {
        if (count == 0) return Bytes();
        const uint8_t* bytes = buffer_.BytesAt(address);
        EXPECT_NE(bytes, nullptr);
        if (bytes == nullptr) return Bytes();
        return Bytes(bytes, bytes + count);
    }

    void Put(uint32_t address, const Bytes& bytes) {
        buffer_.SetAddress(address);
        ASSERT_EQ(buffer_.WriteBytes(bytes.data(), static_cast<uint32_t>(bytes.size())), 0);
    }

    // Writes value as a member of the type, reads it back into `back`, and gives the bytes of
    // the member. Both directions must move the cursor by exactly the member's size.
    template <typename T>
    Bytes RoundTrip(uint16_t type, const T& value, T& back) {
        uint32_t size = LDBMemberDiskSize(type, 514);
        uint32_t at = Room(size);
        LDBMemberWriter writer(buffer_);
        EXPECT_EQ(writer.WriteField(type, &value), 0);
        EXPECT_EQ(buffer_.GetAddress(), at + size);
        buffer_.SetAddress(at);
        LDBMemberReader reader(buffer_, &owner_, 514);
        EXPECT_EQ(reader.ReadField(type, &back), 0);
        EXPECT_EQ(buffer_.GetAddress(), at + size);
        return At(at, size);
    }

    template <typename T>
    Bytes RoundTrip(uint16_t type, const T& value) {
        T back{};
        Bytes bytes = RoundTrip(type, value, back);
        EXPECT_EQ(back, value);
        return bytes;
    }

    Bytes Word(uint32_t value) {
        uint8_t bytes[4];
        LDBEncodeU32(bytes, value);
        return Bytes(bytes, bytes + 4);
    }

    LDBBufferCursor buffer_;
    FakeOwner owner_;
};

Bytes Concat(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

Bytes TextBytes(const std::string& text) { return Bytes(text.begin(), text.end() + 1); }

}  // namespace

TEST_F(MemberIO, ScalarsAreLittleEndianAndFloatsTravelAsDoubles) {
    EXPECT_EQ(RoundTrip<int8_t>(1, -2), (Bytes{0xFE}));
    EXPECT_EQ(RoundTrip<int16_t>(2, -2), (Bytes{0xFE, 0xFF}));
    EXPECT_EQ(RoundTrip<int32_t>(3, -2), (Bytes{0xFE, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(RoundTrip<uint8_t>(5, 0xAB), (Bytes{0xAB}));
    EXPECT_EQ(RoundTrip<uint16_t>(6, 0x1234), (Bytes{0x34, 0x12}));
    EXPECT_EQ(RoundTrip<uint32_t>(7, 0x12345678), (Bytes{0x78, 0x56, 0x34, 0x12}));
    EXPECT_EQ(RoundTrip<uint32_t>(17, 0x5F5E1000), (Bytes{0x00, 0x10, 0x5E, 0x5F}));
    EXPECT_EQ(RoundTrip<double>(10, 1.5), (Bytes{0, 0, 0, 0, 0, 0, 0xF8, 0x3F}));
    EXPECT_EQ(RoundTrip<float>(9, 1.5f), (Bytes{0, 0, 0, 0, 0, 0, 0xF8, 0x3F}));
    // A float that a double holds only approximately still comes back exactly.
    EXPECT_EQ(RoundTrip<float>(9, 0.1f), (Bytes{0, 0, 0, 0xA0, 0x99, 0x99, 0xB9, 0x3F}));
    EXPECT_EQ(RoundTrip<uint8_t>(19, 1), (Bytes{0x01}));
    EXPECT_EQ(RoundTrip<uint8_t>(19, 0), (Bytes{0x00}));
    // A flag byte with more than one bit set comes back as it was stored.
    EXPECT_EQ(RoundTrip<uint8_t>(19, 3), (Bytes{0x03}));

    // 64-bit members take no bytes and keep what the field held.
    int64_t wide = 77;
    EXPECT_EQ(RoundTrip<int64_t>(4, 5, wide), Bytes());
    EXPECT_EQ(wide, 77);
    uint64_t uwide = 78;
    EXPECT_EQ(RoundTrip<uint64_t>(8, 5, uwide), Bytes());
    EXPECT_EQ(uwide, 78u);

    // A boolean byte other than 1 is read as it stands: flag members keep bits in it.
    uint32_t at = Room(1);
    Put(at, {0x02});
    buffer_.SetAddress(at);
    uint8_t flag = 0;
    ASSERT_EQ(LDBMemberReader(buffer_, &owner_, 514).ReadBoolean(flag), 0);
    EXPECT_EQ(flag, 2);
}

TEST_F(MemberIO, ReferencesStoreTheTargetsAddressAndReadBackUnresolved) {
    std::unique_ptr<PDMc_LDBObject> stored(CreateObjectOfType(&owner_, 80, 2));
    owner_.Store(stored.get(), 0x11223344);
    for (uint16_t type : {0x150, 0x253, 0x361, 0, 20, 35, 0xFFFF}) {
        SCOPED_TRACE(type);
        PDMc_LDBRef back;
        EXPECT_EQ(RoundTrip(type, PDMc_LDBRef(stored.get()), back), (Bytes{0x44, 0x33, 0x22, 0x11}));
        EXPECT_FALSE(back.IsResolved());
        EXPECT_EQ(back.GetOwner(), &owner_);
        EXPECT_EQ(RoundTrip(type, PDMc_LDBRef()), (Bytes{0, 0, 0, 0}));
    }
    EXPECT_EQ(owner_.lookups, 0);
}

TEST_F(MemberIO, StringsTakeBlocksCountedByByteWordOrDoubleWord) {
    struct Case {
        uint32_t length;
        Bytes header;  // tag and count, the count including the terminating zero
    };
    const Case cases[] = {
        {1, {0x11, 0x02}},
        {254, {0x11, 0xFF}},
        {255, {0x21, 0x00, 0x01}},
        {1023, {0x21, 0x00, 0x04}},  // the largest that loads through the stack buffer
        {1024, {0x21, 0x01, 0x04}},
        {65534, {0x21, 0xFF, 0xFF}},
        {65535, {0x31, 0x00, 0x00, 0x01, 0x00}},
        {70000, {0x31, 0x71, 0x11, 0x01, 0x00}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.length);
        std::string text(c.length, 'x');
        for (uint32_t i = 0; i < c.length; ++i) text[i] = static_cast<char>('a' + i % 26);
        uint32_t blockAt = buffer_.Top() + 4;
        nyxString back("stale");
        Bytes member = RoundTrip(16, nyxString(text.c_str()), back);
        EXPECT_EQ(back.c_str(), text);
        EXPECT_EQ(member, Word(blockAt));
        uint32_t headerSize = static_cast<uint32_t>(c.header.size());
        EXPECT_EQ(buffer_.Top(), blockAt + headerSize + c.length + 1);
        EXPECT_EQ(At(blockAt, headerSize), c.header);
        EXPECT_EQ(At(blockAt + headerSize, c.length + 1), TextBytes(text));
        EXPECT_EQ(LDBMemberWriter::BlockSpace(16, &back), headerSize + c.length + 1);
    }

    // An empty text is address 0 and no block.
    uint32_t top = buffer_.Top();
    nyxString back("stale");
    EXPECT_EQ(RoundTrip(16, nyxString(), back), (Bytes{0, 0, 0, 0}));
    EXPECT_STREQ(back.c_str(), "");
    EXPECT_EQ(buffer_.Top(), top + 4);
    EXPECT_EQ(LDBMemberWriter::BlockSpace(16, &back), 0u);
}

TEST_F(MemberIO, AttributeValuesOfEveryKindTakeNineBytes) {
    std::unique_ptr<PDMc_LDBObject> stored(CreateObjectOfType(&owner_, 97, 1));
    owner_.Store(stored.get(), 0x1234);

    PDMc_LDBValue none, integer, negative, real, yes, no, date, object, emptyText;
    integer.SetInteger(7);
    negative.SetInteger(-1);
    real.SetDouble(1.5);
    yes.SetBoolean(true);
    no.SetBoolean(false);
    date.SetDateTime(0x5F5E1000);
    object.SetReference(PDMc_LDBRef(stored.get()));
    emptyText.SetString("");
    struct Case {
        const char* kind;
        const PDMc_LDBValue& value;
        Bytes bytes;
    };
    const Case cases[] = {
        {"none", none, {0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {"integer", integer, {1, 7, 0, 0, 0, 0, 0, 0, 0}},
        {"negative integer", negative, {1, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0}},
        {"double", real, {2, 0, 0, 0, 0, 0, 0, 0xF8, 0x3F}},
        {"true", yes, {3, 1, 0, 0, 0, 0, 0, 0, 0}},
        {"false", no, {3, 0, 0, 0, 0, 0, 0, 0, 0}},
        {"date and time", date, {5, 0x00, 0x10, 0x5E, 0x5F, 0, 0, 0, 0}},
        {"object", object, {8, 0x34, 0x12, 0, 0, 0, 0, 0, 0}},
        {"empty text", emptyText, {4, 0, 0, 0, 0, 0, 0, 0, 0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.kind);
        uint32_t top = buffer_.Top();
        PDMc_LDBValue back;
        back.SetInteger(99);
        EXPECT_EQ(RoundTrip(18, c.value, back), c.bytes);
        EXPECT_TRUE(back == c.value);
        EXPECT_EQ(back.GetKind(), c.value.GetKind());
        EXPECT_EQ(buffer_.Top(), top + 9);
    }

    // A text gets its own block; its address fills the first half of the payload.
    PDMc_LDBValue text;
    text.SetString("abc");
    uint32_t blockAt = buffer_.Top() + 9;
    PDMc_LDBValue back;
    EXPECT_EQ(RoundTrip(18, text, back), Concat({{4}, Word(blockAt), {0, 0, 0, 0}}));
    EXPECT_STREQ(back.GetString().c_str(), "abc");
    EXPECT_EQ(At(blockAt, 6), (Bytes{0x11, 4, 'a', 'b', 'c', 0}));
    EXPECT_EQ(LDBMemberWriter::BlockSpace(18, &text), 6u);

    // Reading a value takes all nine bytes: a kind it doesn't know leaves the value alone, a
    // boolean is any non-zero byte, and kind 0 empties it.
    struct ReadCase {
        const char* what;
        Bytes bytes;
        int32_t kind;
    };
    const ReadCase reads[] = {
        {"unknown kind", {6, 1, 2, 3, 4, 5, 6, 7, 8}, PDMc_LDBValue::kInteger},
        {"boolean byte 2", {3, 2, 9, 9, 9, 9, 9, 9, 9}, PDMc_LDBValue::kBoolean},
        {"none", {0, 1, 2, 3, 4, 5, 6, 7, 8}, PDMc_LDBValue::kNone},
    };
    for (const ReadCase& r : reads) {
        SCOPED_TRACE(r.what);
        uint32_t at = Room(9);
        Put(at, r.bytes);
        buffer_.SetAddress(at);
        PDMc_LDBValue value;
        value.SetInteger(5);
        ASSERT_EQ(LDBMemberReader(buffer_, &owner_, 514).ReadValue(value), 0);
        EXPECT_EQ(buffer_.GetAddress(), at + 9);
        EXPECT_EQ(value.GetKind(), r.kind);
        if (r.kind == PDMc_LDBValue::kInteger) {
            EXPECT_EQ(value.GetInteger(), 5);
        }
        if (r.kind == PDMc_LDBValue::kBoolean) {
            EXPECT_TRUE(value.GetBoolean());
        }
    }
}

TEST_F(MemberIO, ListsStoreCountAndBlockAndEmptyListsStoreNoBlock) {
    std::unique_ptr<PDMc_LDBObject> stored(CreateObjectOfType(&owner_, 95, 2));
    owner_.Store(stored.get(), 0x100);

    LDBRefVector refs;
    ASSERT_EQ(refs.Append(PDMc_LDBRef(stored.get())), 0);
    ASSERT_EQ(refs.Append(PDMc_LDBRef()), 0);
    PDMc_LDBRef unresolved;
    unresolved.Set(&owner_, 0x300);
    ASSERT_EQ(refs.Append(unresolved), 0);
    uint32_t blockAt = buffer_.Top() + 8;
    LDBRefVector refsBack;
    Bytes member = RoundTrip<LDBRefArrayRep>(32, refs, refsBack);
    EXPECT_EQ(member, Concat({Word(3), Word(blockAt)}));
    EXPECT_EQ(At(blockAt, 14),
              Concat({{0x17, 3}, Word(0x100), Word(0), Word(0x300)}));
    ASSERT_EQ(refsBack.Count(), 3u);
    EXPECT_EQ(refsBack.At(0).GetKey(), 0x100u);
    EXPECT_FALSE(refsBack.At(0).IsResolved());
    EXPECT_TRUE(refsBack.At(1).IsNull());
    EXPECT_TRUE(refsBack.At(2) == unresolved);
    EXPECT_EQ(LDBMemberWriter::BlockSpace(32, &refs), 14u);

    LDBIdVector ids;
    ASSERT_EQ(ids.Append(7), 0);
    ASSERT_EQ(ids.Append(0xFFFFFFFF), 0);
    blockAt = buffer_.Top() + 8;
    LDBIdVector idsBack;
    member = RoundTrip<LDBIdArrayRep>(34, ids, idsBack);
    EXPECT_EQ(member, Concat({Word(2), Word(blockAt)}));
    EXPECT_EQ(At(blockAt, 10), Concat({{0x13, 2}, Word(7), Word(0xFFFFFFFF)}));
    ASSERT_EQ(idsBack.Count(), 2u);
    EXPECT_EQ(idsBack.At(1), 0xFFFFFFFFu);

    // 300 elements need a word count.
    LDBRefVector many;
    for (uint32_t i = 0; i < 300; ++i) {
        PDMc_LDBRef ref;
        ref.Set(&owner_, 0x1000 + i);
        ASSERT_EQ(many.Append(ref), 0);
    }
    blockAt = buffer_.Top() + 8;
    LDBRefVector manyBack;
    RoundTrip<LDBRefArrayRep>(32, many, manyBack);
    EXPECT_EQ(At(blockAt, 3), (Bytes{0x27, 0x2C, 0x01}));
    EXPECT_EQ(buffer_.Top(), blockAt + 3 + 1200);
    ASSERT_EQ(manyBack.Count(), 300u);
    EXPECT_EQ(manyBack.At(299).GetKey(), 0x1000u + 299);

    // Empty lists are two zero words, allocate nothing, and empty what they are read into.
    uint32_t top = buffer_.Top();
    LDBRefVector empty;
    EXPECT_EQ(RoundTrip<LDBRefArrayRep>(32, empty, refsBack), Bytes(8, 0));
    EXPECT_EQ(refsBack.Count(), 0u);
    LDBIdVector noIds;
    EXPECT_EQ(RoundTrip<LDBIdArrayRep>(34, noIds, idsBack), Bytes(8, 0));
    EXPECT_EQ(idsBack.Count(), 0u);
    EXPECT_EQ(buffer_.Top(), top + 16);
    EXPECT_EQ(LDBMemberWriter::BlockSpace(32, &empty), 0u);
}

TEST_F(MemberIO, MapsStoreCapacityAndKeyedPairs) {
    std::unique_ptr<PDMc_LDBObject> stored(CreateObjectOfType(&owner_, 80, 2));
    owner_.Store(stored.get(), 0x100);

    LDBRefStringTable map(103);
    ASSERT_EQ(map.Insert(nyxString("a"), PDMc_LDBRef(stored.get())), 0);
    ASSERT_EQ(map.Insert(nyxString(""), PDMc_LDBRef()), 0);
    uint32_t blockAt = buffer_.Top() + 8;
    uint32_t keyAt = blockAt + 2 + 16;
    EXPECT_EQ(LDBMemberWriter::BlockSpace(33, &map), 18u + 4u);

    LDBRefStringTable back(256);
    PDMc_LDBRef stale;
    stale.Set(&owner_, 0x999);
    ASSERT_EQ(back.Insert(nyxString("stale"), stale), 0);
    Bytes member = RoundTrip<LDBRefMapRep>(33, map, back);
    EXPECT_EQ(member, Concat({Word(103), Word(blockAt)}));
    // Pairs in table order: the empty key hashes to 0 and comes first.
    EXPECT_EQ(At(blockAt, 18), Concat({{0x17, 4}, Word(0), Word(0), Word(keyAt), Word(0x100)}));
    EXPECT_EQ(At(keyAt, 4), (Bytes{0x11, 2, 'a', 0}));
    EXPECT_EQ(buffer_.Top(), keyAt + 4);

    // The map read is rebuilt from the pairs; its own capacity stays what it was made with.
    EXPECT_EQ(back.Count(), 2u);
    EXPECT_EQ(back.Capacity(), 257u);
    EXPECT_EQ(back.Find("stale"), nullptr);
    ASSERT_NE(back.Find("a"), nullptr);
    EXPECT_EQ(back.Find("a")->GetKey(), 0x100u);
    EXPECT_FALSE(back.Find("a")->IsResolved());
    ASSERT_NE(back.Find(""), nullptr);
    EXPECT_TRUE(back.Find("")->IsNull());

    // 200 entries make a count of 400, which needs a word.
    LDBRefStringTable large(257);
    for (int i = 0; i < 200; ++i)
        ASSERT_EQ(large.Insert(nyxString(std::to_string(i).c_str()), PDMc_LDBRef()), 0);
    blockAt = buffer_.Top() + 8;
    LDBRefStringTable largeBack(256);
    RoundTrip<LDBRefMapRep>(33, large, largeBack);
    EXPECT_EQ(At(blockAt, 3), (Bytes{0x27, 0x90, 0x01}));
    EXPECT_EQ(largeBack.Count(), 200u);

    // No entries: the capacity word and a zero address.
    uint32_t top = buffer_.Top();
    LDBRefStringTable empty(103);
    EXPECT_EQ(RoundTrip<LDBRefMapRep>(33, empty, back), Concat({Word(103), Word(0)}));
    EXPECT_EQ(back.Count(), 0u);
    EXPECT_EQ(buffer_.Top(), top + 8);
}

TEST_F(MemberIO, OlderFilesHaveWideBooleansAndListsWithoutCountWord) {
    uint32_t blockAt = Room(10);
    Put(blockAt, Concat({{0x13, 2}, Word(5), Word(6)}));
    uint32_t at = Room(12);
    Put(at, Concat({{0x01, 0xFF, 0xFF, 0xFF}, {0x00, 0x01, 0x01, 0x01}, Word(blockAt)}));

    buffer_.SetAddress(at);
    LDBMemberReader reader(buffer_, &owner_, 257);
    uint8_t first = 0, second = 1;
    LDBIdVector ids;
    ASSERT_EQ(reader.ReadBoolean(first), 0);
    ASSERT_EQ(reader.ReadBoolean(second), 0);
    ASSERT_EQ(reader.ReadIdArray(ids), 0);
    EXPECT_EQ(buffer_.GetAddress(), at + 12);
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 0);  // only the first of the four bytes counts
    ASSERT_EQ(ids.Count(), 2u);
    EXPECT_EQ(ids.At(0), 5u);
    EXPECT_EQ(ids.At(1), 6u);
}

TEST_F(MemberIO, DamagedBlocksAreRefusedNotTrusted) {
    struct Case {
        const char* what;
        Bytes block;        // placed at the top, behind the member
        uint32_t address;   // 0: the block's address
        const char* message;
    };
    const Case cases[] = {
        {"address beyond the top", {}, 0x7FFFFFF0, "Block address outside the store"},
        {"address inside the header", {}, 8, "Block address outside the store"},
        {"tag without a length form", {0x01, 4, 'a', 'b', 'c', 0}, 0, "Damaged block header"},
        {"count beyond the top", {0x11, 200, 'a', 0}, 0, "Block outside the store"},
        {"double-word count beyond the top", {0x31, 0xFF, 0xFF, 0xFF, 0xFF, 0}, 0,
         "Block outside the store"},
        {"header cut by the top", {0x31, 0x05}, 0, "Block outside the store"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        testsupport::ClearErrors();
        uint32_t member = Room(4);
        uint32_t blockAt = 0;
        if (!c.block.empty()) {
            blockAt = Room(static_cast<uint32_t>(c.block.size()));
            Put(blockAt, c.block);
        }
        Put(member, Word(c.address != 0 ? c.address : blockAt));
        buffer_.SetAddress(member);
        nyxString text("kept");
        EXPECT_EQ(LDBMemberReader(buffer_, &owner_, 514).ReadString(text), 101);
        std::vector<std::string> args = Arguments(nyxErrorGetCurrent());
        ASSERT_GE(args.size(), 2u);
        EXPECT_EQ(args[0], c.message);
        EXPECT_EQ(args[1], "srcldb/ldbmemberio");
        EXPECT_STREQ(text.c_str(), "kept");
    }
}

TEST_F(MemberIO, EveryCurrentRecordRoundTripsMemberByMember) {
    LDBStorageLayout layout;
    ASSERT_EQ(LDBDefineSchema(layout), 0);
    for (const RecordForm& form : CurrentRecords()) {
        SCOPED_TRACE(form.className);
        const LDBClassDescriptor& cls = *layout.CurrentClass(form.code);
        std::unique_ptr<PDMc_LDBObject> written(CreateObjectOfType(&owner_, form.code, 1));
        std::unique_ptr<PDMc_LDBObject> read(CreateObjectOfType(&owner_, form.code, 1));
        for (uint32_t i = 0; i < cls.MemberCount(); ++i)
            memberfill::Fill(cls.MemberAt(i)->GetType(),
                             cls.MemberAt(i)->GetPlace().FieldIn(written.get()), form.code * 64 + i,
                             &owner_);

        uint32_t record = Room(form.size);
        uint32_t blocks = LDBMemberWriter::BlockSpaceOfMembers(cls, written.get());
        ASSERT_EQ(buffer_.WriteU8(form.code), 0);
        ASSERT_EQ(buffer_.WriteU8(form.classVersion), 0);
        ASSERT_EQ(LDBMemberWriter(buffer_).WriteMembers(cls, written.get()), 0);
        EXPECT_EQ(buffer_.GetAddress(), record + form.size);
        EXPECT_EQ(buffer_.Top(), record + form.size + blocks);

        // Plain numbers can be checked in place, at the offsets of the file format.
        for (const RecordMember& m : form.members) {
            void* field = cls.FindMember(m.name)->GetPlace().FieldIn(written.get());
            if (m.type == 3 || m.type == 7 || m.type == 17) {
                EXPECT_EQ(At(record + m.offset, 4), Word(*static_cast<uint32_t*>(field))) << m.name;
            }
            if (m.type == 19) {
                EXPECT_EQ(At(record + m.offset, 1), Bytes{1}) << m.name;
            }
        }

        buffer_.SetAddress(record + 2);
        ASSERT_EQ(LDBMemberReader(buffer_, &owner_, 514).ReadMembers(cls, read.get()), 0);
        EXPECT_EQ(buffer_.GetAddress(), record + form.size);
        for (uint32_t i = 0; i < cls.MemberCount(); ++i) {
            const LDBMemberDescriptor* member = cls.MemberAt(i);
            SCOPED_TRACE(member->GetName().c_str());
            memberfill::ExpectSame(member->GetType(), member->GetPlace().FieldIn(written.get()),
                                   member->GetPlace().FieldIn(read.get()));
        }
    }
    EXPECT_EQ(owner_.lookups, 0);
}

TEST_F(MemberIO, OlderRecordsAreReadByTheirOwnRowsIntoCurrentFields) {
    LDBStorageLayout layout;
    ASSERT_EQ(LDBDefineSchema(layout), 0);
    for (const RecordForm& form : Version257Records()) {
        SCOPED_TRACE(form.className);
        const LDBClassDescriptor& current = *layout.CurrentClass(form.code);
        const LDBClassDescriptor& old = *layout.ClassByVersion(form.code, form.classVersion);
        std::unique_ptr<PDMc_LDBObject> expected(CreateObjectOfType(&owner_, form.code, 1));
        std::unique_ptr<PDMc_LDBObject> read(CreateObjectOfType(&owner_, form.code, 1));

        // Lay the record out by the file format's offsets, as an old file holds it.
        uint32_t record = Room(form.size);
        Put(record, {form.code, form.classVersion});
        for (uint32_t i = 0; i < form.members.size(); ++i) {
            const RecordMember& m = form.members[i];
            void* field = current.FindMember(m.name)->GetPlace().FieldIn(expected.get());
            memberfill::Fill(m.type, field, form.code * 64 + i, &owner_);
            buffer_.SetAddress(record + m.offset);
            if (m.type == 19) {
                ASSERT_EQ(buffer_.WriteBytes(Bytes{1, 0, 0, 0}.data(), 4), 0);
            } else if (m.type == 34) {
                LDBIdArrayRep* ids = static_cast<LDBIdArrayRep*>(field);
                uint32_t blockAt = buffer_.Top();
                Bytes block{0x13, static_cast<uint8_t>(ids->Count())};
                for (uint32_t k = 0; k < ids->Count(); ++k) block = Concat({block, Word(ids->At(k))});
                Room(static_cast<uint32_t>(block.size()));
                Put(blockAt, block);
                Put(record + m.offset, Word(blockAt));
            } else {
                ASSERT_EQ(LDBMemberWriter(buffer_).WriteField(m.type, field), 0);
            }
            EXPECT_EQ(buffer_.GetAddress() - record, m.offset + m.size) << m.name;
        }

        buffer_.SetAddress(record + 2);
        LDBMemberReader reader(buffer_, &owner_, 257);
        for (uint32_t i = 0; i < old.MemberCount(); ++i) {
            const LDBMemberDescriptor* row = old.MemberAt(i);
            void* field = current.FindMember(row->GetName().c_str())->GetPlace().FieldIn(read.get());
            ASSERT_EQ(reader.ReadField(row->GetType(), field), 0) << row->GetName().c_str();
        }
        EXPECT_EQ(buffer_.GetAddress(), record + form.size);
        for (const RecordMember& m : form.members) {
            SCOPED_TRACE(m.name);
            const LDBMemberDescriptor* member = current.FindMember(m.name);
            memberfill::ExpectSame(m.type, member->GetPlace().FieldIn(expected.get()),
                                   member->GetPlace().FieldIn(read.get()));
        }
    }
}
