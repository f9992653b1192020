// The page pool: a small write-back cache of 4096-byte pages through which all object data of
// one store moves between memory and its file. Clients never see a page; they read and write
// bytes through a cursor, which keeps the page it works on pinned.
//
// What the pool promises:
// - A page holds the bytes of the store addresses from a multiple of LDB_PAGE_SIZE up to the
//   next one, less one. Pages are aligned to store addresses, not file positions.
// - A page never reads bytes below the store's low address (the header) or above device high
//   (what is known to hold data on the device), so the tail of a file behind the last commit's
//   top, which may hold an old undo log, is never taken for data.
// - Write-back sends exactly the span between the lowest and highest byte written since the
//   last write-back, and never outside the store's address range.
// - A pinned page is never evicted; the limit of LDB_POOL_LIMIT pages is soft and gives way to
//   pins.
// The header and the undo log don't pass through here: they go straight to the file.
#pragma once

#include <cstdint>

#include "collections/nyxxarray.h"

class LDBStore;
class LDBPagePool;

constexpr uint32_t LDB_PAGE_SIZE = 4096;
constexpr uint32_t LDB_PAGE_MASK = LDB_PAGE_SIZE - 1;
constexpr uint32_t LDB_POOL_LIMIT = 128;

class LDBPageBuffer {
public:
    LDBPageBuffer(LDBPagePool* pool, uint32_t address);
    LDBPageBuffer(const LDBPageBuffer&) = delete;
    LDBPageBuffer& operator=(const LDBPageBuffer&) = delete;

    bool Covers(uint32_t address) const { return (address & ~LDB_PAGE_MASK) == m_low_address; }

    // Copies count bytes from address on; the whole span must lie in this page. Each call is
    // one access of the pool's clock.
    void Read(uint32_t address, uint8_t* out, uint32_t count);
    // Stores count bytes from address on and records the span as modified.
    void Write(uint32_t address, const uint8_t* in, uint32_t count);

    uint32_t PinCount() const { return m_pin_count; }
    uint32_t LowAddress() const { return m_low_address; }
    uint32_t HighAddress() const { return m_high_address; }
    uint32_t LowModified() const { return m_low_modified; }
    uint32_t HighModified() const { return m_high_modified; }
    uint32_t WriteCount() const { return m_write_count; }
    bool Modified() const { return m_modified; }
    uint32_t UseStamp() const { return m_use_stamp; }
    LDBPageBuffer* Next() const { return m_next; }

private:
    friend class LDBPagePool;
    friend class LDBPagePin;

    // Makes the page a fresh, zeroed one for the page of address.
    void Reset(uint32_t address);
    // Fills the page from the device, within the store's range and up to device high.
    int32_t ReadFromDevice();
    // Writes the modified span back; on failure the page stays modified.
    int32_t FlushToDevice();

    LDBPagePool* m_pool;
    uint32_t m_pin_count;
    uint32_t m_low_address;
    uint32_t m_high_address;
    uint32_t m_low_modified;   // 0 when nothing was written
    uint32_t m_high_modified;  // 0 when nothing was written
    uint32_t m_write_count;    // bytes written since the last write-back, repeats counted
    bool m_modified;
    uint32_t m_use_stamp;
    LDBPageBuffer* m_next;
    LDBPageBuffer* m_previous;
    // The page's place among the pages of its eviction class, oldest use first.
    LDBPageBuffer* m_age_next = nullptr;
    LDBPageBuffer* m_age_previous = nullptr;
    uint8_t m_age_class;
    uint8_t m_data[LDB_PAGE_SIZE];
};

class LDBPagePool {
public:
    explicit LDBPagePool(LDBStore* store);
    // Frees every page without writing it.
    ~LDBPagePool();
    LDBPagePool(const LDBPagePool&) = delete;
    LDBPagePool& operator=(const LDBPagePool&) = delete;

    // The page covering address, read from the device if it wasn't in the pool; null after a
    // push. A page whose read fails is dropped at once, so it never serves undefined bytes.
    LDBPageBuffer* GetPage(uint32_t address);
    // Writes back every modified page in address order, then trims the pool to its limit.
    int32_t FlushAll();
    // Drops every page unwritten; count and device high become 0, the clock stays.
    void Clear();
    bool HasModifiedPages() const;

    // The highest address known to hold data on the device; taken from the store's range when
    // first needed.
    uint32_t DeviceHigh();
    void RaiseDeviceHigh(uint32_t address);
    // Advances the use clock. When it wraps every page becomes equally old.
    uint32_t NextStamp();

    LDBStore* Store() const { return m_store; }
    uint32_t Count() const { return m_count; }
    LDBPageBuffer* First() const { return m_first; }
    // The page covering address if it is in the pool; nothing is read.
    LDBPageBuffer* FindPage(uint32_t address) const;
    uint32_t Clock() const { return m_clock; }
    // Lets a test bring the wrap of the clock near.
    void SetClock(uint32_t clock) { m_clock = clock; }
    // The page the next eviction takes: the oldest unpinned page of the first class that has
    // one, in the order fully written, clean, partly written; the first in list order among
    // equally old ones. Null when every page is pinned.
    LDBPageBuffer* PickVictim() const;
    // For the pages: an access stamped the page; a write-back changed its class.
    void Touched(LDBPageBuffer* page);
    void Reclassed(LDBPageBuffer* page);

    // The eviction classes, in the order they give up a page; kUnlisted for a page out of the
    // pool.
    enum AgeClass : uint8_t { kFullyWritten, kClean, kPartlyWritten, kAgeClasses, kUnlisted };
    // Changes with every Clear, so that a pin knows its page is gone.
    uint32_t Generation() const { return m_generation; }

private:
    // Writes back and frees one unpinned page; false when every page is pinned.
    bool EvictOne();
    // The pages of each class are kept in a list by use stamp, then by address, so that the
    // victim is the first unpinned page of a list instead of the result of a walk of the pool.
    void AgeInsertOrdered(LDBPageBuffer* page);
    void AgeAppend(LDBPageBuffer* page, uint8_t ageClass);
    void AgeUnlink(LDBPageBuffer* page);
    void AgeRebuild();
    // False, with the pool as it was, when the index has no memory for the page.
    bool Link(LDBPageBuffer* page);
    void Unlink(LDBPageBuffer* page);
    // The first place in the index whose page starts at or above lowAddress.
    uint32_t IndexPlace(uint32_t lowAddress) const;
    LDBPageBuffer* IndexAt(uint32_t place) const;

    LDBPageBuffer* m_first;  // sorted by ascending low address
    // The same pages in the same order, for lookups by binary search: cursors leave their
    // page all the time, and a walk of the list cost a tenth of every read.
    mutable nyxXArrayOf<LDBPageBuffer*> m_index;
    // The last evicted page, kept for the next miss.
    LDBPageBuffer* m_spare;
    LDBStore* m_store;
    uint32_t m_count;
    uint32_t m_clock;
    uint32_t m_device_high;
    uint32_t m_generation;
    LDBPageBuffer* m_age_first[kAgeClasses] = {nullptr, nullptr, nullptr};
    LDBPageBuffer* m_age_last[kAgeClasses] = {nullptr, nullptr, nullptr};
};

// Holds one page of a pool against eviction: the page that the last access needed.
class LDBPagePin {
public:
    explicit LDBPagePin(LDBPagePool* pool) : m_pool(pool), m_page(nullptr), m_generation(0) {}
    ~LDBPagePin() { Release(); }
    LDBPagePin(const LDBPagePin&) = delete;
    LDBPagePin& operator=(const LDBPagePin&) = delete;

    // The page covering address, pinned; null after a push. The pinned page answers at once
    // when it covers the address, without asking the pool.
    LDBPageBuffer* Page(uint32_t address) {
        if (m_page != nullptr && m_generation == m_pool->Generation() &&
            m_page->Covers(address))
            return m_page;
        return Repin(address);
    }
    void Release();

private:
    LDBPageBuffer* Repin(uint32_t address);

    LDBPagePool* m_pool;
    LDBPageBuffer* m_page;
    uint32_t m_generation;
};
