#include "cpplanguage/appmsg.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using CppLanguage::CAppMsg;
using CppLanguage::CBindArgNameToVal;

TEST(AppMsgRecord, SeverityWordsAreForSingleSeveritiesOnly) {
    const std::pair<int, const char*> words[] = {
        {0, "message"}, {1, "info"}, {2, "warning"}, {4, "error"}, {8, "fatal error"}};
    for (const auto& [severity, word] : words)
        EXPECT_STREQ(CppLanguage::severityWord(severity), word) << severity;
    // Severities are not flags: a combination has no word of its own.
    for (int other : {3, 5, 6, 12, 16, -1})
        EXPECT_STREQ(CppLanguage::severityWord(other), "unknown severity") << other;
    CAppMsg record;
    EXPECT_STREQ(record.GetSeverityText(), "unknown severity");
    record.SetSeverity(CppLanguage::SeverityWarning);
    EXPECT_STREQ(record.GetSeverityText(), "warning");
}

TEST(AppMsgRecord, TextsAreOwnedCopiesAndNullClearsThem) {
    CAppMsg original;
    EXPECT_EQ(original.GetText(), nullptr);
    original.SetText("");
    ASSERT_NE(original.GetText(), nullptr);
    EXPECT_FALSE(original.HasText());
    original.SetId("QEL_MM_EMPTY_ID");
    original.SetText("text");
    EXPECT_TRUE(original.HasText());
    original.SetDocument("doc.xml");
    original.AddArgument("A", "1");
    CAppMsg copy = original;
    EXPECT_NE(copy.GetText(), original.GetText());
    copy.SetText(nullptr);
    copy.SetDocument(nullptr);
    copy.AddArgument("B", "2");
    EXPECT_EQ(copy.GetText(), nullptr);
    EXPECT_STREQ(original.GetText(), "text");
    EXPECT_STREQ(original.GetDocument(), "doc.xml");
    EXPECT_EQ(original.GetArguments().size(), 1u);
    EXPECT_STREQ(copy.GetId(), "QEL_MM_EMPTY_ID");
    original.AddArgument(nullptr, "v");
    EXPECT_EQ(original.GetArguments().back().first, "");
}

TEST(AppMsgRecord, FlagsAccumulateAndClearBitwise) {
    CAppMsg record;
    record.SetFlags(0x5);
    record.ClearFlags(0x4);
    EXPECT_FALSE(record.AnyFlag(0x6));
    EXPECT_TRUE(record.AnyFlag(0x3));
    record.SetDisplayFlags(0x2);
    record.SetDisplayFlags(0x5);
    record.ClearDisplayFlags(0x4);
    EXPECT_EQ(record.GetDisplayFlags(), 0x3u);
    EXPECT_FALSE(record.IsKindZero() || record.IsKindOne()) << "no kind yet";
    record.SetKind(1);
    EXPECT_TRUE(record.IsKindOne() && !record.IsKindZero());
}

TEST(AppMsgRecord, BoundArgumentsCopyTheirValue) {
    EXPECT_EQ(CBindArgNameToVal("ARG", static_cast<const char*>(nullptr)).GetValue(), "");
    EXPECT_EQ(CBindArgNameToVal("N", -2147483647 - 1).GetValue(), "-2147483648");
    std::string source = "before";
    const CBindArgNameToVal fromString("S", source);
    char buffer[] = "buffer";
    const CBindArgNameToVal fromBuffer("B", buffer);
    source = "after";
    buffer[0] = 'X';
    EXPECT_EQ(fromString.GetValue(), "before");
    EXPECT_EQ(fromBuffer.GetValue(), "buffer");
}

} // namespace
