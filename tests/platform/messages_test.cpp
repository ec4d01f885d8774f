#include "platform/messages.h"

#include "platform/appmsgmanager.h"
#include "support/messagecapture.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <typeinfo>

namespace MessagesTest {
CPPLANGUAGE_DECLARE_EXCEPTION(CLookupFailure, CppLanguage::CRuntimeException);
} // namespace MessagesTest

namespace {

using CppLanguage::DocumentPosition;
using CppLanguage::DocumentPositionScope;
using MessagesTest::CLookupFailure;
using TestSupport::MessageCapture;

// Stands for a reader: the position moves while the scope is open.
class MovingPosition : public CppLanguage::IDocumentPositionSource {
public:
    explicit MovingPosition(DocumentPosition start) : position(std::move(start)) {}
    CppLanguage::DocumentPlace currentPlace() const override {
        return {position.document, position.line, position.column};
    }
    DocumentPosition position;
};

// The failure `raising` throws, which must be of the site's class.
template <class Raising> std::optional<CLookupFailure> caught(Raising raising) {
    try {
        raising();
    } catch (const CppLanguage::CRuntimeException& failure) {
        EXPECT_EQ(typeid(failure), typeid(CLookupFailure));
        return static_cast<const CLookupFailure&>(failure);
    }
    ADD_FAILURE() << "raise returned";
    return std::nullopt;
}

TEST(Raise, ThrowsTheSiteClassWithTheFilledRecordAndTheDocumentPosition) {
    const int raiseLine = __LINE__ + 2;
    const auto outside = caught([] {
        CppLanguage::raise<CLookupFailure>(ORLO_HERE, "QEL_MM_UNDEF_CAT_NAM", {{"CAT_NAM", "Foo"}});
    });
    ASSERT_TRUE(outside);
    EXPECT_STREQ(outside->what(), "Category 'Foo' is not defined.");
    EXPECT_EQ(outside->GetLine(), raiseLine);
    EXPECT_EQ(outside->GetDetail(), "[" __FILE__ "; " + std::to_string(raiseLine) +
                                        "; " __DATE__ " " + outside->GetTime() +
                                        "] : Category 'Foo' is not defined.");
    const CppLanguage::IAppMsg* record = outside->GetAppMsg();
    ASSERT_NE(record, nullptr);
    EXPECT_STREQ(record->GetId(), "QEL_MM_UNDEF_CAT_NAM");
    EXPECT_STREQ(record->GetComponent(), "QEL");
    EXPECT_STREQ(record->GetLibraryFile(), __FILE__);
    EXPECT_EQ(record->GetLibraryLine(), raiseLine);
    EXPECT_EQ(record->GetSeverity(), CppLanguage::SeverityError);
    EXPECT_EQ(record->GetArguments(), (CppLanguage::MsgArguments{{"CAT_NAM", "Foo"}}));
    // Outside any document the record has no position; inside one, it has the reader's.
    EXPECT_EQ(record->GetDocument(), nullptr);
    EXPECT_EQ(record->GetLine(), 0);

    MovingPosition reader({"/m/MetaModel.xml", 9, 14});
    const DocumentPositionScope scope(reader);
    const auto inside =
        caught([] { CppLanguage::raise<CLookupFailure>(ORLO_HERE, "QEL_MM_EMPTY_ID"); });
    ASSERT_TRUE(inside && inside->GetAppMsg());
    EXPECT_STREQ(inside->GetAppMsg()->GetDocument(), "/m/MetaModel.xml");
    EXPECT_EQ(inside->GetAppMsg()->GetLine(), 9);
    EXPECT_EQ(inside->GetAppMsg()->GetColumn(), 14);
    EXPECT_TRUE(inside->GetAppMsg()->GetArguments().empty());
}

TEST(Report, PostsTheMessageAndReturns) {
    MessageCapture capture;
    const int reportLine = __LINE__ + 1;
    CppLanguage::report(ORLO_HERE, "QEL_MM_CONFLICT_CAT_ID", {{"ID", 1000001}, {"NAM", "Alpha"}});
    CppLanguage::report(ORLO_HERE, "QEL_MM_INVALID_CHARCNAME",
                        {{"NAME", static_cast<const char*>(nullptr)}});
    ASSERT_EQ(capture.ids(),
              (std::vector<std::string>{"QEL_MM_CONFLICT_CAT_ID", "QEL_MM_INVALID_CHARCNAME"}));
    const auto& first = capture.messages()[0];
    EXPECT_STREQ(
        first.GetText(),
        "Category 'Alpha' has the id 1000001, which another category or type already has.");
    EXPECT_EQ(capture.argument(0, "ID"), "1000001");
    EXPECT_STREQ(first.GetComponent(), "QEL");
    EXPECT_STREQ(first.GetLibraryFile(), __FILE__);
    EXPECT_EQ(first.GetLibraryLine(), reportLine);
    EXPECT_EQ(first.GetDocument(), nullptr);
    EXPECT_EQ(capture.argument(1, "NAME"), "");
    EXPECT_EQ(capture.messages()[1].GetSeverity(), CppLanguage::SeverityWarning);
}

TEST(Report, WithoutASinkWritesOneLineToStandardError) {
    ::testing::internal::CaptureStderr();
    CppLanguage::report(ORLO_HERE, "QEL_MM_UNDEF_TYP_NAM", {{"TYP_NAM", "Beta"}});
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "error: Type 'Beta' is not defined. [QEL_MM_UNDEF_TYP_NAM]\n");
}

TEST(Report, PositionComesFromTheInnermostScopeAtTheTimeOfTheReport) {
    MessageCapture capture;
    MovingPosition outer({"outer.xml", 1, 2});
    {
        const DocumentPositionScope outerScope(outer);
        MovingPosition inner({"inner.xml", 30, 4});
        {
            const DocumentPositionScope innerScope(inner);
            CppLanguage::report(ORLO_HERE, "QEL_MM_EMPTY_ID");
            inner.position.line = 31;
            inner.position.column = 8;
            CppLanguage::report(ORLO_HERE, "QEL_MM_EMPTY_ID");
            // An explicit position wins over the scope's.
            CppLanguage::reportAt(ORLO_HERE, {"elsewhere", 5, 6}, "QEL_MM_EMPTY_ID");
        }
        CppLanguage::report(ORLO_HERE, "QEL_MM_EMPTY_ID");
    }
    CppLanguage::report(ORLO_HERE, "QEL_MM_EMPTY_ID");

    std::vector<std::string> places;
    for (const CppLanguage::CAppMsg& m : capture.messages())
        places.push_back((m.GetDocument() ? std::string(m.GetDocument()) : "<none>") + ":" +
                         std::to_string(m.GetLine()) + ":" + std::to_string(m.GetColumn()));
    EXPECT_EQ(places, (std::vector<std::string>{"inner.xml:30:4", "inner.xml:31:8", "elsewhere:5:6",
                                                "outer.xml:1:2", "<none>:0:0"}));
    EXPECT_EQ(CppLanguage::currentDocumentPosition().document, "");
}

TEST(Report, CaughtExceptionsArePostedWhenTheyAreOurs) {
    MessageCapture capture;
    try {
        CppLanguage::raise<CLookupFailure>(ORLO_HERE, "QEL_MM_UNDEF_PROP_ID", {{"PROP_ID", 77}});
    } catch (const std::exception& caught) {
        EXPECT_TRUE(CppLanguage::reportException(caught));
    }
    EXPECT_TRUE(CppLanguage::reportException(
        CppLanguage::CRuntimeException("f.cpp", 1, "d", "t", "without a record")));
    EXPECT_FALSE(CppLanguage::reportException(std::runtime_error("foreign")));

    ASSERT_EQ(capture.messages().size(), 2u);
    EXPECT_EQ(capture.ids()[0], "QEL_MM_UNDEF_PROP_ID");
    EXPECT_STREQ(capture.messages()[0].GetText(), "No property has the id 77.");
    EXPECT_EQ(capture.argument(0, "PROP_ID"), "77");
    EXPECT_STREQ(capture.messages()[1].GetText(), "without a record");
    EXPECT_EQ(capture.messages()[1].GetSeverity(), CppLanguage::SeverityError);
    EXPECT_STREQ(capture.messages()[1].GetComponent(), "QEL");
}

// A host's manager takes over both paths until it is removed.
class HostManager : public AppMsgManager::IAppMsgManager {
public:
    void Release() override {}
    int AddRef() override { return 1; }
    void RemoveRef() override {}
    CppLanguage::CAppMsg* ExceptionToMsg(const std::exception*) override { return nullptr; }
    void PostMsg(const CppLanguage::IAppMsg& message) override {
        posted.emplace_back(message.GetText());
    }
    void FormatMsg(const char*, ...) override {}
    CppLanguage::CAppMsg* CreateMsg(const char*, ...) override { return nullptr; }
    void Fill(CppLanguage::CAppMsg& record, const char* id, const AppMsgManager::MessageOrigin&,
              std::span<const CppLanguage::CBindArgNameToVal* const> arguments) override {
        std::string text = std::string("host:") + id;
        for (const auto* argument : arguments)
            text += std::string(":") + argument->GetValue();
        record.SetText(text.c_str());
    }
    std::vector<std::string> posted;
};

TEST(Report, AnInstalledManagerServesUntilReset) {
    MessageCapture capture;
    HostManager host;
    AppMsgManager::SetAppMsgManager(&host);
    CppLanguage::report(ORLO_HERE, "QEL_MM_UNDEF_CAT_NAM", {{"CAT_NAM", "X"}});
    std::string raised;
    try {
        CppLanguage::raise<CLookupFailure>(ORLO_HERE, "QEL_MM_EMPTY_ID");
    } catch (const CLookupFailure& caught) {
        raised = caught.what();
    }
    AppMsgManager::SetAppMsgManager(nullptr);
    CppLanguage::report(ORLO_HERE, "QEL_MM_EMPTY_ID");

    EXPECT_EQ(host.posted, std::vector<std::string>{"host:QEL_MM_UNDEF_CAT_NAM:X"});
    EXPECT_EQ(raised, "host:QEL_MM_EMPTY_ID");
    EXPECT_EQ(capture.ids(), std::vector<std::string>{"QEL_MM_EMPTY_ID"});
}

} // namespace
