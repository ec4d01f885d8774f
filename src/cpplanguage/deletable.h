#pragma once

namespace CppLanguage {

// Root of every object that is given up through Release rather than a bare delete.
class IDeletable {
public:
    virtual bool invariant() const { return true; }
    virtual void Release() = 0;

protected:
    virtual ~IDeletable() = default;
};

class IRefCountable : public virtual IDeletable {
public:
    // Answers the count of references after this one; objects that are not counted answer 1.
    virtual int AddRef() = 0;
    virtual void RemoveRef() = 0;
};

template <class T> struct ReleaseStoragePolicy {
    static void release(T* pointee) {
        if (pointee)
            static_cast<IDeletable*>(pointee)->Release();
    }
};

// Owning holders for objects that die through Release; the library hands out iterators and
// services this way.
template <class T, class Policy = ReleaseStoragePolicy<T>> class CPointer {
public:
    // Not explicit: a holder is commonly written as initialised from what a call hands out.
    CPointer(T* pointee = nullptr) : pointee_(pointee) {}
    CPointer(const CPointer&) = delete;
    CPointer& operator=(const CPointer&) = delete;
    // A holder takes a new pointee through reset, not by assignment from another's get().
    CPointer& operator=(T*) = delete;
    CPointer(CPointer&& other) noexcept : pointee_(other.pointee_) { other.pointee_ = nullptr; }
    CPointer& operator=(CPointer&& other) noexcept {
        if (this != &other) {
            reset(other.pointee_);
            other.pointee_ = nullptr;
        }
        return *this;
    }
    virtual ~CPointer() { Policy::release(pointee_); }

    T* get() const { return pointee_; }
    T* operator->() const { return pointee_; }
    T& operator*() const { return *pointee_; }
    explicit operator bool() const { return pointee_ != nullptr; }
    void reset(T* pointee = nullptr) {
        if (pointee == pointee_)
            return;
        Policy::release(pointee_);
        pointee_ = pointee;
    }
    T* release() {
        T* pointee = pointee_;
        pointee_ = nullptr;
        return pointee;
    }

private:
    T* pointee_;
};

template <class T, class Policy = ReleaseStoragePolicy<T>>
class CAutoPtr : public CPointer<T, Policy> {
public:
    using CPointer<T, Policy>::CPointer;
};

template <class T, class Policy = ReleaseStoragePolicy<T>>
class CDeletableAutoPtr : public CAutoPtr<T, Policy> {
public:
    using CAutoPtr<T, Policy>::CAutoPtr;
};

} // namespace CppLanguage
