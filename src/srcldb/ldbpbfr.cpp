#include "ldbpbfr.h"

#include <cstring>
#include <initializer_list>
#include <new>

#include "errors/nyxerror.h"
#include "srcldb/ldbstore.h"

namespace {
const char kSource[] = "srcldb/ldbpbfr";

// Eviction classes, tried in this order: a page that was rewritten as a whole is done with
// (it was filled by a sequential write), a clean page costs nothing to drop, and a partly
// written page is the one most likely to be written again.
uint8_t ClassOf(const LDBPageBuffer* page) {
    if (!page->Modified()) return LDBPagePool::kClean;
    return page->WriteCount() >= LDB_PAGE_SIZE ? LDBPagePool::kFullyWritten
                                               : LDBPagePool::kPartlyWritten;
}

// Older first: the lower stamp, then the lower address.
bool OlderThan(const LDBPageBuffer* a, const LDBPageBuffer* b) {
    if (a->UseStamp() != b->UseStamp()) return a->UseStamp() < b->UseStamp();
    return a->LowAddress() < b->LowAddress();
}
}  // namespace

LDBPageBuffer::LDBPageBuffer(LDBPagePool* pool, uint32_t address) : m_pool(pool) {
    Reset(address);
}

void LDBPageBuffer::Reset(uint32_t address) {
    m_pin_count = 0;
    m_low_address = address & ~LDB_PAGE_MASK;
    m_high_address = address | LDB_PAGE_MASK;
    m_low_modified = 0;
    m_high_modified = 0;
    m_write_count = 0;
    m_modified = false;
    m_use_stamp = 0;
    m_next = nullptr;
    m_previous = nullptr;
    m_age_next = nullptr;
    m_age_previous = nullptr;
    m_age_class = LDBPagePool::kUnlisted;
    // Bytes that nothing read or wrote are never exposed in a sound file; zeroing them keeps
    // files reproducible byte for byte.
    std::memset(m_data, 0, sizeof m_data);
}

void LDBPageBuffer::Read(uint32_t address, uint8_t* out, uint32_t count) {
    std::memcpy(out, m_data + (address - m_low_address), count);
    m_use_stamp = m_pool->NextStamp();
    m_pool->Touched(this);
}

void LDBPageBuffer::Write(uint32_t address, const uint8_t* in, uint32_t count) {
    std::memcpy(m_data + (address - m_low_address), in, count);
    m_write_count += count;
    m_modified = true;
    m_use_stamp = m_pool->NextStamp();
    m_pool->Touched(this);
    uint32_t last = address + count - 1;
    if (last > m_high_modified) m_high_modified = last;
    if (m_low_modified == 0 || address < m_low_modified) m_low_modified = address;
}

int32_t LDBPageBuffer::ReadFromDevice() {
    uint32_t low = 0, high = 0;
    m_pool->Store()->AddressRange(low, high);
    uint32_t deviceHigh = m_pool->DeviceHigh();
    uint32_t start = m_low_address > low ? m_low_address : low;
    if (start > deviceHigh) return 0;  // nothing of this page is on the device yet
    uint32_t end = m_high_address < deviceHigh ? m_high_address : deviceHigh;
    if (m_pool->Store()->ReadDevice(start, m_data + (start - m_low_address), end - start + 1) != 0)
        return NYX_INTERNAL_ERROR("ReadFromDevice Failed", kSource);
    return 0;
}

int32_t LDBPageBuffer::FlushToDevice() {
    if (!m_modified) return 0;
    uint32_t low = 0, high = 0;
    m_pool->Store()->AddressRange(low, high);
    uint32_t deviceHigh = m_pool->DeviceHigh();
    if (m_low_modified < low)
        return NYX_INTERNAL_ERROR("FlushToDevice - LowAddress Outside Range", kSource);
    if (m_high_modified > high)
        return NYX_INTERNAL_ERROR("FlushToDevice - HighAddress Outside Range", kSource);
    // One write of the whole span: the store writes only whole objects and blocks, so every
    // byte between the lowest and the highest change is valid.
    if (int32_t rc = m_pool->Store()->WriteDevice(m_low_modified,
                                                  m_data + (m_low_modified - m_low_address),
                                                  m_high_modified - m_low_modified + 1))
        return rc;
    if (m_high_modified > deviceHigh) m_pool->RaiseDeviceHigh(m_high_modified);
    m_low_modified = 0;
    m_high_modified = 0;
    m_write_count = 0;
    m_modified = false;
    m_pool->Reclassed(this);
    return 0;
}

namespace {

// Room for a full pool from the start, kept when pages go: the index never shrinks back and
// grows again with the next miss.
nyxXArraySettings IndexSettings() {
    nyxXArraySettings settings;
    settings.growth_block = LDB_POOL_LIMIT + 1;
    settings.shrink = 0;
    settings.raw = 1;
    return settings;
}

}  // namespace

LDBPagePool::LDBPagePool(LDBStore* store)
    : m_first(nullptr), m_index(IndexSettings()), m_spare(nullptr), m_store(store), m_count(0),
      m_clock(0), m_device_high(0), m_generation(0) {}

LDBPagePool::~LDBPagePool() { Clear(); }

LDBPageBuffer* LDBPagePool::IndexAt(uint32_t place) const {
    return static_cast<LDBPageBuffer**>(m_index.GetData())[place];
}

uint32_t LDBPagePool::IndexPlace(uint32_t lowAddress) const {
    LDBPageBuffer* const* pages = static_cast<LDBPageBuffer**>(m_index.GetData());
    uint32_t low = 0, high = m_index.GetCount();
    while (low < high) {
        uint32_t middle = low + (high - low) / 2;
        if (pages[middle]->m_low_address < lowAddress)
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}

LDBPageBuffer* LDBPagePool::FindPage(uint32_t address) const {
    uint32_t place = IndexPlace(address & ~LDB_PAGE_MASK);
    if (place == m_index.GetCount()) return nullptr;
    LDBPageBuffer* page = IndexAt(place);
    return page->Covers(address) ? page : nullptr;
}

LDBPageBuffer* LDBPagePool::GetPage(uint32_t address) {
    if (LDBPageBuffer* page = FindPage(address)) return page;
    bool evictionFailed = false;
    while (m_count >= LDB_POOL_LIMIT) {
        bool clean = nyxErrorStackEmpty();
        if (!EvictOne()) break;
        if (clean && !nyxErrorStackEmpty()) evictionFailed = true;
    }
    // A lost write-back fails the commit that caused it; don't let it go on writing.
    if (evictionFailed) return nullptr;
    // The page of the last eviction serves again: a fresh allocation of a page's size would
    // make the allocator sweep its small free chunks on every miss.
    LDBPageBuffer* page = m_spare;
    m_spare = nullptr;
    if (page != nullptr)
        page->Reset(address);
    else
        page = new (std::nothrow) LDBPageBuffer(this, address);
    if (page == nullptr) {
        nyxErrorPushInternal("LDB page allocation failed", kSource, __LINE__);
        return nullptr;
    }
    if (page->ReadFromDevice() != 0) {
        delete page;
        return nullptr;
    }
    if (!Link(page)) {
        delete page;
        nyxErrorPushInternal("LDB page allocation failed", kSource, __LINE__);
        return nullptr;
    }
    ++m_count;
    return page;
}

bool LDBPagePool::Link(LDBPageBuffer* page) {
    uint32_t place = IndexPlace(page->m_low_address);
    if (!m_index.InsertAt(place, &page)) return false;
    LDBPageBuffer* previous = place > 0 ? IndexAt(place - 1) : nullptr;
    LDBPageBuffer* next = place + 1 < m_index.GetCount() ? IndexAt(place + 1) : nullptr;
    page->m_previous = previous;
    page->m_next = next;
    if (next != nullptr) next->m_previous = page;
    if (previous != nullptr)
        previous->m_next = page;
    else
        m_first = page;
    AgeInsertOrdered(page);
    return true;
}

void LDBPagePool::Unlink(LDBPageBuffer* page) {
    AgeUnlink(page);
    m_index.RemoveAt(IndexPlace(page->m_low_address));
    if (page->m_previous != nullptr)
        page->m_previous->m_next = page->m_next;
    else
        m_first = page->m_next;
    if (page->m_next != nullptr) page->m_next->m_previous = page->m_previous;
    page->m_next = page->m_previous = nullptr;
}

LDBPageBuffer* LDBPagePool::PickVictim() const {
    for (LDBPageBuffer* page : m_age_first) {
        for (; page != nullptr; page = page->m_age_next)
            if (page->m_pin_count == 0) return page;
    }
    return nullptr;
}

void LDBPagePool::Touched(LDBPageBuffer* page) {
    if (page->m_age_class == kUnlisted) return;
    // The stamp is the newest of all: the page goes to the end of its class.
    uint8_t ageClass = ClassOf(page);
    if (ageClass == page->m_age_class && page->m_age_next == nullptr) return;
    AgeUnlink(page);
    AgeAppend(page, ageClass);
}

void LDBPagePool::Reclassed(LDBPageBuffer* page) {
    if (page->m_age_class == kUnlisted || ClassOf(page) == page->m_age_class) return;
    AgeUnlink(page);
    AgeInsertOrdered(page);
}

void LDBPagePool::AgeAppend(LDBPageBuffer* page, uint8_t ageClass) {
    page->m_age_class = ageClass;
    page->m_age_next = nullptr;
    page->m_age_previous = m_age_last[ageClass];
    if (m_age_last[ageClass] != nullptr)
        m_age_last[ageClass]->m_age_next = page;
    else
        m_age_first[ageClass] = page;
    m_age_last[ageClass] = page;
}

void LDBPagePool::AgeInsertOrdered(LDBPageBuffer* page) {
    uint8_t ageClass = ClassOf(page);
    // The page goes behind the last page older than it. A page that moves class keeps its age
    // and is mostly young, so the search starts from the newest end; a new page, not yet used,
    // is among the oldest, so from the other.
    LDBPageBuffer* before = nullptr;
    if (page->m_use_stamp == 0) {
        for (LDBPageBuffer* p = m_age_first[ageClass]; p != nullptr && OlderThan(p, page);
             p = p->m_age_next)
            before = p;
    } else {
        before = m_age_last[ageClass];
        while (before != nullptr && OlderThan(page, before)) before = before->m_age_previous;
    }
    page->m_age_class = ageClass;
    page->m_age_previous = before;
    page->m_age_next = before != nullptr ? before->m_age_next : m_age_first[ageClass];
    if (page->m_age_next != nullptr)
        page->m_age_next->m_age_previous = page;
    else
        m_age_last[ageClass] = page;
    if (before != nullptr)
        before->m_age_next = page;
    else
        m_age_first[ageClass] = page;
}

void LDBPagePool::AgeUnlink(LDBPageBuffer* page) {
    if (page->m_age_class == kUnlisted) return;
    uint8_t ageClass = page->m_age_class;
    if (page->m_age_previous != nullptr)
        page->m_age_previous->m_age_next = page->m_age_next;
    else
        m_age_first[ageClass] = page->m_age_next;
    if (page->m_age_next != nullptr)
        page->m_age_next->m_age_previous = page->m_age_previous;
    else
        m_age_last[ageClass] = page->m_age_previous;
    page->m_age_next = page->m_age_previous = nullptr;
    page->m_age_class = kUnlisted;
}

void LDBPagePool::AgeRebuild() {
    // All stamps are equal: the lists follow the pool's list, which is in address order.
    for (uint8_t c = 0; c < kAgeClasses; ++c) m_age_first[c] = m_age_last[c] = nullptr;
    for (LDBPageBuffer* page = m_first; page != nullptr; page = page->m_next) {
        page->m_age_class = kUnlisted;
        AgeAppend(page, ClassOf(page));
    }
}

bool LDBPagePool::EvictOne() {
    LDBPageBuffer* victim = PickVictim();
    if (victim == nullptr) return false;
    Unlink(victim);
    // A failed write-back stays on the stack and the page goes all the same: this happens only
    // inside a commit, whose failure path throws away everything written.
    victim->FlushToDevice();
    delete m_spare;
    m_spare = victim;
    --m_count;
    return true;
}

int32_t LDBPagePool::FlushAll() {
    for (LDBPageBuffer* page = m_first; page != nullptr; page = page->m_next)
        if (int32_t rc = page->FlushToDevice()) return rc;
    while (m_count > LDB_POOL_LIMIT)
        if (!EvictOne()) break;
    return 0;
}

void LDBPagePool::Clear() {
    LDBPageBuffer* page = m_first;
    while (page != nullptr) {
        LDBPageBuffer* next = page->m_next;
        delete page;
        page = next;
    }
    m_first = nullptr;
    for (uint8_t c = 0; c < kAgeClasses; ++c) m_age_first[c] = m_age_last[c] = nullptr;
    delete m_spare;
    m_spare = nullptr;
    m_index.Clear();
    m_count = 0;
    m_device_high = 0;
    ++m_generation;
}

bool LDBPagePool::HasModifiedPages() const {
    for (LDBPageBuffer* page = m_first; page != nullptr; page = page->m_next)
        if (page->m_modified) return true;
    return false;
}

uint32_t LDBPagePool::DeviceHigh() {
    if (m_device_high == 0) {
        uint32_t low = 0;
        m_store->AddressRange(low, m_device_high);
    }
    return m_device_high;
}

void LDBPagePool::RaiseDeviceHigh(uint32_t address) {
    if (address > m_device_high) m_device_high = address;
}

uint32_t LDBPagePool::NextStamp() {
    if (++m_clock != 0) return m_clock;
    for (LDBPageBuffer* page = m_first; page != nullptr; page = page->m_next)
        page->m_use_stamp = 0;
    AgeRebuild();
    m_clock = 1;
    return m_clock;
}

void LDBPagePin::Release() {
    // After a Clear the page is gone: there is nothing left to unpin.
    if (m_page != nullptr && m_generation == m_pool->Generation()) --m_page->m_pin_count;
    m_page = nullptr;
}

LDBPageBuffer* LDBPagePin::Repin(uint32_t address) {
    Release();
    LDBPageBuffer* page = m_pool->GetPage(address);
    if (page == nullptr) return nullptr;
    ++page->m_pin_count;
    m_page = page;
    m_generation = m_pool->Generation();
    return page;
}
