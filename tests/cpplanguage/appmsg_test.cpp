#include "cpplanguage/appmsg.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using CppLanguage::CAppMsg;
using CppLanguage::CBindArgNameToVal;

TEST(AppMsgRecord, SeverityWords) {
    EXPECT_STREQ(CppLanguage::severityWord(0), "message");
    EXPECT_STREQ(CppLanguage::severityWord(1), "info");
    EXPECT_STREQ(CppLanguage::severityWord(2), "warning");
    EXPECT_STREQ(CppLanguage::severityWord(4), "error");
    EXPECT_STREQ(CppLanguage::severityWord(8), "fatal error");
    // Severities are not flags: a combination has no word of its own.
    for (int other : {3, 5, 6, 12, 16, -1})
        EXPECT_STREQ(CppLanguage::severityWord(other), "unknown severity") << other;

    CAppMsg record;
    EXPECT_EQ(record.GetSeverity(), -1);
    EXPECT_STREQ(record.GetSeverityText(), "unknown severity");
    record.SetSeverity(3);
    EXPECT_STREQ(record.GetSeverityText(), "unknown severity");
    record.SetSeverity(CppLanguage::SeverityWarning);
    EXPECT_STREQ(record.GetSeverityText(), "warning");
}

TEST(AppMsgRecord, FreshRecordAndTextFields) {
    CAppMsg record;
    EXPECT_EQ(record.GetText(), nullptr);
    EXPECT_FALSE(record.HasText());
    EXPECT_EQ(record.GetKind(), -1);
    EXPECT_FALSE(record.IsKindOne());
    EXPECT_FALSE(record.IsKindZero());
    EXPECT_EQ(record.GetId(), nullptr);
    EXPECT_EQ(record.GetDocument(), nullptr);
    EXPECT_EQ(record.GetLine(), 0);
    EXPECT_TRUE(record.GetArguments().empty());

    record.SetText("");
    ASSERT_NE(record.GetText(), nullptr);
    EXPECT_FALSE(record.HasText());
    record.SetText("done");
    EXPECT_TRUE(record.HasText());
    record.SetText(nullptr);
    EXPECT_EQ(record.GetText(), nullptr);

    record.SetKind(0);
    EXPECT_TRUE(record.IsKindZero());
    record.SetKind(1);
    EXPECT_TRUE(record.IsKindOne());
    EXPECT_FALSE(record.IsKindZero());
}

TEST(AppMsgRecord, FlagMasks) {
    CAppMsg record;
    EXPECT_FALSE(record.AnyFlag(~0u));
    record.SetFlags(0x5);
    EXPECT_TRUE(record.AnyFlag(0x4));
    EXPECT_TRUE(record.AnyFlag(0x6));
    EXPECT_FALSE(record.AnyFlag(0x2));
    record.ClearFlags(0x4);
    EXPECT_FALSE(record.AnyFlag(0x4));
    EXPECT_TRUE(record.AnyFlag(0x1));

    record.SetDisplayFlags(0x2);
    record.SetDisplayFlags(0x4);
    EXPECT_EQ(record.GetDisplayFlags(), 0x6u);
    record.ClearDisplayFlags(0x2);
    EXPECT_EQ(record.GetDisplayFlags(), 0x4u);
}

TEST(AppMsgRecord, CopiesOwnTheirTexts) {
    CAppMsg original;
    original.SetId("QEL_MM_EMPTY_ID");
    original.SetText("text");
    original.SetDocument("doc.xml");
    original.AddArgument("A", "1");
    CAppMsg copy = original;
    EXPECT_NE(copy.GetText(), original.GetText());
    copy.SetText("other");
    copy.SetDocument(nullptr);
    copy.AddArgument("B", "2");
    EXPECT_STREQ(original.GetText(), "text");
    EXPECT_STREQ(original.GetDocument(), "doc.xml");
    EXPECT_EQ(original.GetArguments().size(), 1u);
    EXPECT_STREQ(copy.GetId(), "QEL_MM_EMPTY_ID");

    original.AddArgument(nullptr, "v");
    EXPECT_EQ(original.GetArguments().back().first, "");
}

TEST(AppMsgRecord, BoundArgumentsCopyTheirValue) {
    const CBindArgNameToVal fromNull("ARG", static_cast<const char*>(nullptr));
    EXPECT_STREQ(fromNull.GetName(), "ARG");
    EXPECT_EQ(fromNull.GetValue(), "");

    EXPECT_EQ(CBindArgNameToVal("N", -2147483647 - 1).GetValue(), "-2147483648");
    EXPECT_EQ(CBindArgNameToVal("N", 0).GetValue(), "0");

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
