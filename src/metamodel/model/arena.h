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
        for (auto it = owned_.rbegin(); it != owned_.rend(); ++it)
            it->destroy(it->object);
    }

    template <class T, class... Args> T* make(Args&&... args) {
        static_assert(alignof(T) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
        void* place = allocate(sizeof(T));
        if constexpr (std::is_trivially_destructible_v<T>) {
            return new (place) T(std::forward<Args>(args)...);
        } else {
            // Room for the record first, so that nothing can fail once the object stands.
            owned_.emplace_back();
            try {
                T* made = new (place) T(std::forward<Args>(args)...);
                owned_.back() = Owned{made, [](void* object) { static_cast<T*>(object)->~T(); }};
                return made;
            } catch (...) {
                owned_.pop_back();
                throw;
            }
        }
    }

    // Takes over an object made on the heap; it is deleted with the arena's own.
    template <class T> T* adopt(std::unique_ptr<T> object) {
        owned_.emplace_back();
        T* adopted = object.release();
        owned_.back() = Owned{adopted, [](void* object) { delete static_cast<T*>(object); }};
        return adopted;
    }

    // The blocks and the records of what is owned, in bytes.
    std::size_t MemoryUsed() const { return blockBytes_ + owned_.capacity() * sizeof(Owned); }

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

    std::vector<std::unique_ptr<std::byte[]>> blocks_;
    std::byte* next_ = nullptr;
    std::size_t left_ = 0;
    std::size_t blockBytes_ = 0;
    std::vector<Owned> owned_;
};

} // namespace QEL
