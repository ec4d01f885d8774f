#include "support/runtool.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using TestSupport::lines;
using TestSupport::runTool;

const std::string data = METAMODEL_TEST_DATA_DIR;
const std::string first = data + "/model/links/first/MetaModel.xml";
const std::string second = data + "/model/links/second/MetaModel.xml";

// What the tool printed, with the data folder as the expected files write it.
std::string described(const std::vector<std::string>& arguments) {
    const auto run = runTool(arguments);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
    std::string text = run.out;
    for (size_t at = text.find(data); at != std::string::npos; at = text.find(data, at))
        text.replace(at, data.size(), "@DATA@");
    return text;
}

// The set is not checked: an element only declared partially is described too, with its
// unset id and inactive status. Categories and types come first, each group in name order.
TEST(Describe, EveryElementAsJsonLinesOrTextFromAnUncheckedSet) {
    const std::string json = TestSupport::readFile(data + "/model/links/described.json");
    EXPECT_EQ(described({"describe", "--json", first, second}), json);
    EXPECT_EQ(described({"describe", first, second}),
              TestSupport::readFile(data + "/model/links/described.txt"));

    // Named elements: the same lines, each once, categories and types first.
    const auto all = lines(json);
    const auto named = described({"describe", "--json", "-e", "Child.members", "--element=Leaf",
                                  "-e", "Child.members", first, second});
    EXPECT_EQ(lines(named), (std::vector<std::string>{all.at(3), all.at(10)})) << named;
}

TEST(Describe, UnknownNamesAreEachReportedAndTheKnownOnesPrinted) {
    const auto run = runTool({"--format", "json", "describe", "-e", "Nowhere", "-e", "Child", "-e",
                              "Child.gone", "--json", first});
    EXPECT_EQ(run.exitCode, 1);
    ASSERT_EQ(lines(run.out).size(), 1u) << run.out;
    EXPECT_NE(run.out.find("\"name\":\"Child\""), std::string::npos) << run.out;
    const auto errors = lines(run.err);
    ASSERT_EQ(errors.size(), 2u) << run.err;
    EXPECT_NE(errors[0].find("\"id\":\"QEL_MM_UNDEF_CAT_NAM\""), std::string::npos);
    EXPECT_NE(errors[0].find("\"args\":{\"CAT_NAM\":\"Nowhere\"}"), std::string::npos);
    EXPECT_NE(errors[1].find("\"args\":{\"PROP_NAM\":\"Child.gone\"}"), std::string::npos);
}

} // namespace
