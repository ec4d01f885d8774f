#include "cpplanguage/deletable.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

using CppLanguage::CDeletableAutoPtr;
using CppLanguage::IDeletable;

class Counted : public IDeletable {
public:
    explicit Counted(int& releases) : releases_(releases) {}
    void Release() override {
        ++releases_;
        delete this;
    }

private:
    int& releases_;
};

// Two interfaces over one virtual root, as readers and services are built.
class IWalker : public virtual IDeletable {
public:
    virtual int steps() const = 0;
};

class Service : public CppLanguage::IRefCountable, public IWalker {
public:
    explicit Service(int& releases) : releases_(releases) {}
    void Release() override {
        ++releases_;
        delete this;
    }
    int AddRef() override { return 1; }
    void RemoveRef() override {}
    int steps() const override { return 3; }

private:
    int& releases_;
};

TEST(Deletable, ResetReleaseAndMoveKeepOwnershipSingle) {
    int first = 0, second = 0;
    {
        CDeletableAutoPtr<Counted> empty;
        EXPECT_FALSE(empty);
    }
    auto* a = new Counted(first);
    CDeletableAutoPtr<Counted> holder(a);
    holder.reset(a);
    EXPECT_EQ(first, 0) << "resetting to the held pointee must not release it";
    holder.reset(new Counted(second));
    EXPECT_EQ(first, 1);

    Counted* given = holder.release();
    EXPECT_FALSE(holder);
    EXPECT_EQ(second, 0);
    holder.reset(given);

    CDeletableAutoPtr<Counted> moved(std::move(holder));
    EXPECT_FALSE(holder);
    EXPECT_EQ(moved.get(), given);

    int third = 0;
    {
        CDeletableAutoPtr<Counted> target(new Counted(third));
        target = std::move(moved);
        EXPECT_EQ(third, 1);
        EXPECT_EQ(target.get(), given);
        auto& self = target;
        target = std::move(self);
        EXPECT_EQ(target.get(), given);
        EXPECT_EQ(second, 0);
    }
    EXPECT_EQ(second, 1) << "the holder releases its pointee when it goes";
}

TEST(Deletable, ReleasesThroughAVirtualBaseFromEitherInterface) {
    int releases = 0;
    {
        CDeletableAutoPtr<IWalker> walker(new Service(releases));
        EXPECT_EQ(walker->steps(), 3);
        CDeletableAutoPtr<CppLanguage::IRefCountable> counted(new Service(releases));
    }
    EXPECT_EQ(releases, 2);
}

} // namespace
