#include "collections/hashers.h"

#include <gtest/gtest.h>

using Collections::CStringHasher;

// Expected values are worked out by hand from the bytes: words are little-endian, each word
// step ends with a right rotation by one bit, tail bytes are sign-extended.
TEST(CollectionsCStringHasher, WordAndTailSteps) {
    EXPECT_EQ(CStringHasher::hashText(nullptr), 0u);
    EXPECT_EQ(CStringHasher::hashText(""), 0u);
    EXPECT_EQ(CStringHasher::hashText("a"), 0x61u);
    EXPECT_EQ(CStringHasher::hashText("abc"), 0x00636261u);
    // 0x64636261 rotated right: the low 1 bit becomes the top bit.
    EXPECT_EQ(CStringHasher::hashText("abcd"), 0xB231B130u);
    EXPECT_EQ(CStringHasher::hashText("abcde"), 0xB231B130u ^ 0x65u);
    EXPECT_EQ(CStringHasher::hashText("abcdefg"), 0xB256D755u);
    EXPECT_EQ(CStringHasher::hashText("abcdefgh"), 0xED2B6BAAu);
}

TEST(CollectionsCStringHasher, HighBytesAreSignExtendedOnlyInTheTail) {
    EXPECT_EQ(CStringHasher::hashText("\x80"), 0xFFFFFF80u);
    EXPECT_EQ(CStringHasher::hashText("a\x80"), 0xFFFF8061u);
    EXPECT_EQ(CStringHasher::hashText("ab\xff"), 0xFFFF6261u);
    EXPECT_EQ(CStringHasher::hashText("\x80\x80\x80\x80"), 0x40404040u);
}

TEST(CollectionsCStringHasher, StopsAtTheFirstZeroByte) {
    CStringHasher hasher;
    EXPECT_EQ(hasher.hash(ORLO::String("abcd\0xyz", 8)), CStringHasher::hashText("abcd"));
    EXPECT_EQ(hasher.hash(ORLO::String("ab")), CStringHasher::hashText("ab"));
    EXPECT_TRUE(hasher.isValid(ORLO::String()));
}

TEST(CollectionsIntHasher, KeyIsItsOwnHash) {
    Collections::IntHasher hasher;
    EXPECT_EQ(hasher.hash(509), 509u);
    EXPECT_EQ(hasher.hash(-1), 0xFFFFFFFFu);
    CppLanguage::CDeletableAutoPtr<Collections::IHasher<int>> copy(hasher.clone());
    EXPECT_EQ(copy->hash(42), 42u);
}
