#include "oldstore.h"

#include "srcldb/ldbcodec.h"
#include "srcldb/ldbheader.h"
#include "srcldb/ldbschema.h"

namespace oldstore {

const LDBStorageLayout& Layout() {
    static LDBStorageLayout* layout = [] {
        LDBStorageLayout* built = new LDBStorageLayout();
        LDBDefineSchema(*built);
        return built;
    }();
    return *layout;
}

namespace {

uint32_t OldSize(uint16_t type) {
    bool wide = type == LDB_MEMBER_BOOLEAN || type == LDB_MEMBER_REF_ARRAY ||
                type == LDB_MEMBER_ID_ARRAY;
    return wide ? 4 : LDBMemberDiskSize(type, LDB_LAYOUT_VERSION_257);
}

Bytes Le(uint32_t value) {
    Bytes word(4);
    LDBEncodeU32(word.data(), value);
    return word;
}

}  // namespace

uint32_t OldStore::Object(uint8_t classCode, uint8_t versionByte) {
    const LDBClassDescriptor& descriptor = *Layout().ClassByVersion(classCode, 1);
    uint32_t size = 2;
    for (uint32_t i = 0; i < descriptor.MemberCount(); ++i)
        size += OldSize(descriptor.MemberAt(i)->GetType());
    uint32_t address = static_cast<uint32_t>(bytes_.size());
    bytes_.resize(address + size, 0);
    bytes_[address] = classCode;
    bytes_[address + 1] = versionByte;
    classes_[address] = classCode;
    return address;
}

uint32_t OldStore::At(uint32_t object, const char* member) const {
    const LDBClassDescriptor& descriptor = *Layout().ClassByVersion(classes_.at(object), 1);
    uint32_t offset = 2;
    for (uint32_t i = 0; i < descriptor.MemberCount(); ++i) {
        const LDBMemberDescriptor* row = descriptor.MemberAt(i);
        if (row->GetName() == nyxString(member))
            return object + offset + (row->GetType() == LDB_MEMBER_REF_MAP ? 4 : 0);
        offset += OldSize(row->GetType());
    }
    return 0;
}

void OldStore::Word(uint32_t object, const char* member, uint32_t value) {
    LDBEncodeU32(&bytes_[At(object, member)], value);
}

uint32_t OldStore::Block(uint8_t kind, uint32_t count, const Bytes& elements) {
    uint8_t header[LDB_MAX_BLOCK_HEADER_SIZE];
    uint32_t headerSize = LDBEncodeBlockHeader(header, kind, count);
    uint32_t address = static_cast<uint32_t>(bytes_.size());
    bytes_.insert(bytes_.end(), header, header + headerSize);
    bytes_.insert(bytes_.end(), elements.begin(), elements.end());
    return address;
}

void OldStore::Text(uint32_t object, const char* member, const std::string& text) {
    Bytes chars(text.begin(), text.end());
    chars.push_back(0);
    Word(object, member, text.empty() ? 0 : Block(LDB_BLOCK_BYTES, chars.size(), chars));
}

void OldStore::List(uint32_t object, const char* member, uint8_t kind,
                    const std::vector<uint32_t>& words) {
    Bytes elements;
    for (uint32_t word : words) {
        Bytes le = Le(word);
        elements.insert(elements.end(), le.begin(), le.end());
    }
    Word(object, member, words.empty() ? 0 : Block(kind, words.size(), elements));
}

void OldStore::Map(uint32_t object, const char* member, const Entries& entries) {
    std::vector<uint32_t> words;
    for (const auto& entry : entries) {
        Bytes chars(entry.first.begin(), entry.first.end());
        chars.push_back(0);
        words.push_back(Block(LDB_BLOCK_BYTES, chars.size(), chars));
        words.push_back(entry.second);
    }
    List(object, member, LDB_BLOCK_ADDRESSES, words);
}

uint32_t OldStore::ArrayObject(const std::vector<uint32_t>& elements) {
    uint32_t object = Object(65);
    List(object, "m_rep", LDB_BLOCK_ADDRESSES, elements);
    return object;
}

uint32_t OldStore::MapObject(const Entries& entries) {
    uint32_t object = Object(66);
    Map(object, "m_rep", entries);
    return object;
}

Bytes OldStore::File(uint32_t version) const {
    LDBHeader header;
    header.InitCurrent();
    header.m_version = version;
    header.m_top = static_cast<uint32_t>(bytes_.size());
    header.m_stamp = 7;
    header.m_root = bytes_.size() > LDB_HEADER_SIZE ? LDB_HEADER_SIZE : 0;
    uint8_t encoded[LDB_HEADER_SIZE];
    header.ComputeChecksum();
    header.Encode(encoded);
    Bytes file = bytes_;
    std::copy(encoded, encoded + LDB_HEADER_SIZE, file.begin());
    return file;
}

// A whole model in the old format: a workspace whose one state holds a generic and its instance,
// their relation, and their library with a file. Nothing in it disagrees.
namespace {

struct HealthyModel {
    OldStore store;

    HealthyModel() {
        uint32_t root = store.Object(64);
        uint32_t ws = store.Object(80), luf = store.Object(90), lil = store.Object(86);
        uint32_t lilv = store.Object(87), lufli = store.Object(92), gir = store.Object(85);
        uint32_t lf = store.Object(95);
        uint32_t genericVersion = 0, instanceVersion = 0;
        uint32_t generic = Item(ws, luf, lil, "bracket", genericVersion);
        uint32_t instance = Item(ws, luf, lil, "bracket-1", instanceVersion);
        store.Word(root, "m_workspaces", store.MapObject({{"alpha", ws}}));
        store.Text(ws, "m_name", "alpha");
        store.Word(ws, "m_undo_stack", store.ArrayObject({luf}));
        store.Word(ws, "m_luf", luf);
        store.Word(luf, "m_ws", ws);
        store.Word(luf, "m_lufi_items", store.MapObject({{"bracket", lufis_[0]},
                                                         {"bracket-1", lufis_[1]}}));
        store.Word(luf, "m_lufli_items", store.MapObject({{"bracket", lufli}}));
        store.Word(genericVersion, "m_has_instances", 1);
        store.Word(genericVersion, "m_instance_wsgirs", store.ArrayObject({gir}));
        store.Word(genericVersion, "m_instances_creating_frame", luf);
        store.Word(instanceVersion, "m_is_instance", 1);
        store.Word(instanceVersion, "m_generic_wsgir", gir);
        store.Word(gir, "m_generic_wspi", generic);
        store.Word(gir, "m_instance_wspi", instance);
        store.Word(lil, "m_ws", ws);
        store.Word(lil, "m_lufli", lufli);
        store.Word(lil, "m_shortcut_current_lilv", lilv);
        store.Word(lufli, "m_creating_frame", luf);
        store.Text(lufli, "m_lo_name", "bracket");
        store.Word(lufli, "m_lil", lil);
        store.Word(lufli, "m_current_lilv", lilv);
        store.Word(lilv, "m_lil", lil);
        store.Word(lilv, "m_wspis", store.ArrayObject({generic, instance}));
        store.Word(lilv, "m_files", store.ArrayObject({lf}));
        store.Word(lilv, "m_creating_frame", luf);
        store.Text(lf, "m_file_name", "bracket");
    }

private:
    // An item with its identity, frame item and version, a member of the library.
    uint32_t Item(uint32_t ws, uint32_t luf, uint32_t lil, const char* name, uint32_t& version) {
        uint32_t item = store.Object(81), lpi = store.Object(88), lufi = store.Object(91);
        version = store.Object(82);
        lufis_.push_back(lufi);
        store.Word(item, "m_ws", ws);
        store.Word(item, "m_shortcut_current_piv", version);
        store.Word(item, "m_lpi", lpi);
        store.Word(lpi, "m_lufi", lufi);
        store.Word(lufi, "m_creating_frame", luf);
        store.Text(lufi, "m_pi_name", name);
        store.Word(lufi, "m_lpi", lpi);
        store.Word(lufi, "m_wspi", item);
        store.Word(lufi, "m_current_piv", version);
        store.Word(version, "m_workspace", ws);
        store.Word(version, "m_lpi", lpi);
        store.Word(version, "m_creating_frame", luf);
        store.Word(version, "m_lil", lil);
        return item;
    }

    std::vector<uint32_t> lufis_;
};

}  // namespace

Bytes HealthyStore() { return HealthyModel().store.File(); }

}  // namespace oldstore
