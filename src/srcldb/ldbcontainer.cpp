#include "srcldb/ldbcontainer.h"

#include "collections/nyxelements.h"
#include "errors/nyxerror.h"

namespace {

const char kSourcePath[] = "srcldb/ldbcontainer";

using ObjectRuns = nyxElementRuns<PDMc_LDBObject*>;
using KeyRuns = nyxElementRuns<nyxString>;

// The reference that an element of the collection face stands for: the resolved form of the
// object pointer it holds.
PDMc_LDBRef ReferenceTo(const void* element) {
    if (element == nullptr) return PDMc_LDBRef();
    return PDMc_LDBRef(*static_cast<PDMc_LDBObject* const*>(element));
}

int32_t CopyEntry(void* context, const nyxString& key, const PDMc_LDBRef& value) {
    return static_cast<LDBRefStringTable*>(context)->Insert(key, value);
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// PDMc_LDBArray

PDMc_LDBArray::PDMc_LDBArray() = default;

PDMc_LDBArray::PDMc_LDBArray(LDBObjectOwner* owner, uint32_t count, PDMc_LDBObject* object)
    : PDMc_LDBObject(owner, kTypeCode, kClassVersion) {
    PDMc_LDBRef reference(object);
    if (count > 0 && !m_rep.Items().InsertCopies(0, count, &reference))
        nyxErrorPushInternal("Out of memory", kSourcePath, __LINE__);
}

PDMc_LDBArray::PDMc_LDBArray(const PDMc_LDBArray& other) : PDMc_LDBObject(other), nyxCollection() {
    LDBRefXArray& source = const_cast<LDBRefXArray&>(other.m_rep.Items());
    m_rep.Items().SetSettings(source.GetSettings());
    if (!m_rep.Items().InsertAll(source))
        nyxErrorPushInternal("Out of memory", kSourcePath, __LINE__);
}

PDMc_LDBArray::~PDMc_LDBArray() = default;

const char* PDMc_LDBArray::GetClassName() const { return "PDMc_LDBArray"; }

void* PDMc_LDBArray::Self() { return static_cast<PDMc_LDBObject*>(this); }

void* PDMc_LDBArray::ElementOf(PDMc_LDBRef* reference) {
    if (reference == nullptr) return nullptr;
    if (!reference->IsResolved() && reference->Resolve() == nullptr) {
        m_no_object = nullptr;
        return &m_no_object;
    }
    return reference->TargetField();
}

bool PDMc_LDBArray::IndexOf(nyxIterator* iterator, uint32_t& index) const {
    if (iterator == nullptr || iterator->GetCollection() != static_cast<const nyxCollection*>(this))
        return false;
    index = static_cast<nyxXArrayIterator*>(iterator)->Index();
    return true;
}

bool PDMc_LDBArray::Contains(const void* element) {
    PDMc_LDBRef reference = ReferenceTo(element);
    return m_rep.Items().Contains(&reference);
}

void* PDMc_LDBArray::GetAt(uint32_t index) {
    return ElementOf(static_cast<PDMc_LDBRef*>(m_rep.Items().GetAt(index)));
}

void* PDMc_LDBArray::GetFirst() {
    return ElementOf(static_cast<PDMc_LDBRef*>(m_rep.Items().GetFirst()));
}

void* PDMc_LDBArray::GetLast() {
    return ElementOf(static_cast<PDMc_LDBRef*>(m_rep.Items().GetLast()));
}

PDMc_LDBObject* PDMc_LDBArray::ObjectAt(uint32_t index) {
    void* element = GetAt(index);
    return element == nullptr ? nullptr : *static_cast<PDMc_LDBObject**>(element);
}

nyxIterator* PDMc_LDBArray::NewIterator() {
    return new (std::nothrow) nyxXArrayIterator(this);
}

bool PDMc_LDBArray::Insert(const void* element) {
    PDMc_LDBRef reference = ReferenceTo(element);
    if (!m_rep.Items().Insert(&reference)) return false;
    MarkModified();
    return true;
}

bool PDMc_LDBArray::InsertAt(uint32_t index, const void* element) {
    PDMc_LDBRef reference = ReferenceTo(element);
    if (!m_rep.Items().InsertAt(index, &reference)) return false;
    MarkModified();
    return true;
}

bool PDMc_LDBArray::InsertBefore(nyxIterator* iterator, const void* element) {
    uint32_t index;
    bool inserted = false;
    if (IndexOf(iterator, index)) {
        // The array's own iterator form gives the places before the first and past the end.
        nyxXArrayIterator place(&m_rep.Items(), index);
        PDMc_LDBRef reference = ReferenceTo(element);
        inserted = m_rep.Items().InsertBefore(&place, &reference);
    }
    nyxIterator::Release(iterator);
    if (inserted) MarkModified();
    return inserted;
}

bool PDMc_LDBArray::InsertAfter(nyxIterator* iterator, const void* element) {
    uint32_t index;
    bool inserted = false;
    if (IndexOf(iterator, index)) {
        nyxXArrayIterator place(&m_rep.Items(), index);
        PDMc_LDBRef reference = ReferenceTo(element);
        inserted = m_rep.Items().InsertAfter(&place, &reference);
    }
    nyxIterator::Release(iterator);
    if (inserted) MarkModified();
    return inserted;
}

bool PDMc_LDBArray::InsertFirst(const void* element) {
    MarkModified();
    PDMc_LDBRef reference = ReferenceTo(element);
    return m_rep.Items().InsertFirst(&reference);
}

bool PDMc_LDBArray::InsertLast(const void* element) {
    MarkModified();
    PDMc_LDBRef reference = ReferenceTo(element);
    return m_rep.Items().InsertLast(&reference);
}

bool PDMc_LDBArray::Remove(const void* element, int32_t count) {
    PDMc_LDBRef reference = ReferenceTo(element);
    uint32_t before = m_rep.Count();
    bool removed = m_rep.Items().Remove(&reference, count);
    // A count above the matches gives false after removing what there was; that change must
    // still reach the file.
    if (removed || m_rep.Count() != before) MarkModified();
    return removed;
}

void PDMc_LDBArray::Clear() {
    if (m_rep.Count() == 0) return;
    MarkModified();
    m_rep.Clear();
}

bool PDMc_LDBArray::RemoveAt(nyxIterator* iterator, bool) {
    nyxCollectionNotSupported("RemoveAt", GetClassName());
    nyxIterator::Release(iterator);
    return false;
}

bool PDMc_LDBArray::RemoveAt(uint32_t index) {
    MarkModified();
    return m_rep.Items().RemoveAt(index);
}

bool PDMc_LDBArray::RemoveFirst() {
    if (!m_rep.Items().RemoveFirst()) return false;
    MarkModified();
    return true;
}

bool PDMc_LDBArray::RemoveLast() {
    if (!m_rep.Items().RemoveLast()) return false;
    MarkModified();
    return true;
}

bool PDMc_LDBArray::SetAt(uint32_t index, const void* element) {
    MarkModified();
    PDMc_LDBRef reference = ReferenceTo(element);
    return m_rep.Items().SetAt(index, &reference);
}

bool PDMc_LDBArray::SetAt(nyxIterator* iterator, const void* element) {
    uint32_t index;
    bool known = IndexOf(iterator, index);
    nyxIterator::Release(iterator);
    if (!known) return false;
    return SetAt(index, element);
}

void PDMc_LDBArray::DestroyElements(void* elements, uint32_t count) const {
    ObjectRuns::Destroy(elements, count);
}

void PDMc_LDBArray::ConstructElements(void* target, const void* source, uint32_t count) const {
    ObjectRuns::Construct(target, source, count);
}

void PDMc_LDBArray::RelocateElements(void* target, const void* source, uint32_t count) const {
    ObjectRuns::Construct(target, source, count);
}

void PDMc_LDBArray::FillElements(void* target, const void* element, uint32_t count) const {
    ObjectRuns::Fill(target, element, count);
}

void PDMc_LDBArray::AssignElements(void* target, const void* source, uint32_t count) const {
    ObjectRuns::Assign(target, source, count);
}

// ---------------------------------------------------------------------------------------------
// PDMc_LDBMap

PDMc_LDBMap::PDMc_LDBMap() : m_rep(kLoadCapacity) {}

PDMc_LDBMap::PDMc_LDBMap(LDBObjectOwner* owner, uint32_t capacity)
    : PDMc_LDBObject(owner, kTypeCode, kClassVersion), m_rep(capacity) {}

PDMc_LDBMap::PDMc_LDBMap(const PDMc_LDBMap& other)
    : PDMc_LDBObject(other), nyxKeyedCollection(), m_rep(kLoadCapacity) {
    other.m_rep.VisitEntries(&CopyEntry, &m_rep);
}

PDMc_LDBMap::~PDMc_LDBMap() = default;

const char* PDMc_LDBMap::GetClassName() const { return "PDMc_LDBStringMap"; }

void* PDMc_LDBMap::Self() { return static_cast<PDMc_LDBObject*>(this); }

void* PDMc_LDBMap::ElementOf(PDMc_LDBRef* reference) {
    if (reference == nullptr) return nullptr;
    if (!reference->IsResolved() && reference->Resolve() == nullptr) {
        m_no_object = nullptr;
        return &m_no_object;
    }
    return reference->TargetField();
}

bool PDMc_LDBMap::Contains(const void*) {
    nyxCollectionNotSupported("Contains", GetClassName());
    return false;
}

void* PDMc_LDBMap::GetAt(uint32_t) {
    nyxCollectionNotSupported("GetAt", GetClassName());
    return nullptr;
}

void* PDMc_LDBMap::GetFirst() {
    nyxCollectionNotSupported("GetFirst", GetClassName());
    return nullptr;
}

void* PDMc_LDBMap::GetLast() {
    nyxCollectionNotSupported("GetLast", GetClassName());
    return nullptr;
}

nyxIterator* PDMc_LDBMap::NewIterator() {
    return new (std::nothrow) nyxHashIterator(this, FirstEntry(nullptr));
}

bool PDMc_LDBMap::Insert(const void*) {
    nyxCollectionNotSupported("Insert", GetClassName());
    return false;
}

bool PDMc_LDBMap::InsertAt(uint32_t, const void*) {
    nyxCollectionNotSupported("InsertAt", GetClassName());
    return false;
}

bool PDMc_LDBMap::InsertBefore(nyxIterator*, const void*) {
    nyxCollectionNotSupported("InsertBefore", GetClassName());
    return false;
}

bool PDMc_LDBMap::InsertAfter(nyxIterator*, const void*) {
    nyxCollectionNotSupported("InsertAfter", GetClassName());
    return false;
}

bool PDMc_LDBMap::InsertFirst(const void*) {
    nyxCollectionNotSupported("InsertFirst", GetClassName());
    return false;
}

bool PDMc_LDBMap::InsertLast(const void*) {
    nyxCollectionNotSupported("InsertLast", GetClassName());
    return false;
}

bool PDMc_LDBMap::Remove(const void*, int32_t) {
    nyxCollectionNotSupported("Remove", GetClassName());
    return false;
}

void PDMc_LDBMap::Clear() {
    if (m_rep.Count() == 0) return;
    MarkModified();
    m_rep.Clear();
}

bool PDMc_LDBMap::RemoveAt(nyxIterator* iterator, bool forward) {
    bool removed = false;
    if (iterator != nullptr && iterator->GetCollection() == static_cast<nyxCollection*>(this)) {
        void* entry = static_cast<nyxHashIterator*>(iterator)->Entry();
        if (entry != nullptr) {
            nyxHashIterator place(&m_rep.Table(), entry);
            removed = m_rep.Table().RemoveAt(&place, forward);
        }
    }
    nyxIterator::Release(iterator);
    if (removed) MarkModified();
    return removed;
}

bool PDMc_LDBMap::RemoveAt(uint32_t) {
    nyxCollectionNotSupported("RemoveAt", GetClassName());
    return false;
}

bool PDMc_LDBMap::RemoveFirst() {
    nyxCollectionNotSupported("RemoveFirst", GetClassName());
    return false;
}

bool PDMc_LDBMap::RemoveLast() {
    nyxCollectionNotSupported("RemoveLast", GetClassName());
    return false;
}

bool PDMc_LDBMap::SetAt(uint32_t, const void*) {
    nyxCollectionNotSupported("SetAt", GetClassName());
    return false;
}

bool PDMc_LDBMap::SetAt(nyxIterator*, const void*) {
    nyxCollectionNotSupported("SetAt", GetClassName());
    return false;
}

void PDMc_LDBMap::DestroyElements(void* elements, uint32_t count) const {
    ObjectRuns::Destroy(elements, count);
}

void PDMc_LDBMap::ConstructElements(void* target, const void* source, uint32_t count) const {
    ObjectRuns::Construct(target, source, count);
}

void PDMc_LDBMap::RelocateElements(void* target, const void* source, uint32_t count) const {
    ObjectRuns::Construct(target, source, count);
}

void PDMc_LDBMap::FillElements(void* target, const void* element, uint32_t count) const {
    ObjectRuns::Fill(target, element, count);
}

void PDMc_LDBMap::AssignElements(void* target, const void* source, uint32_t count) const {
    ObjectRuns::Assign(target, source, count);
}

void* PDMc_LDBMap::FindValue(const void* key) {
    return ElementOf(static_cast<PDMc_LDBRef*>(m_rep.Table().FindValue(key)));
}

bool PDMc_LDBMap::ContainsKey(const void* key) { return m_rep.Table().ContainsKey(key); }

bool PDMc_LDBMap::GetValue(const void* key, void* value) {
    PDMc_LDBObject** out = static_cast<PDMc_LDBObject**>(value);
    void* element = FindValue(key);
    *out = element == nullptr ? nullptr : *static_cast<PDMc_LDBObject**>(element);
    return element != nullptr;
}

bool PDMc_LDBMap::PutValue(const void* key, const void* value) {
    PDMc_LDBRef reference = ReferenceTo(value);
    if (!m_rep.Table().PutValue(key, &reference)) return false;
    MarkModified();
    return true;
}

bool PDMc_LDBMap::RemoveKey(const void* key, int32_t count) {
    if (!m_rep.Table().RemoveKey(key, count)) return false;
    MarkModified();
    return true;
}

void* PDMc_LDBMap::FirstEntry(void* entry) { return m_rep.Table().FirstEntry(entry); }

void* PDMc_LDBMap::LastEntry(void* entry) { return m_rep.Table().LastEntry(entry); }

void* PDMc_LDBMap::KeyOfEntry(void* entry) { return m_rep.Table().KeyOfEntry(entry); }

void* PDMc_LDBMap::ValueOfEntry(void* entry) {
    return ElementOf(static_cast<PDMc_LDBRef*>(m_rep.Table().ValueOfEntry(entry)));
}

void* PDMc_LDBMap::GetPair(void*) {
    nyxCollectionNotSupported("GetPair", GetClassName());
    return nullptr;
}

nyxIterator* PDMc_LDBMap::NewIteratorAtKey(const void* key) {
    nyxIterator* found = m_rep.Table().NewIteratorAtKey(key);
    if (found == nullptr) return nullptr;
    void* entry = static_cast<nyxHashIterator*>(found)->Entry();
    found->Release();
    return new (std::nothrow) nyxHashIterator(this, entry);
}

void PDMc_LDBMap::DestroyKeys(void* keys, uint32_t count) const { KeyRuns::Destroy(keys, count); }

void PDMc_LDBMap::ConstructKeys(void* target, const void* source, uint32_t count) const {
    KeyRuns::Construct(target, source, count);
}

void PDMc_LDBMap::AssignKeys(void* target, const void* source, uint32_t count) const {
    KeyRuns::Assign(target, source, count);
}

bool PDMc_LDBMap::KeysEqual(const void* a, const void* b) const {
    return nyxElementTraits<nyxString>::Equal(*static_cast<const nyxString*>(a),
                                              *static_cast<const nyxString*>(b));
}

int32_t PDMc_LDBMap::CompareKeys(const void* a, const void* b) const {
    return nyxElementTraits<nyxString>::Compare(*static_cast<const nyxString*>(a),
                                                *static_cast<const nyxString*>(b));
}

PDMc_LDBObject* PDMc_LDBMap::Find(const char* name) {
    nyxString key(name);
    PDMc_LDBObject* object = nullptr;
    GetValue(&key, &object);
    return object;
}

bool PDMc_LDBMap::Has(const char* name) {
    nyxString key(name);
    return ContainsKey(&key);
}

bool PDMc_LDBMap::Put(const char* name, PDMc_LDBObject* object) {
    nyxString key(name);
    return PutValue(&key, &object);
}

bool PDMc_LDBMap::RemoveName(const char* name) {
    nyxString key(name);
    return RemoveKey(&key, 1);
}

// ---------------------------------------------------------------------------------------------

PDMc_LDBArray* LDBArrayTarget(PDMc_LDBRef& reference) {
    PDMc_LDBObject* target = reference.GetTarget();
    if (target == nullptr || target->GetTypeCode() != LDB_TYPE_ARRAY) return nullptr;
    return static_cast<PDMc_LDBArray*>(target);
}

PDMc_LDBMap* LDBMapTarget(PDMc_LDBRef& reference) {
    PDMc_LDBObject* target = reference.GetTarget();
    if (target == nullptr || target->GetTypeCode() != LDB_TYPE_MAP) return nullptr;
    return static_cast<PDMc_LDBMap*>(target);
}

bool LDBIndexOfObject(PDMc_LDBArray* array, PDMc_LDBObject* object, uint32_t& index) {
    for (uint32_t i = 0; array != nullptr && i < array->GetCount(); ++i) {
        if (array->ObjectAt(i) == object) {
            index = i;
            return true;
        }
    }
    return false;
}
