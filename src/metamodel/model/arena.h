#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

namespace QEL {

// Storage for the many small objects of one model, which all live exactly as long as the model:
// they are placed one after another in large blocks, and all go at once. So building a large
// model makes a few hundred allocations instead of several per property, and tearing it down
// runs the destructors that matter and frees the blocks. Objects are destroyed in the reverse
// order of their making.
class CArena {
public:
    CArena() = default;
    CArena(const CArena&) = delete;
    CArena& operator=(const CArena&) = delete;
    ~CArena() {
        for (std::size_t left = ownedCount_; left > 0; --left) {
            const Owned& record = recordAt(left - 1);
            record.destroy(record.object);
        }
    }

    template <class T, class... Args> T* make(Args&&... args) {
        static_assert(alignof(T) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
        void* place = allocate(sizeof(T));
        if constexpr (std::is_trivially_destructible_v<T>) {
            return new (place) T(std::forward<Args>(args)...);
        } else {
            // Room for the record first, so that nothing can fail once the object stands.
            Owned& record = nextRecord();
            T* made = new (place) T(std::forward<Args>(args)...);
            record = Owned{made, [](void* object) { static_cast<T*>(object)->~T(); }};
            ++ownedCount_;
            return made;
        }
    }

    // Takes over an object made on the heap; it is deleted with the arena's own.
    template <class T> T* adopt(std::unique_ptr<T> object) {
        Owned& record = nextRecord();
        T* adopted = object.release();
        record = Owned{adopted, [](void* object) { delete static_cast<T*>(object); }};
        ++ownedCount_;
        return adopted;
    }

    // The blocks and the records of what is owned, in bytes.
    std::size_t MemoryUsed() const {
        return blockBytes_ + records_.size() * recordsPerChunk * sizeof(Owned);
    }

private:
    static constexpr std::size_t blockSize = 256 * 1024;
    static constexpr std::size_t alignment = __STDCPP_DEFAULT_NEW_ALIGNMENT__;

    struct Owned {
        void* object = nullptr;
        void (*destroy)(void*) = [](void*) {};
    };

    void* allocate(std::size_t size) {
        size = (size + alignment - 1) & ~(alignment - 1);
        if (size > blockSize / 8) {
            // Rare and large: a block of its own, so that the current one goes on filling.
            blocks_.push_back(std::make_unique_for_overwrite<std::byte[]>(size));
            blockBytes_ += size;
            return blocks_.back().get();
        }
        if (left_ < size) {
            blocks_.push_back(std::make_unique_for_overwrite<std::byte[]>(blockSize));
            blockBytes_ += blockSize;
            next_ = blocks_.back().get();
            left_ = blockSize;
        }
        void* place = next_;
        next_ += size;
        left_ -= size;
        return place;
    }

    // The records go in chunks that never move: one growing array would copy them all at
    // every doubling and hold both copies meanwhile.
    static constexpr std::size_t recordsPerChunk = 4096;

    // The slot of the next record, made before the object so that only the object can fail.
    Owned& nextRecord() {
        if (ownedCount_ == records_.size() * recordsPerChunk)
            records_.push_back(std::make_unique<Owned[]>(recordsPerChunk));
        return recordAt(ownedCount_);
    }
    Owned& recordAt(std::size_t index) const {
        return records_[index / recordsPerChunk][index % recordsPerChunk];
    }

    std::vector<std::unique_ptr<std::byte[]>> blocks_;
    std::byte* next_ = nullptr;
    std::size_t left_ = 0;
    std::size_t blockBytes_ = 0;
    std::vector<std::unique_ptr<Owned[]>> records_;
    std::size_t ownedCount_ = 0;
};

} // namespace QEL
