#include "srcldb/ldbreps.h"

#include "errors/nyxerror.h"

namespace {

const char kSourcePath[] = "srcldb/ldbreps";

}  // namespace

// The collections give element access only through their non-const faces; reading an element
// changes nothing in them.
const PDMc_LDBRef& LDBRefVector::At(uint32_t index) const {
    return *const_cast<LDBRefXArray&>(m_items).At(index);
}

int32_t LDBRefVector::SetCount(uint32_t count) {
    if (count == 0) {
        m_items.Clear();
        return 0;
    }
    if (!m_items.SetSize(count)) return NYX_INTERNAL_ERROR("Out of memory", kSourcePath);
    // SetSize keeps the references that were there; the reader expects a clean array.
    PDMc_LDBRef null;
    for (uint32_t i = 0; i < count; ++i) *m_items.At(i) = null;
    return 0;
}

int32_t LDBRefVector::Append(const PDMc_LDBRef& value) {
    if (!m_items.Insert(&value)) return NYX_INTERNAL_ERROR("Out of memory", kSourcePath);
    return 0;
}

uint32_t LDBIdVector::At(uint32_t index) const {
    return *const_cast<LDBIdXArray&>(m_items).At(index);
}

int32_t LDBIdVector::SetCount(uint32_t count) {
    if (count == 0) {
        m_items.Clear();
        return 0;
    }
    if (!m_items.SetSize(count)) return NYX_INTERNAL_ERROR("Out of memory", kSourcePath);
    // SetSize keeps the words that were there; the reader expects a clean array.
    for (uint32_t i = 0; i < count; ++i) *m_items.At(i) = 0;
    return 0;
}

int32_t LDBIdVector::Append(uint32_t value) {
    if (!m_items.Insert(&value)) return NYX_INTERNAL_ERROR("Out of memory", kSourcePath);
    return 0;
}

int32_t LDBRefStringTable::Insert(const nyxString& key, const PDMc_LDBRef& value) {
    // A present key is refused by the table and keeps its value.
    m_table.PutValue(&key, &value);
    return 0;
}

PDMc_LDBRef* LDBRefStringTable::Find(const char* key) {
    nyxString text(key);
    return m_table.Find(text);
}

int32_t LDBRefStringTable::VisitEntries(LDBMapEntryVisitor visit, void* context) const {
    LDBRefHashTable& table = const_cast<LDBRefHashTable&>(m_table);
    for (void* entry = table.FirstEntry(nullptr); entry != nullptr;
         entry = table.FirstEntry(entry)) {
        int32_t rc = visit(context, *static_cast<const nyxString*>(table.KeyOfEntry(entry)),
                           *static_cast<const PDMc_LDBRef*>(table.ValueOfEntry(entry)));
        if (rc != 0) return rc;
    }
    return 0;
}
