#include "support/runtool.h"

#include <gtest/gtest.h>

namespace {

using TestSupport::messageIds;
using TestSupport::runTool;

const std::string base = METAMODEL_SOURCE_DIR "/share/metamodel";
const std::string review = METAMODEL_SOURCE_DIR "/examples/review";
const std::string faulty = METAMODEL_SOURCE_DIR "/examples/faulty";

TEST(CheckCommand, TheInstallationAndTheReviewExtensionPass) {
    const auto run = runTool({"check", review}, base);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "check: the documents pass (0 warnings)\n");
    EXPECT_EQ(run.out, ""); // and, not on a terminal, no progress line
}

TEST(CheckCommand, AFaultySetShowsEveryFaultInOrderAndFails) {
    const auto run = runTool({"check", review, faulty}, base);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(messageIds(run.err),
              (std::vector<std::string>{"QEL_MM_CONFLICT_PROP_NAM", "QEL_MM_INVALID_PROP_CARD",
                                        "QEL_MM_INVALID_CHARCNAME", "QEL_MM_TWICE_INHERITANCE",
                                        "QEL_MM_UNKNOWN_EXTEND", "QEL_MM_INVALID_PROP_MERGE",
                                        "QEL_MM_INVALID_PROP_TYP", "QEL_MM_ONLY_PARTIAL_DECL",
                                        "QEL_MM_EXIST_ERR"}))
        << run.err;
    EXPECT_NE(run.err.find(faulty + "/MetaModel.xml:12:"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find(": warning: "), std::string::npos);
    EXPECT_NE(run.err.find("7 fault"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("check: the documents fail (1 warning)"), std::string::npos);
}

// Warnings alone leave a set valid; a fault that only the built model shows fails it.
TEST(CheckCommand, WarningsAlonePassAndFaultsOfTheBuiltModelFail) {
    const std::string reserved = METAMODEL_TEST_DATA_DIR "/check/reserved/MetaModel.xml";
    const std::string ring = METAMODEL_TEST_DATA_DIR "/check/ring/MetaModel.xml";
    auto run = runTool({"--format", "json", "check", reserved}, base);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err.rfind("{\"severity\":\"warning\",\"id\":\"QEL_MM_RESERVED_CNAME\"", 0), 0u)
        << run.err;
    run = runTool({"-q", "check", ring}, base);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(messageIds(run.err),
              (std::vector<std::string>{"QEL_MM_CIRCULAR_INHERITANCE", "QEL_MM_EXIST_ERR"}))
        << run.err;
}

TEST(CheckCommand, OnATerminalProgressShowsEachPassUnlessQuiet) {
    const std::string shown = TestSupport::runToolOnTerminal({"check", review}, base).err;
    EXPECT_NE(shown.find("\rcheck: pass 1 of 2, document 1 of 4"), std::string::npos) << shown;
    EXPECT_NE(shown.find("\rcheck: pass 2 of 2, document 4 of 4"), std::string::npos) << shown;
    EXPECT_NE(shown.find("check: the documents pass"), std::string::npos) << shown;

    const std::string quiet = TestSupport::runToolOnTerminal({"-q", "check", review}, base).err;
    EXPECT_EQ(quiet.find("check:"), std::string::npos) << quiet;
}

} // namespace
