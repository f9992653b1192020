#include "collections/nyxhashaccel.h"

#include <cstdlib>

namespace {

constexpr uint32_t kFirstIndexSize = 256;
constexpr uint32_t kFirstMemoSize = 64;

uint32_t MemoHome(uint32_t hash, uint32_t mask) {
    return static_cast<uint32_t>((hash * 0x9E3779B97F4A7C15ull) >> 32) & mask;
}

}  // namespace

nyxHashAccel::~nyxHashAccel() {
    std::free(m_index);
    std::free(m_memo);
}

bool nyxHashAccel::GrowIndex() {
    uint32_t size = m_index == nullptr ? kFirstIndexSize : (m_index_mask + 1) * 2;
    IndexSlot* grown = static_cast<IndexSlot*>(std::calloc(size, sizeof(IndexSlot)));
    if (grown == nullptr) return false;
    IndexSlot* old = m_index;
    uint32_t oldSize = old == nullptr ? 0 : m_index_mask + 1;
    m_index = grown;
    m_index_mask = size - 1;
    for (uint32_t j = 0; j < oldSize; ++j) {
        if (old[j].place_plus_one == 0) continue;
        uint32_t i = static_cast<uint32_t>(old[j].digest) & m_index_mask;
        while (m_index[i].place_plus_one != 0) i = (i + 1) & m_index_mask;
        m_index[i] = old[j];
    }
    std::free(old);
    return true;
}

bool nyxHashAccel::IndexPut(uint64_t digest, uint32_t place) {
    if ((m_index_count + 1) * 2 > (m_index == nullptr ? 0 : m_index_mask + 1) && !GrowIndex()) {
        DropIndex();
        return false;
    }
    uint32_t i = static_cast<uint32_t>(digest) & m_index_mask;
    while (m_index[i].place_plus_one != 0) i = (i + 1) & m_index_mask;
    m_index[i] = IndexSlot{digest, place + 1};
    ++m_index_count;
    return true;
}

void nyxHashAccel::IndexErase(uint64_t digest, uint32_t place) {
    if (m_index == nullptr) return;
    uint32_t i = static_cast<uint32_t>(digest) & m_index_mask;
    while (m_index[i].place_plus_one != place + 1 || m_index[i].digest != digest) {
        if (m_index[i].place_plus_one == 0) return;
        i = (i + 1) & m_index_mask;
    }
    // Backward shift, so that no search meets an empty slot before its entry.
    for (uint32_t j = (i + 1) & m_index_mask; m_index[j].place_plus_one != 0;
         j = (j + 1) & m_index_mask) {
        uint32_t home = static_cast<uint32_t>(m_index[j].digest) & m_index_mask;
        bool movable = i <= j ? (home <= i || home > j) : (home <= i && home > j);
        if (!movable) continue;
        m_index[i] = m_index[j];
        i = j;
    }
    m_index[i] = IndexSlot{0, 0};
    --m_index_count;
}

void nyxHashAccel::DropIndex() {
    std::free(m_index);
    m_index = nullptr;
    m_index_mask = 0;
    m_index_count = 0;
}

bool nyxHashAccel::MemoGet(uint32_t hash, uint32_t& step, uint32_t& place) const {
    if (m_memo == nullptr) return false;
    for (uint32_t i = MemoHome(hash, m_memo_mask);; i = (i + 1) & m_memo_mask) {
        const MemoSlot& slot = m_memo[i];
        if (slot.hash_plus_one == 0) return false;
        if (slot.hash_plus_one == hash + 1) {
            step = slot.step;
            place = slot.place;
            return true;
        }
    }
}

bool nyxHashAccel::GrowMemo() {
    uint32_t size = m_memo == nullptr ? kFirstMemoSize : (m_memo_mask + 1) * 2;
    MemoSlot* grown = static_cast<MemoSlot*>(std::calloc(size, sizeof(MemoSlot)));
    if (grown == nullptr) return false;
    MemoSlot* old = m_memo;
    uint32_t oldSize = old == nullptr ? 0 : m_memo_mask + 1;
    m_memo = grown;
    m_memo_mask = size - 1;
    for (uint32_t j = 0; j < oldSize; ++j) {
        if (old[j].hash_plus_one == 0) continue;
        uint32_t i = MemoHome(old[j].hash_plus_one - 1, m_memo_mask);
        while (m_memo[i].hash_plus_one != 0) i = (i + 1) & m_memo_mask;
        m_memo[i] = old[j];
    }
    std::free(old);
    return true;
}

bool nyxHashAccel::MemoSet(uint32_t hash, uint32_t step, uint32_t place) {
    if (m_memo != nullptr) {
        for (uint32_t i = MemoHome(hash, m_memo_mask);; i = (i + 1) & m_memo_mask) {
            MemoSlot& slot = m_memo[i];
            if (slot.hash_plus_one == 0) break;
            if (slot.hash_plus_one == hash + 1) {
                slot.step = step;
                slot.place = place;
                return true;
            }
        }
    }
    if ((m_memo_count + 1) * 2 > (m_memo == nullptr ? 0 : m_memo_mask + 1) && !GrowMemo())
        return false;
    uint32_t i = MemoHome(hash, m_memo_mask);
    while (m_memo[i].hash_plus_one != 0) i = (i + 1) & m_memo_mask;
    m_memo[i] = MemoSlot{hash + 1, step, place};
    ++m_memo_count;
    return true;
}

void nyxHashAccel::ForgetMemo() {
    std::free(m_memo);
    m_memo = nullptr;
    m_memo_mask = 0;
    m_memo_count = 0;
}
