// What a large hash table keeps beside its block, in memory only, to find things without
// walking its probe paths: the table's layout is fixed by the stored hash and double hashing,
// and names that share one hash value share one path, so that an insertion or a lookup would
// otherwise walk the whole run of them.
//
// - The index maps a strong digest of each present key to the key's place. A lookup takes the
//   place from it and compares the one key there.
// - The path memo keeps, for a hash value, how far along its path every place is known to be
//   occupied. An insertion of an absent key starts there; as places become occupied and never
//   free again except by a deletion, which forgets the memo, the first free place found is the
//   one the whole walk would find.
//
// Neither changes where anything lies or the order of a walk.
#pragma once

#include <cstdint>

class nyxHashAccel {
public:
    nyxHashAccel() = default;
    ~nyxHashAccel();
    nyxHashAccel(const nyxHashAccel&) = delete;
    nyxHashAccel& operator=(const nyxHashAccel&) = delete;

    // The index. Places are those of the table; the digest of a key is the table's business.
    bool HasIndex() const { return m_index != nullptr; }
    // False when there is no memory; the index is then dropped.
    bool IndexPut(uint64_t digest, uint32_t place);
    void IndexErase(uint64_t digest, uint32_t place);
    void DropIndex();
    // Calls match(place) for each place indexed under the digest until it gives true; that
    // place, or kNone.
    template <class Match>
    uint32_t IndexFind(uint64_t digest, Match match) const {
        if (m_index == nullptr) return kNone;
        for (uint32_t i = static_cast<uint32_t>(digest) & m_index_mask;;
             i = (i + 1) & m_index_mask) {
            const IndexSlot& slot = m_index[i];
            if (slot.place_plus_one == 0) return kNone;
            if (slot.digest == digest && match(slot.place_plus_one - 1))
                return slot.place_plus_one - 1;
        }
    }

    // The memo: the step of the hash's path where the walk may resume, and the place of that
    // step. False when nothing is known.
    bool MemoGet(uint32_t hash, uint32_t& step, uint32_t& place) const;
    // False when there is no memory; the memo then knows less, which is never wrong.
    bool MemoSet(uint32_t hash, uint32_t step, uint32_t place);
    void ForgetMemo();

    static constexpr uint32_t kNone = UINT32_MAX;

private:
    struct IndexSlot {
        uint64_t digest;
        uint32_t place_plus_one;  // 0 marks an empty slot
    };
    struct MemoSlot {
        uint32_t hash_plus_one;  // 0 marks an empty slot
        uint32_t step;
        uint32_t place;
    };
    bool GrowIndex();
    bool GrowMemo();

    IndexSlot* m_index = nullptr;
    uint32_t m_index_mask = 0;
    uint32_t m_index_count = 0;
    MemoSlot* m_memo = nullptr;
    uint32_t m_memo_mask = 0;
    uint32_t m_memo_count = 0;
};
