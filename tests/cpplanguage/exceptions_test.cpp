#include "cpplanguage/exceptions.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace ExceptionsTest {
CPPLANGUAGE_DECLARE_EXCEPTION(CReaderFailure, CppLanguage::CRuntimeException);
CPPLANGUAGE_DECLARE_EXCEPTION(CDeeperFailure, CReaderFailure);
} // namespace ExceptionsTest

namespace {

using CppLanguage::CAppMsg;
using CppLanguage::COrloException;
using CppLanguage::CRuntimeException;
using ExceptionsTest::CDeeperFailure;
using ExceptionsTest::CReaderFailure;

TEST(Exceptions, DetailAndDescriptionNameTheSiteAndTheDynamicClass) {
    const CReaderFailure failure("src/reader.cpp", 42, "May 30 2019", "13:58:40", "it broke");
    EXPECT_STREQ(failure.what(), "it broke");
    EXPECT_EQ(failure.GetDetail(), "[src/reader.cpp; 42; May 30 2019 13:58:40] : it broke");
    EXPECT_EQ(failure.GetAppMsg(), nullptr);
    const COrloException& asRoot = failure;
    EXPECT_EQ(asRoot.GetDescription(), "Exception ExceptionsTest::CReaderFailure thrown at "
                                       "[src/reader.cpp; 42; May 30 2019 13:58:40] : it broke");
    try {
        throw CDeeperFailure("b.cpp", 8, "d", "t", "deeper");
    } catch (const CRuntimeException& caught) {
        EXPECT_EQ(caught.GetDescription(),
                  "Exception ExceptionsTest::CDeeperFailure thrown at [b.cpp; 8; d t] : deeper");
    }
    // A text with printf directives is data, not a format; null texts become empty.
    EXPECT_EQ(CRuntimeException("f", -1, "d", "t", "100%s %d").GetDescription(),
              "Exception CppLanguage::CRuntimeException thrown at [f; -1; d t] : 100%s %d");
    const CRuntimeException nulls(nullptr, 0, nullptr, nullptr, ORLO::String(nullptr),
                                  static_cast<const CppLanguage::IAppMsg*>(nullptr));
    EXPECT_EQ(nulls.GetDetail(), "[; 0;  ] : ");
}

TEST(Exceptions, KeepsItsOwnCopyOfTheRecordAndCopiesShareIt) {
    CAppMsg record;
    record.SetId("QEL_MM_UNDEF_CAT_NAM");
    record.SetText("Category 'X' is not defined.");
    record.AddArgument("CAT_NAM", "X");
    const CReaderFailure failure("f.cpp", 3, "d", "t", record.GetText(), &record);
    ASSERT_NE(failure.GetAppMsg(), nullptr);
    EXPECT_NE(failure.GetAppMsg(), &record);

    // The caller's record goes out of scope at a raise; the exception must not depend on it.
    record.SetText("changed afterwards");
    record.SetId(nullptr);
    EXPECT_STREQ(failure.GetAppMsg()->GetText(), "Category 'X' is not defined.");
    EXPECT_STREQ(failure.GetAppMsg()->GetId(), "QEL_MM_UNDEF_CAT_NAM");
    const CppLanguage::MsgArguments arguments = {{"CAT_NAM", "X"}};
    EXPECT_EQ(failure.GetAppMsg()->GetArguments(), arguments);

    const CReaderFailure copy = failure;
    EXPECT_EQ(copy.GetAppMsg(), failure.GetAppMsg());
    EXPECT_EQ(copy.GetDetail(), failure.GetDetail());

    // The shared record outlives the exception it came from.
    const CppLanguage::IAppMsg* shared = nullptr;
    std::optional<CReaderFailure> survivor;
    {
        const CReaderFailure original("g.cpp", 4, "d", "t", "m", &record);
        shared = original.GetAppMsg();
        survivor.emplace(original);
    }
    ASSERT_EQ(survivor->GetAppMsg(), shared);
    EXPECT_STREQ(survivor->GetAppMsg()->GetText(), "changed afterwards");
}

} // namespace
