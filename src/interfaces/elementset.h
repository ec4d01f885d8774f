#pragma once

#include "interfaces/positionindex.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

namespace QEL {

// A set of model elements held by pointer. Members are listed in the order in which they
// joined, so every listing of a model is the same from one run to the next. Membership is a
// scan while the set is small, a hash probe beyond; or, for a set whose positions another
// structure already knows (the closed sets of a category, through the model's index tables),
// a question to that structure.
template <class T> class ElementSet {
    static_assert(std::is_pointer_v<T>, "an element set holds pointers");

public:
    using value_type = T;
    using key_type = T;
    using size_type = std::size_t;
    using const_iterator = typename std::vector<T>::const_iterator;
    using iterator = const_iterator;
    // The position of a member, or a negative number.
    using PositionOf = int (*)(const void* owner, T member);

    const_iterator begin() const { return members_.begin(); }
    const_iterator end() const { return members_.end(); }
    const_iterator cbegin() const { return begin(); }
    const_iterator cend() const { return end(); }
    size_type size() const { return members_.size(); }
    bool empty() const { return members_.empty(); }
    T operator[](size_type position) const { return members_[position]; }

    const_iterator find(T member) const {
        if (positionOf_) {
            const int position = positionOf_(owner_, member);
            return position >= 0 && size_type(position) < members_.size() &&
                           members_[size_type(position)] == member
                       ? members_.begin() + position
                       : members_.end();
        }
        if (index_.empty()) {
            for (auto it = members_.begin(); it != members_.end(); ++it)
                if (*it == member)
                    return it;
            return members_.end();
        }
        const std::uint32_t position =
            index_.find(hash(member), [&](std::uint32_t at) { return members_[at] == member; });
        return position == PositionIndex::none ? members_.end() : members_.begin() + position;
    }
    bool contains(T member) const { return find(member) != end(); }
    size_type count(T member) const { return contains(member) ? 1 : 0; }
    // The same members, in whatever order they joined.
    friend bool operator==(const ElementSet& a, const ElementSet& b) {
        if (a.size() != b.size())
            return false;
        for (T member : a)
            if (!b.contains(member))
                return false;
        return true;
    }

    // Answers false, and changes nothing, when the member is there already.
    bool insert(T member) {
        if (contains(member))
            return false;
        append(member);
        return true;
    }
    // For a member that the caller knows to be new.
    void append(T member) {
        if (members_.empty() && members_.capacity() == 0)
            members_.reserve(4);
        members_.push_back(member);
        if (!index_.empty()) {
            index_.add(hash(member), std::uint32_t(members_.size() - 1));
        } else if (members_.size() > linearLimit && !positionOf_) {
            index_.reserve(members_.size() * 2);
            for (size_type position = 0; position < members_.size(); ++position)
                index_.add(hash(members_[position]), std::uint32_t(position));
        }
    }
    // For a member that the caller knows to be new, in a set that is about to take its
    // membership from elsewhere (delegateMembership): no index is built meanwhile.
    void appendUnindexed(T member) {
        index_.clear();
        members_.push_back(member);
    }
    void reserve(size_type count) { members_.reserve(count); }
    void clear() {
        members_.clear();
        index_.clear();
    }
    // From now on `positionOf` answers for membership, and the set keeps no index of its own.
    void delegateMembership(PositionOf positionOf, const void* owner) {
        index_.clear();
        positionOf_ = positionOf;
        owner_ = owner;
    }
    std::size_t memoryUsed() const { return members_.capacity() * sizeof(T) + index_.memoryUsed(); }

private:
    // Sixteen pointers are two cache lines: a scan of them costs less than a hash index's
    // memory and its making, which a type of a dozen properties paid for nothing.
    static constexpr size_type linearLimit = 16;

    static std::uint32_t hash(T member) {
        const auto bits = std::uint64_t(reinterpret_cast<std::uintptr_t>(member));
        return std::uint32_t((bits * 0x9E3779B97F4A7C15ULL) >> 32);
    }

    std::vector<T> members_;
    PositionIndex index_;
    PositionOf positionOf_ = nullptr;
    const void* owner_ = nullptr;
};

} // namespace QEL
