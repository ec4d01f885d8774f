#pragma once

#include "cpplanguage/deletable.h"

#include <stdexcept>
#include <type_traits>

namespace NodServices {

class IService : public CppLanguage::IRefCountable {
public:
    virtual bool Initialize() = 0;
    virtual void Terminate() = 0;
    virtual void Delete() = 0;
};

template <class I> class IFactory : public IService {
public:
    virtual I* Create() = 0;
};

template <class I, class A> class IFactory1 : public IService {
public:
    virtual I* Create(A argument) = 0;
};

// What every factory of the library does besides creating: factories hold no state, so
// nothing is counted and whoever got one frees it with Delete.
template <class Base> class CStatelessService : public Base {
public:
    int AddRef() override { return 1; }
    void RemoveRef() override {}
    bool Initialize() override { return true; }
    void Terminate() override {}
    void Delete() override { delete this; }
    void Release() override { Delete(); }
    virtual ~CStatelessService() = default;
};

template <class I, class C> class CFactory : public CStatelessService<IFactory<I>> {
public:
    I* Create() override { return new C; }
};

// A class that is not made from the argument itself comes through a derived factory that
// overrides Create; the base's body must still compile for it, being virtual.
template <class I, class C, class A> class CFactory1 : public CStatelessService<IFactory1<I, A>> {
public:
    I* Create(A argument) override {
        if constexpr (std::is_constructible_v<C, A>)
            return new C(argument);
        else
            throw std::logic_error("this factory's class is not made from its argument");
    }
};

} // namespace NodServices
