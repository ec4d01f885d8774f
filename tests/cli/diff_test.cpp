#include "support/runtool.h"
#include "support/tempfolder.h"
#include "support/testdatabase.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using TestSupport::readFile;
using TestSupport::runTool;

const std::string data = METAMODEL_TEST_DATA_DIR "/diff/";
const std::string oldSet = data + "old";
const std::string newSet = data + "new";

// The fixture changes every kind of thing once; the whole output is compared.
TEST(Diff, EveryKindOfChangeAsTextAndAsJson) {
    const auto text = runTool({"diff", "--against", oldSet, newSet});
    EXPECT_EQ(text.exitCode, 0) << text.err;
    EXPECT_EQ(text.out, readFile(data + "expected.txt"));
    EXPECT_EQ(text.err, "diff: 33 changes, 15 breaking\n");

    const auto json = runTool({"-q", "diff", "--json", "--against", oldSet, newSet});
    EXPECT_EQ(json.exitCode, 0) << json.err;
    EXPECT_EQ(json.out, readFile(data + "expected.json"));
    EXPECT_EQ(json.err, "");
}

// A maximum of 0 is no bound that a later maximum could narrow; documents may carry it, the
// repository refuses it, so the fixture above cannot.
TEST(Diff, AMaximumRaisedFromZeroIsCompatible) {
    const TestSupport::TempFolder folder;
    const auto document = [&](const char* side, const char* maximum) {
        return folder.write(std::string(side) + "/MetaModel.xml",
                            std::string(R"(<metaModel file_no="1"><category name="C" rid="1">)"
                                        R"(<description/><property name="p" rid="2" type="string" )"
                                        R"(maximalCardinality=")") +
                                maximum + R"("><description/></property></category></metaModel>)");
    };
    const auto run =
        runTool({"-q", "diff", "--against", document("old", "0"), document("new", "3")});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, "breaking: property C.p: type string -> stringList\n"
                       "compatible: property C.p: maximal cardinality 0 -> 3\n");
}

TEST(Diff, ExitStatusAndUsage) {
    const std::string document = oldSet + "/MetaModel.xml";
    const TestSupport::TempFolder empty;
    struct Case {
        const char* name;
        std::vector<std::string> arguments;
        int exitCode;
        bool printsChanges;
    };
    const Case cases[] = {
        {"breaking, asked", {"diff", "--fail-on-breaking", "--against", oldSet, newSet}, 1, true},
        {"breaking, not asked", {"diff", "--against", oldSet, newSet}, 0, true},
        // Against itself, as a folder and as a document: the same model.
        {"nothing", {"diff", "--fail-on-breaking", "--against", oldSet, document}, 0, false},
        {"only additions",
         {"diff", "--fail-on-breaking", "--against", empty.path().string(), oldSet},
         0,
         true},
        {"neither side", {"diff", newSet}, 2, false},
        {"both sides", {"diff", "--against", oldSet, "--db", "x.db", newSet}, 2, false},
        {"schema without db", {"diff", "--schema", "s", "--against", oldSet, newSet}, 2, false},
        {"missing folder", {"diff", "--against", data + "missing", newSet}, 1, false},
    };
    for (const Case& test : cases) {
        const auto run = runTool(test.arguments);
        EXPECT_EQ(run.exitCode, test.exitCode) << test.name << ": " << run.err;
        EXPECT_EQ(!run.out.empty(), test.printsChanges) << test.name << ": " << run.out;
    }
}

using DiffOnRepository = TestSupport::OnBothServers;

// The old set transferred, the new one compared with it: what the repository keeps of the
// documents is compared, so statuses are not told and empty descriptions hold the names.
TEST_P(DiffOnRepository, ComparesTheSetWithWhatTheRepositoryHolds) {
    const auto transfer = runTool({"-q", "transfer", "--db", uri_, oldSet});
    ASSERT_EQ(transfer.exitCode, 0) << transfer.err;

    const auto same = runTool({"diff", "--fail-on-breaking", "--db", uri_, oldSet});
    EXPECT_EQ(same.exitCode, 0) << same.err;
    EXPECT_EQ(same.out, "");
    const auto changed = runTool({"diff", "--fail-on-breaking", "--db", uri_, newSet});
    EXPECT_EQ(changed.exitCode, 1) << changed.err;
    EXPECT_EQ(changed.out, readFile(data + "expected-repository.txt"));
}

INSTANTIATE_ON_BOTH_SERVERS(DiffOnRepository);

} // namespace
