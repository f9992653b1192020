#include "bench_sqlite_marrows.h"

#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <type_traits>

#include "bench_sqlite_system.h"

namespace sqlitebench {

bool MarrowsApi::Load(const std::string& library, std::string* why) {
    void* handle = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        const char* error = dlerror();
        *why = error != nullptr ? error : "dlopen failed";
    }
    missing_.clear();
    // A library that can't be opened lacks every export.
    auto resolve = [this, handle](const char* name, auto* slot) {
        void* address = handle != nullptr ? dlsym(handle, name) : nullptr;
        if (address == nullptr) {
            missing_.push_back(name);
            return;
        }
        *slot = reinterpret_cast<std::remove_pointer_t<decltype(slot)>>(address);
    };
    resolve("PDMLDBCreate", &create);
    resolve("PDMLDBConnect", &connect);
    resolve("PDMLDBDisconnect", &disconnect);
    resolve("PDMLDBCompact", &compact);
    resolve("PDMLDBStartTransaction", &start);
    resolve("PDMLDBCommitTransaction", &commit);
    resolve("PDMLDBObjectCreate", &object_create);
    resolve("PDMLDBObjectGetLDBAttribute", &get_attribute);
    resolve("PDMLDBObjectSetLDBAttribute", &set_attribute);
    resolve("PDMLDBObjectGetLDBAttributeNames", &get_attribute_names);
    resolve("PDMErrorDumpStack", &dump_errors);
    resolve("PDMErrorClearStack", &clear_errors);
    return handle != nullptr;
}

std::string MarrowsApi::Missing(std::initializer_list<const char*> names) const {
    std::string out;
    for (const char* name : {"PDMErrorDumpStack", "PDMErrorClearStack"}) {
        for (const std::string& absent : missing_) {
            if (absent == name) out += (out.empty() ? "" : " ") + absent;
        }
    }
    for (const char* name : names) {
        for (const std::string& absent : missing_) {
            if (absent == name) out += (out.empty() ? "" : " ") + absent;
        }
    }
    return out;
}

namespace {

std::string BucketName(int bucket) { return "bucket" + std::to_string(bucket); }

// One connection as a careful client holds it: every result is checked, and the first failure
// dumps the error stack, clears it and is kept as the reason.
class Session {
public:
    explicit Session(const MarrowsApi& api) : api_(api) {}
    ~Session() {
        if (ldb_ != nullptr) api_.disconnect(ldb_);
        if (!ok()) api_.clear_errors();
    }
    bool ok() const { return failure_.empty(); }
    const std::string& failure() const { return failure_; }

    bool Check(int result, const char* what) {
        if (result == 0) return true;
        if (ok()) {
            failure_ = std::string(what) + " returned " + std::to_string(result);
            std::fprintf(stderr, "marrows: %s; the error stack:\n", failure_.c_str());
            api_.dump_errors(nullptr);
            api_.clear_errors();
        }
        return false;
    }
    bool Fail(const std::string& what) {
        if (ok()) failure_ = what;
        return false;
    }

    bool Create(const std::string& path) {
        return Check(api_.create(path.c_str(), &ldb_), "PDMLDBCreate");
    }
    bool Connect(const std::string& path) {
        return Check(api_.connect(path.c_str(), &ldb_), "PDMLDBConnect");
    }
    bool Disconnect() {
        LDBHandle ldb = ldb_;
        ldb_ = nullptr;
        return Check(api_.disconnect(ldb), "PDMLDBDisconnect");
    }
    bool Start() { return Check(api_.start(ldb_), "PDMLDBStartTransaction"); }
    bool Commit() { return Check(api_.commit(ldb_), "PDMLDBCommitTransaction"); }

    // The database's root, whose attributes a client reaches through its LDBHandle.
    LDBObjectHandle Root() const { return reinterpret_cast<LDBObjectHandle>(ldb_); }

    LDBObjectHandle NewObject(const char* type) {
        LDBObjectHandle object = nullptr;
        Check(api_.object_create(ldb_, type, &object), "PDMLDBObjectCreate");
        return object;
    }
    bool Set(LDBObjectHandle object, const char* name, const PDMAttrValue& value) {
        return Check(api_.set_attribute(object, name, &value), "PDMLDBObjectSetLDBAttribute");
    }
    bool SetObject(LDBObjectHandle object, const char* name, LDBObjectHandle target) {
        PDMAttrValue value{};
        value.kind = PDM_ATTR_OBJECT;
        value.value.obj = target;
        return Set(object, name, value);
    }
    bool SetInteger(LDBObjectHandle object, const char* name, int32_t number) {
        PDMAttrValue value{};
        value.kind = PDM_ATTR_INTEGER;
        value.value.i = number;
        return Set(object, name, value);
    }
    bool Get(LDBObjectHandle object, const char* name, PDMAttrValue* value) {
        return Check(api_.get_attribute(object, name, value), "PDMLDBObjectGetLDBAttribute");
    }
    // The object that an attribute holds; null after a failure or if it holds none.
    LDBObjectHandle GetObject(LDBObjectHandle object, const char* name) {
        PDMAttrValue value{};
        if (!Get(object, name, &value)) return nullptr;
        if (value.kind != PDM_ATTR_OBJECT || value.value.obj == nullptr) {
            Fail(std::string("attribute ") + name + " holds no object");
            return nullptr;
        }
        return value.value.obj;
    }
    bool Names(LDBObjectHandle object, std::vector<const char*>* names) {
        int count = 0;
        if (!Check(api_.get_attribute_names(object, &count, nullptr),
                   "PDMLDBObjectGetLDBAttributeNames")) {
            return false;
        }
        names->assign(static_cast<size_t>(count), nullptr);
        return Check(api_.get_attribute_names(object, &count, names->data()),
                     "PDMLDBObjectGetLDBAttributeNames");
    }

    LDBObjectHandle NewPart(int32_t count, const char* name, double weight) {
        LDBObjectHandle part = NewObject("Part");
        if (part == nullptr) return nullptr;
        PDMAttrValue text{};
        text.kind = PDM_ATTR_STRING;
        text.value.s = name;
        PDMAttrValue real{};
        real.kind = PDM_ATTR_DOUBLE;
        real.value.d = weight;
        if (!SetInteger(part, "count", count) || !Set(part, "name", text) ||
            !Set(part, "weight", real)) {
            return nullptr;
        }
        return part;
    }
    bool ReadPart(LDBObjectHandle part, Checksum* sum) {
        PDMAttrValue count{}, name{}, weight{};
        if (!Get(part, "count", &count) || !Get(part, "name", &name) ||
            !Get(part, "weight", &weight)) {
            return false;
        }
        if (count.kind != PDM_ATTR_INTEGER || name.kind != PDM_ATTR_STRING ||
            weight.kind != PDM_ATTR_DOUBLE) {
            return Fail("a part holds values of the wrong kinds");
        }
        sum->Add(count.value.i, name.value.s, weight.value.d);
        return true;
    }

    // The objects that hold the parts, found from the root.
    bool Holders(const Sizes& sizes, std::vector<LDBObjectHandle>* holders) {
        holders->clear();
        if (sizes.bucket_size <= 0) {
            holders->push_back(Root());
            return true;
        }
        int buckets = (sizes.objects + sizes.bucket_size - 1) / sizes.bucket_size;
        for (int b = 0; b < buckets; ++b) {
            LDBObjectHandle holder = GetObject(Root(), BucketName(b).c_str());
            if (holder == nullptr) return false;
            holders->push_back(holder);
        }
        return true;
    }
    // Object k found from the root through its holder alone.
    LDBObjectHandle FindPart(const Sizes& sizes, int k) {
        LDBObjectHandle holder =
            sizes.bucket_size <= 0 ? Root()
                                   : GetObject(Root(), BucketName(k / sizes.bucket_size).c_str());
        return holder != nullptr ? GetObject(holder, KeyOf(k).c_str()) : nullptr;
    }
    LDBObjectHandle Part(const Sizes& sizes, const std::vector<LDBObjectHandle>& holders,
                         int k) {
        LDBObjectHandle holder = sizes.bucket_size <= 0 ? holders[0]
                                                        : holders[k / sizes.bucket_size];
        return GetObject(holder, KeyOf(k).c_str());
    }

private:
    const MarrowsApi& api_;
    LDBHandle ldb_ = nullptr;
    std::string failure_;
};

Outcome Result(const Session& session, double seconds) {
    return session.ok() ? Outcome::Done(seconds) : Outcome::Failed(session.failure());
}

}  // namespace

Outcome MarrowsEngine::Bulk(const std::string& path, const Sizes& sizes) {
    std::string missing = api_.Missing({"PDMLDBCreate", "PDMLDBStartTransaction",
                                        "PDMLDBObjectCreate", "PDMLDBObjectSetLDBAttribute",
                                        "PDMLDBCommitTransaction", "PDMLDBDisconnect"});
    if (!missing.empty()) return Outcome::Missing("the library lacks " + missing);
    Stopwatch watch;
    Session session(api_);
    if (!session.Create(path) || !session.Start()) return Result(session, 0);
    std::vector<LDBObjectHandle> holders;
    if (sizes.bucket_size <= 0) {
        holders.push_back(session.Root());
    } else {
        for (int b = 0; b * sizes.bucket_size < sizes.objects; ++b) {
            LDBObjectHandle holder = session.NewObject("PartBucket");
            if (holder == nullptr ||
                !session.SetObject(session.Root(), BucketName(b).c_str(), holder)) {
                return Result(session, 0);
            }
            holders.push_back(holder);
        }
    }
    for (int k = 0; k < sizes.objects; ++k) {
        LDBObjectHandle part = session.NewPart(CountOf(k), NameOf(k).c_str(), WeightOf(k));
        LDBObjectHandle holder =
            sizes.bucket_size <= 0 ? holders[0] : holders[k / sizes.bucket_size];
        if (part == nullptr || !session.SetObject(holder, KeyOf(k).c_str(), part)) {
            return Result(session, 0);
        }
    }
    session.Commit() && session.Disconnect();
    return Result(session, watch.Seconds());
}

Outcome MarrowsEngine::SmallCommits(const std::string& path, const Sizes& sizes) {
    std::string missing =
        api_.Missing({"PDMLDBConnect", "PDMLDBStartTransaction", "PDMLDBObjectGetLDBAttribute",
                      "PDMLDBObjectSetLDBAttribute", "PDMLDBCommitTransaction",
                      "PDMLDBDisconnect"});
    if (!missing.empty()) return Outcome::Missing("the library lacks " + missing);
    Session session(api_);
    if (!session.Connect(path)) return Result(session, 0);
    Picker picker(kCommitSeed);
    Stopwatch watch;
    for (int j = 0; j < sizes.commits; ++j) {
        int k = picker.Next(sizes.objects);
        // Each transaction finds its object from the root again, as a client that keeps no
        // handles across transactions does.
        if (!session.Start()) break;
        LDBObjectHandle part = session.FindPart(sizes, k);
        if (part == nullptr || !session.SetInteger(part, "count", CommittedCount(j)) ||
            !session.Commit()) {
            break;
        }
    }
    double seconds = watch.Seconds();
    if (session.ok()) session.Disconnect();
    return Result(session, seconds);
}

Outcome MarrowsEngine::ReadAll(const std::string& path, Checksum* sum) {
    std::string missing =
        api_.Missing({"PDMLDBConnect", "PDMLDBStartTransaction", "PDMLDBObjectGetLDBAttribute",
                      "PDMLDBObjectGetLDBAttributeNames", "PDMLDBCommitTransaction",
                      "PDMLDBDisconnect"});
    if (!missing.empty()) return Outcome::Missing("the library lacks " + missing);
    Stopwatch watch;
    Session session(api_);
    if (!session.Connect(path) || !session.Start()) return Result(session, 0);
    std::vector<const char*> root_names;
    if (!session.Names(session.Root(), &root_names)) return Result(session, 0);
    std::vector<const char*> names;
    for (const char* root_name : root_names) {
        LDBObjectHandle object = session.GetObject(session.Root(), root_name);
        if (object == nullptr) return Result(session, 0);
        if (std::strncmp(root_name, "bucket", 6) != 0) {
            if (!session.ReadPart(object, sum)) return Result(session, 0);
            continue;
        }
        if (!session.Names(object, &names)) return Result(session, 0);
        for (const char* name : names) {
            LDBObjectHandle part = session.GetObject(object, name);
            if (part == nullptr || !session.ReadPart(part, sum)) return Result(session, 0);
        }
    }
    session.Commit() && session.Disconnect();
    return Result(session, watch.Seconds());
}

Outcome MarrowsEngine::WarmReads(const std::string& path, const Sizes& sizes, int64_t* total) {
    std::string missing =
        api_.Missing({"PDMLDBConnect", "PDMLDBStartTransaction", "PDMLDBObjectGetLDBAttribute",
                      "PDMLDBCommitTransaction", "PDMLDBDisconnect"});
    if (!missing.empty()) return Outcome::Missing("the library lacks " + missing);
    Session session(api_);
    std::vector<LDBObjectHandle> holders;
    if (!session.Connect(path) || !session.Start() || !session.Holders(sizes, &holders)) {
        return Result(session, 0);
    }
    auto read = [&](int k, int32_t* count) {
        LDBObjectHandle part = session.Part(sizes, holders, k);
        PDMAttrValue value{};
        if (part == nullptr || !session.Get(part, "count", &value)) return false;
        if (value.kind != PDM_ATTR_INTEGER) return session.Fail("a count is not an integer");
        *count = value.value.i;
        return true;
    };
    int32_t count = 0;
    for (int k = 0; k < sizes.objects; ++k) {
        if (!read(k, &count)) return Result(session, 0);
    }
    Picker picker(kReadSeed);
    *total = 0;
    Stopwatch watch;
    for (int i = 0; i < sizes.reads; ++i) {
        if (!read(picker.Next(sizes.objects), &count)) return Result(session, 0);
        *total += count;
    }
    double seconds = watch.Seconds();
    session.Commit() && session.Disconnect();
    return Result(session, seconds);
}

Outcome MarrowsEngine::ReplaceHalf(const std::string& path, const Sizes& sizes) {
    std::string missing =
        api_.Missing({"PDMLDBConnect", "PDMLDBStartTransaction", "PDMLDBObjectCreate",
                      "PDMLDBObjectGetLDBAttribute", "PDMLDBObjectSetLDBAttribute",
                      "PDMLDBCommitTransaction", "PDMLDBDisconnect"});
    if (!missing.empty()) return Outcome::Missing("the library lacks " + missing);
    Session session(api_);
    std::vector<LDBObjectHandle> holders;
    if (!session.Connect(path) || !session.Start() || !session.Holders(sizes, &holders)) {
        return Result(session, 0);
    }
    for (int k = 0; k < sizes.objects; k += 2) {
        LDBObjectHandle old_part = session.Part(sizes, holders, k);
        PDMAttrValue count{}, name{}, weight{};
        if (old_part == nullptr || !session.Get(old_part, "count", &count) ||
            !session.Get(old_part, "name", &name) || !session.Get(old_part, "weight", &weight)) {
            return Result(session, 0);
        }
        // The name read comes from the library's ring of texts: copy it before the next call.
        std::string text = name.value.s != nullptr ? name.value.s : "";
        LDBObjectHandle part = session.NewPart(count.value.i, text.c_str(), weight.value.d);
        LDBObjectHandle holder =
            sizes.bucket_size <= 0 ? holders[0] : holders[k / sizes.bucket_size];
        if (part == nullptr || !session.SetObject(holder, KeyOf(k).c_str(), part)) {
            return Result(session, 0);
        }
    }
    session.Commit() && session.Disconnect();
    return Result(session, 0);
}

Outcome MarrowsEngine::Reclaim(const std::string& path) {
    std::string missing = api_.Missing({"PDMLDBCompact"});
    if (!missing.empty()) return Outcome::Missing("the library lacks " + missing);
    Session session(api_);
    PDMLDBCompactOptions options{};
    options.compact = 1;
    options.trim = 1;
    Stopwatch watch;
    session.Check(api_.compact(path.c_str(), &options), "PDMLDBCompact");
    return Result(session, watch.Seconds());
}

uint64_t MarrowsEngine::FileBytes(const std::string& path) const { return FileSize(path); }

void MarrowsEngine::Remove(const std::string& path) const { RemoveFile(path); }

}  // namespace sqlitebench
