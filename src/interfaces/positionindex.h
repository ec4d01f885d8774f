#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace QEL {

// An open-addressing hash index over the positions of a vector that its user holds: the
// index keeps a position and the key's 32-bit hash per slot, the user compares keys. A key's
// first slot is the low bits of its hash, which must therefore spread the keys; keys that
// arrive in runs may keep short runs of neighbouring slots, as ids do. Linear probing keeps a
// lookup within one or two cache lines; the load stays at most one half.
class PositionIndex {
public:
    static constexpr std::uint32_t none = ~std::uint32_t(0);

    bool empty() const { return count_ == 0; }
    std::size_t size() const { return count_; }
    std::size_t memoryUsed() const { return slots_.capacity() * sizeof(Slot); }
    void clear() {
        slots_.clear();
        slots_.shrink_to_fit();
        count_ = 0;
    }
    void reserve(std::size_t count) {
        if (count * 2 > slots_.size())
            rehash(std::bit_ceil(count * 2));
    }

    // The position whose key `isKey` accepts, or none.
    template <class IsKey> std::uint32_t find(std::uint32_t hash, const IsKey& isKey) const {
        if (slots_.empty())
            return none;
        const std::size_t mask = slots_.size() - 1;
        for (std::size_t slot = hash & mask;; slot = (slot + 1) & mask) {
            const Slot& probe = slots_[slot];
            if (probe.position == none)
                return none;
            if (probe.hash == hash && isKey(probe.position))
                return probe.position;
        }
    }

    // For a key known not to be there yet.
    void add(std::uint32_t hash, std::uint32_t position) {
        if ((count_ + 1) * 2 > slots_.size())
            rehash(slots_.empty() ? 16 : slots_.size() * 2);
        place(Slot{hash, position});
        ++count_;
    }

private:
    struct Slot {
        std::uint32_t hash;
        std::uint32_t position;
    };

    void place(Slot entry) {
        const std::size_t mask = slots_.size() - 1;
        // From the stored hash alone, so that a rehash needs no key.
        std::size_t slot = entry.hash & mask;
        while (slots_[slot].position != none)
            slot = (slot + 1) & mask;
        slots_[slot] = entry;
    }
    void rehash(std::size_t capacity) {
        std::vector<Slot> old(capacity, Slot{0, none});
        old.swap(slots_);
        for (const Slot& entry : old)
            if (entry.position != none)
                place(entry);
    }

    std::vector<Slot> slots_;
    std::size_t count_ = 0;
};

} // namespace QEL
