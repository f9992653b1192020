#include "storegraph.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <map>
#include <sstream>
#include <utility>

#include "errors/nyxerror.h"
#include "recoverytest.h"
#include "srcldb/ldbattr.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldblf.h"
#include "srcldb/ldblil.h"
#include "srcldb/ldblilv.h"
#include "srcldb/ldblpi.h"
#include "srcldb/ldbluf.h"
#include "srcldb/ldblufi.h"
#include "srcldb/ldbmemberplace.h"
#include "srcldb/ldbreps.h"
#include "srcldb/ldbroot.h"
#include "srcldb/ldbschema.h"
#include "srcldb/ldbvalue.h"
#include "srcldbws/ws.h"
#include "srcldbws/wsd.h"
#include "srcldbws/wsgir.h"
#include "srcldbws/wspi.h"
#include "srcldbws/wspiv.h"
#include "testsupport.h"

namespace storegraph {

const LDBStorageLayout& Layout() {
    static LDBStorageLayout* layout = [] {
        LDBStorageLayout* made = new LDBStorageLayout;
        LDBDefineSchema(*made);
        return made;
    }();
    return *layout;
}

LDBStore* Create(const std::string& path) {
    LDBStore* store = LDBStore::CreateStore(nullptr, path.c_str());
    if (store != nullptr) store->SetLayout(&Layout());
    return store;
}

LDBStore* Connect(const std::string& path) {
    LDBStore* store = LDBStore::ConnectStore(nullptr, path.c_str());
    if (store != nullptr) store->SetLayout(&Layout());
    return store;
}

const std::vector<uint8_t>& GraphClasses() {
    static const std::vector<uint8_t> classes = {
        LDB_TYPE_ROOT,  LDB_TYPE_WS,    LDB_TYPE_ARRAY, LDB_TYPE_LAAV,  LDB_TYPE_MAP,
        LDB_TYPE_WSPI,  LDB_TYPE_WSPIV, LDB_TYPE_LAV,   LDB_TYPE_WSD,   LDB_TYPE_LPI,
        LDB_TYPE_LUF,   LDB_TYPE_LUFI,  LDB_TYPE_WSGIR, LDB_TYPE_LILV,  LDB_TYPE_LUFLI,
        LDB_TYPE_LIL,   LDB_TYPE_LF,    LDB_TYPE_WSDD,  LDB_TYPE_LPITD, LDB_TYPE_LAD,
        LDB_TYPE_APPOBJ};
    return classes;
}

PDMc_LDBObject* NewObject(LDBStore* store, uint8_t typeCode) {
    switch (typeCode) {
        case LDB_TYPE_ROOT: return new PDMc_LDBRoot(store);
        case LDB_TYPE_ARRAY: return new PDMc_LDBArray(store);
        case LDB_TYPE_MAP: return new PDMc_LDBMap(store, 16);
        case LDB_TYPE_WS: return new PDMc_WS(store);
        case LDB_TYPE_WSPI: return new PDMc_WSPI(store);
        case LDB_TYPE_WSPIV: return new PDMc_WSPIV(store);
        case LDB_TYPE_WSD: return new PDMc_WSD(store);
        case LDB_TYPE_WSDD: return new PDMc_WSDD(store);
        case LDB_TYPE_WSGIR: return new PDMc_WSGIR(store);
        case LDB_TYPE_LIL: return new PDMc_LIL(store);
        case LDB_TYPE_LILV: return new PDMc_LILV(store);
        case LDB_TYPE_LPI: return new PDMc_LPI(store);
        case LDB_TYPE_LPITD: return new PDMc_LPITD(store);
        case LDB_TYPE_LUF: return new PDMc_LUF(store);
        case LDB_TYPE_LUFI: return new PDMc_LUFI(store);
        case LDB_TYPE_LUFLI: return new PDMc_LUFLI(store);
        case LDB_TYPE_LF: return new PDMc_LF(store);
        case LDB_TYPE_APPOBJ: return new PDMc_LDBAppObj(store);
        case LDB_TYPE_LAD: return new PDMc_LAD(store, "");
        // A value needs a definition to be made; FillMembers points it elsewhere later.
        case LDB_TYPE_LAV: return PDMc_LAV::Create(new PDMc_LAD(store, "d"), PDMc_LDBValue());
        case LDB_TYPE_LAAV: return PDMc_LAAV::Create(store, PDMc_LDBValue());
        default: return nullptr;
    }
}

namespace {

PDMc_LDBRef Pick(uint32_t seed, const std::vector<PDMc_LDBObject*>& targets) {
    if (targets.empty() || seed % 5 == 0) return PDMc_LDBRef();
    return PDMc_LDBRef(targets[seed % targets.size()]);
}

std::string Text(uint32_t seed, uint32_t member) {
    return "t" + std::to_string(seed) + "." + std::to_string(member);
}

void FillMember(uint16_t type, void* field, uint32_t seed, uint32_t member,
                const std::vector<PDMc_LDBObject*>& targets) {
    const uint32_t s = seed * 31 + member * 7;
    switch (LDBMemberFamilyOf(type)) {
        case LDBMemberFamily::kInt8:
        case LDBMemberFamily::kUInt8: *static_cast<uint8_t*>(field) = uint8_t(s); break;
        case LDBMemberFamily::kInt16:
        case LDBMemberFamily::kUInt16: *static_cast<uint16_t*>(field) = uint16_t(s * 3); break;
        case LDBMemberFamily::kInt32:
        case LDBMemberFamily::kUInt32:
        case LDBMemberFamily::kDateTime: *static_cast<uint32_t*>(field) = s * 2654435761u; break;
        case LDBMemberFamily::kInt64:
        case LDBMemberFamily::kUInt64: break;
        case LDBMemberFamily::kFloat: *static_cast<float*>(field) = float(s) / 8; break;
        case LDBMemberFamily::kDouble: *static_cast<double*>(field) = double(s) / 3; break;
        case LDBMemberFamily::kBoolean: *static_cast<bool*>(field) = s % 2 == 1; break;
        case LDBMemberFamily::kString:
            *static_cast<nyxString*>(field) = s % 4 == 0 ? "" : Text(seed, member).c_str();
            break;
        case LDBMemberFamily::kValue: {
            PDMc_LDBValue& value = *static_cast<PDMc_LDBValue*>(field);
            switch (s % 4) {
                case 0: value.SetInteger(int32_t(s)); break;
                case 1: value.SetString(Text(seed, member).c_str()); break;
                case 2: value.SetReference(Pick(s, targets)); break;
                default: value.Clear(); break;
            }
            break;
        }
        case LDBMemberFamily::kRefArray: {
            LDBRefArrayRep& array = *static_cast<LDBRefArrayRep*>(field);
            uint32_t count = s % 4;
            array.SetCount(count);
            for (uint32_t i = 0; i < count; ++i) array.At(i) = Pick(s + i + 1, targets);
            break;
        }
        case LDBMemberFamily::kIdArray: {
            LDBIdArrayRep& array = *static_cast<LDBIdArrayRep*>(field);
            uint32_t count = s % 3;
            array.SetCount(count);
            for (uint32_t i = 0; i < count; ++i) array.SetAt(i, s + i);
            break;
        }
        case LDBMemberFamily::kRefMap: {
            LDBRefMapRep& map = *static_cast<LDBRefMapRep*>(field);
            map.Clear();
            for (uint32_t i = 0; i < s % 4; ++i)
                map.Insert(nyxString(("k" + std::to_string(s + i)).c_str()),
                           Pick(s + i + 2, targets));
            break;
        }
        case LDBMemberFamily::kReference:
            *static_cast<PDMc_LDBRef*>(field) = Pick(s, targets);
            break;
    }
}

}  // namespace

void FillMembers(PDMc_LDBObject* object, uint32_t seed,
                 const std::vector<PDMc_LDBObject*>& targets) {
    object->MarkModified();
    const LDBClassDescriptor* descriptor = Layout().CurrentClass(object->GetTypeCode());
    for (uint32_t i = 0; i < descriptor->MemberCount(); ++i) {
        const LDBMemberDescriptor* member = descriptor->MemberAt(i);
        FillMember(member->GetType(), member->GetPlace().FieldIn(object), seed, i, targets);
    }
}

std::vector<PDMc_LDBObject*> AddGraph(LDBStore* store, uint32_t seed, int count) {
    std::vector<PDMc_LDBObject*> objects;
    const std::vector<uint8_t>& classes = GraphClasses();
    for (int i = 0; i < count; ++i) objects.push_back(NewObject(store, classes[i % classes.size()]));
    if (store->RootAddress() == 0 && store->GetRoot() == nullptr)
        store->SetRootObject(objects.front());
    // Each object points at a few of the ones after it, so that the root reaches all of them.
    for (int i = 0; i < count; ++i) {
        std::vector<PDMc_LDBObject*> targets(objects.begin() + std::min(i + 1, count - 1),
                                             objects.begin() + std::min(i + 4, count));
        FillMembers(objects[i], seed + uint32_t(i), targets);
    }
    return objects;
}

namespace {

// The walk of a listing: objects by first meeting, breadth first, members in record order.
class Lister {
public:
    explicit Lister(LDBStore* store) : m_store(store) {}

    bool Run(std::string* failure) {
        Name(m_store->RootAddress());
        while (!m_queue.empty()) {
            uint32_t address = m_queue.front();
            m_queue.pop_front();
            PDMc_LDBObject* object = m_store->FindOrLoadObject(address);
            if (!nyxErrorStackEmpty()) {
                if (failure != nullptr)
                    *failure = "object #" + std::to_string(m_ids[address]) + ": " +
                               testsupport::DescribeTop();
                return false;
            }
            m_out << "#" << m_ids[address];
            if (object == nullptr) {
                m_out << " <no class>\n";
                continue;
            }
            m_objects.push_back(object);
            m_out << " " << object->GetClassName() << " v" << int(object->GetClassVersion())
                  << "\n";
            const LDBClassDescriptor* descriptor =
                storegraph::Layout().CurrentClass(object->GetTypeCode());
            for (uint32_t i = 0; i < descriptor->MemberCount(); ++i) {
                const LDBMemberDescriptor* member = descriptor->MemberAt(i);
                m_out << "  " << member->GetName().c_str() << " = ";
                Show(member->GetType(), member->GetPlace().FieldIn(object));
                m_out << "\n";
            }
        }
        return true;
    }
    std::string Text() const { return m_out.str(); }
    const std::vector<PDMc_LDBObject*>& Objects() const { return m_objects; }

private:
    std::string Name(uint32_t address) {
        if (address == 0) return "null";
        auto found = m_ids.find(address);
        if (found == m_ids.end()) {
            found = m_ids.emplace(address, int(m_ids.size())).first;
            m_queue.push_back(address);
        }
        return "#" + std::to_string(found->second);
    }
    std::string Name(const PDMc_LDBRef& reference) { return Name(reference.GetKey()); }

    void Show(uint16_t type, void* field) {
        switch (LDBMemberFamilyOf(type)) {
            case LDBMemberFamily::kInt8:
            case LDBMemberFamily::kUInt8: m_out << int(*static_cast<uint8_t*>(field)); break;
            case LDBMemberFamily::kInt16:
            case LDBMemberFamily::kUInt16: m_out << *static_cast<uint16_t*>(field); break;
            case LDBMemberFamily::kInt32:
            case LDBMemberFamily::kUInt32:
            case LDBMemberFamily::kDateTime: m_out << *static_cast<uint32_t*>(field); break;
            case LDBMemberFamily::kInt64:
            case LDBMemberFamily::kUInt64: m_out << "-"; break;
            case LDBMemberFamily::kFloat: m_out << *static_cast<float*>(field); break;
            case LDBMemberFamily::kDouble: m_out << *static_cast<double*>(field); break;
            // A boolean member keeps the byte it was stored with, which a damaged file may
            // make any value.
            case LDBMemberFamily::kBoolean: m_out << int(*static_cast<uint8_t*>(field)); break;
            case LDBMemberFamily::kString:
                m_out << "'" << static_cast<nyxString*>(field)->c_str() << "'";
                break;
            case LDBMemberFamily::kValue: {
                const PDMc_LDBValue& value = *static_cast<PDMc_LDBValue*>(field);
                m_out << "kind " << value.GetKind() << " ";
                switch (value.GetKind()) {
                    case PDMc_LDBValue::kInteger: m_out << value.GetInteger(); break;
                    case PDMc_LDBValue::kDouble: m_out << value.GetDouble(); break;
                    case PDMc_LDBValue::kBoolean: m_out << value.GetBoolean(); break;
                    case PDMc_LDBValue::kString: m_out << "'" << value.GetString().c_str() << "'"; break;
                    case PDMc_LDBValue::kDateTime: m_out << value.GetDateTime(); break;
                    case PDMc_LDBValue::kObject: m_out << Name(value.GetReference()); break;
                    default: break;
                }
                break;
            }
            case LDBMemberFamily::kRefArray: {
                const LDBRefArrayRep& array = *static_cast<LDBRefArrayRep*>(field);
                m_out << "[";
                for (uint32_t i = 0; i < array.Count(); ++i) m_out << " " << Name(array.At(i));
                m_out << " ]";
                break;
            }
            case LDBMemberFamily::kIdArray: {
                const LDBIdArrayRep& array = *static_cast<LDBIdArrayRep*>(field);
                m_out << "[";
                for (uint32_t i = 0; i < array.Count(); ++i) m_out << " " << array.At(i);
                m_out << " ]";
                break;
            }
            case LDBMemberFamily::kRefMap: {
                // By key: the order of a map's block is the order of its table, not content.
                std::vector<std::pair<std::string, uint32_t>> entries;
                static_cast<LDBRefMapRep*>(field)->VisitEntries(
                    [](void* context, const nyxString& key, const PDMc_LDBRef& value) -> int32_t {
                        static_cast<std::vector<std::pair<std::string, uint32_t>>*>(context)
                            ->emplace_back(key.c_str(), value.GetKey());
                        return 0;
                    },
                    &entries);
                std::sort(entries.begin(), entries.end());
                m_out << "{";
                for (const auto& entry : entries)
                    m_out << " '" << entry.first << "': " << Name(entry.second);
                m_out << " }";
                break;
            }
            case LDBMemberFamily::kReference:
                m_out << Name(*static_cast<PDMc_LDBRef*>(field));
                break;
        }
    }

    LDBStore* m_store;
    std::map<uint32_t, int> m_ids;
    std::deque<uint32_t> m_queue;
    std::ostringstream m_out;
    std::vector<PDMc_LDBObject*> m_objects;
};

}  // namespace

std::vector<PDMc_LDBObject*> Reachable(LDBStore* store) {
    Lister lister(store);
    lister.Run(nullptr);
    return lister.Objects();
}

int MakeGraphStore(const std::string& path, uint32_t seed, int count) {
    LDBStore* store = Create(path);
    if (store == nullptr) return 1;
    int rc = store->StartTransaction();
    if (rc == 0) {
        AddGraph(store, seed, count);
        rc = store->CommitTransaction();
    }
    LDBStore::CloseStore(store);
    return rc == 0 ? 0 : 1;
}

void ChangeGraph(LDBStore* store, uint32_t seed) {
    std::vector<PDMc_LDBObject*> objects = Reachable(store);
    std::vector<PDMc_LDBObject*> fresh = AddGraph(store, seed, 6);
    for (size_t i = 0; i < objects.size(); i += 3) {
        std::vector<PDMc_LDBObject*> targets = {fresh[i % fresh.size()],
                                                objects[(i + 1) % objects.size()],
                                                fresh[(i + 2) % fresh.size()]};
        FillMembers(objects[i], seed + 100 + uint32_t(i), targets);
    }
}

int CommitChange(const std::string& path, uint32_t seed) {
    LDBStore* store = Connect(path);
    if (store == nullptr) return 1;
    int rc = store->StartTransaction();
    if (rc == 0) {
        ChangeGraph(store, seed);
        rc = store->CommitTransaction();
    }
    LDBStore::CloseStore(store);
    return rc == 0 ? 0 : 1;
}

std::string ListObjects(LDBStore* store, std::string* failure) {
    Lister lister(store);
    if (!lister.Run(failure)) return "";
    return lister.Text();
}

std::string ListFile(const std::string& path, std::string* failure) {
    LDBStore* store = Connect(path);
    if (store == nullptr) {
        *failure = "connect: " + testsupport::DescribeTop();
        return "";
    }
    std::string listing;
    if (store->StartTransaction() != 0) {
        *failure = "start: " + testsupport::DescribeTop();
    } else {
        listing = ListObjects(store, failure);
        testsupport::ClearErrors();
        store->AbortTransaction();
    }
    testsupport::ClearErrors();
    LDBStore::CloseStore(store);
    return listing;
}

std::string HeaderProblem(const std::string& path) {
    using recoverytest::WordAt;
    recoverytest::Bytes bytes = testsupport::ReadFileBytes(path);
    if (bytes.size() < LDB_HEADER_SIZE) return "file shorter than a header";
    uint32_t x = 0;
    for (size_t i = 0; i < 36; i += 4) x ^= WordAt(bytes, i);
    std::ostringstream problem;
    if (WordAt(bytes, 0) != LDB_HEADER_MAGIC) problem << "bad magic; ";
    if (WordAt(bytes, 36) != x) problem << "bad checksum; ";
    if (WordAt(bytes, 24) != 0) problem << "still marked " << WordAt(bytes, 24) << "; ";
    if (WordAt(bytes, 12) > bytes.size()) problem << "top past the end of the file; ";
    return problem.str();
}

}  // namespace storegraph
