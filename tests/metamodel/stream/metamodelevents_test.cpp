#include "metamodel/metamodelexceptions.h"
#include "metamodel/stream/dumpmetamodelevents.h"
#include "support/messagecapture.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

namespace {

using MetaModel::CMetaModelEvents;
using MetaModel::IMetaModelEvents;
using MetaModel::String;

constexpr IMetaModelEvents::ElementStatus active = IMetaModelEvents::EsActive;

// Notes the position flags that each hook sees, as "hook:SCTPR" with a letter for each flag
// that is set (Started, in Category, in Type, Partial, in pRoperty).
class PositionProbe : public CMetaModelEvents {
public:
    std::vector<std::string> seen;

protected:
    void note(const char* hook) {
        std::string flags;
        flags += IsStarted() ? 'S' : '-';
        flags += IsInCategory() ? 'C' : '-';
        flags += IsInType() ? 'T' : '-';
        flags += IsPartial() ? 'P' : '-';
        flags += IsInProperty() ? 'R' : '-';
        seen.push_back(std::string(hook) + ":" + flags);
    }
    void OnStart() override { note("Start"); }
    void OnEnd() override { note("End"); }
    void OnStartCategory(const String&, bool, const String&, int, const ElementStatus&) override {
        note("StartCategory");
    }
    void OnEndCategory(bool) override { note("EndCategory"); }
    void OnStartType(const String&, bool, const String&, int, const ElementStatus&) override {
        note("StartType");
    }
    void OnEndType(bool) override { note("EndType"); }
    void OnStartProperty(const String&, const String&, const String&, const int&, const int&,
                         const String&, int, const ElementStatus&) override {
        note("StartProperty");
    }
    void OnEndProperty() override { note("EndProperty"); }
    void OnAttribute(const String&, int, const ElementStatus&) override { note("Attribute"); }
};

TEST(EventStream, HooksSeeTheNewPositionOnlyWhereTheContractSaysSo) {
    PositionProbe probe;
    const int zero = 0, one = 1;
    probe.Start();
    probe.StartCategory("C", true, "", IMetaModelEvents::NoId, active);
    probe.StartProperty("p", "", "integer", zero, one, "no", 5, active);
    probe.Attribute("a", 1, active);
    probe.EndProperty();
    probe.EndCategory(true);
    EXPECT_FALSE(probe.IsPartial()) << "once EndCategory has returned";
    probe.StartType("T", true, "", IMetaModelEvents::NoId, active);
    probe.EndType(true);
    probe.End();
    EXPECT_EQ(probe.seen,
              (std::vector<std::string>{"Start:-----", "StartCategory:SC-P-", "StartProperty:SC-P-",
                                        "Attribute:SC-PR", "EndProperty:SC-PR", "EndCategory:SC-P-",
                                        "StartType:S-TP-", "EndType:S-TP-", "End:S----"}));
    EXPECT_FALSE(probe.IsStarted() || probe.IsInCategory() || probe.IsInType() ||
                 probe.IsPartial() || probe.IsInProperty());
    EXPECT_TRUE(probe.invariant());
}

TEST(EventStream, InvariantFlagsImpossiblePositionsButTheStreamGoesOn) {
    PositionProbe beforeStart;
    beforeStart.StartCategory("C", false, "", 1, active);
    EXPECT_FALSE(beforeStart.invariant());

    // A property outside any category or type.
    PositionProbe loose;
    loose.Start();
    const int zero = 0, one = 1;
    loose.StartProperty("p", "", "integer", zero, one, "no", 5, active);
    EXPECT_FALSE(loose.invariant());

    PositionProbe both;
    both.Start();
    both.StartCategory("C", false, "", 1, active);
    EXPECT_TRUE(both.invariant());
    both.StartType("T", false, "", 2, active);
    EXPECT_FALSE(both.invariant());

    // A copy made mid-category stands where the original stood.
    PositionProbe original;
    original.Start();
    original.StartType("T", true, "", IMetaModelEvents::NoId, active);
    original.SetSource("doc.xml");
    const PositionProbe copy(original);
    EXPECT_TRUE(copy.IsStarted() && copy.IsInType() && copy.IsPartial());
    EXPECT_EQ(copy.GetSource(), "doc.xml");
}

TEST(DumpSink, WritesOneLinePerElementAndPropertyInStreamOrder) {
    TestSupport::TempFolder folder;
    const std::string path = folder.file("out.dump");
    CDumpMetaModelEvents dump(path);
    const int zero = 0, one = 1;
    dump.Start();
    dump.StartProperty("orphan", "", "integer", zero, one, "no", 9, active);
    dump.EndProperty();
    dump.StartCategory("Base", false, "d", 1003001, IMetaModelEvents::EsInactive);
    {
        // A copy made inside the category stands there too and writes into the same file.
        CDumpMetaModelEvents copy(dump);
        EXPECT_TRUE(copy.IsInCategory() && copy.IsStarted());
        copy.StartProperty("size", "", "integer", zero, one, "sum", 1003002, active);
        copy.EndProperty();
    }
    dump.EndCategory(false);
    dump.StartType("Other", true, "", IMetaModelEvents::NoId, active);
    dump.StartProperty("extra", "", "string", zero, one, "no", 1003003, active);
    dump.EndProperty();
    dump.EndType(true);
    dump.StartType("File", false, "", 1003, active);
    dump.EndType(false);
    dump.End();
    EXPECT_EQ(TestSupport::readFile(path), "Prop\t9\t.orphan\r\n"
                                           "Cat \t1003001\tBase\r\n"
                                           "Prop\t1003002\tBase.size\r\n"
                                           "Prop\t1003003\tOther.extra\r\n"
                                           "Typ \t1003\tFile\r\n");
}

TEST(DumpSink, AnEmptyStreamLeavesAnEmptyFileAndAnUnopenableOneRaises) {
    TestSupport::TempFolder folder;
    CDumpMetaModelEvents empty(folder.file("empty.dump"));
    empty.Start();
    empty.End();
    EXPECT_TRUE(std::filesystem::exists(folder.file("empty.dump")));
    EXPECT_EQ(TestSupport::readFile(folder.file("empty.dump")), "");

    const std::string unreachable = folder.file("no/such/folder/out.dump");
    CDumpMetaModelEvents dump(unreachable);
    EXPECT_FALSE(std::filesystem::exists(unreachable));
    try {
        dump.Start();
        FAIL() << "no exception";
    } catch (const MetaModel::CMetaModelEventsException& failure) {
        const CppLanguage::IAppMsg* message = failure.GetAppMsg();
        ASSERT_NE(message, nullptr);
        EXPECT_STREQ(message->GetId(), "QEL_MM_DUMP_FILE_ERR");
        ASSERT_EQ(message->GetArguments().size(), 1u);
        EXPECT_EQ(message->GetArguments()[0].first, "FILE");
        EXPECT_EQ(message->GetArguments()[0].second, unreachable);
        EXPECT_NE(std::string(failure.what()).find(unreachable), std::string::npos);
    }
    EXPECT_FALSE(dump.IsStarted());
}

} // namespace
