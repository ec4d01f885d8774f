#include "support/runtool.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using TestSupport::lines;
using TestSupport::runTool;

const std::string first = METAMODEL_TEST_DATA_DIR "/model/links/first/MetaModel.xml";
const std::string second = METAMODEL_TEST_DATA_DIR "/model/links/second/MetaModel.xml";

// The value of "name" in each JSON line.
std::vector<std::string> elementNames(const std::string& out) {
    std::vector<std::string> names;
    for (const std::string& line : lines(out)) {
        const size_t at = line.find("\"name\":\"") + 8;
        names.push_back(line.substr(at, line.find('"', at) - at));
    }
    return names;
}

TEST(Describe, NamedElementsAreOneJsonObjectPerLineCategoriesFirst) {
    const auto run = runTool({"describe", "--json", "-e", "Child.members", "--element=Leaf", "-e",
                              "Child.members", first, second});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const auto json = lines(run.out);
    ASSERT_EQ(json.size(), 2u) << run.out;
    const std::string root = METAMODEL_TEST_DATA_DIR "/model/links/first";
    EXPECT_EQ(json[0],
              "{\"kind\":\"type\",\"name\":\"Leaf\",\"id\":2001009,\"localId\":3,"
              "\"status\":\"active\",\"description\":\"Its tree parent comes later\","
              "\"isLanguage\":false,\"hasIndex\":false,\"language\":null,"
              "\"parents\":[\"Child\"],\"allCategories\":[\"Child\",\"Leaf\",\"Parent\"],"
              "\"properties\":[],\"allProperties\":[\"Child.count\",\"Child.dangling\","
              "\"Child.loose\",\"Child.members\",\"Child.owner\",\"Parent.early\","
              "\"Parent.label\",\"Parent.late\"],\"attributes\":[{\"name\":\"KEY_CLASS\","
              "\"type\":\"integer\",\"value\":2001009,\"status\":\"active\"},"
              "{\"name\":\"ROOT_PATH\",\"type\":\"string\",\"value\":\"" +
                  root +
                  "\",\"status\":\"active\"}],\"treeParents\":{\"Hierarchy\":[\"Holder\"]},"
                  "\"treeChildren\":{}}");
    EXPECT_EQ(json[1],
              "{\"kind\":\"property\",\"name\":\"Child.members\",\"shortName\":\"members\","
              "\"id\":2001003,\"localId\":1,\"status\":\"deprecated\",\"description\":\"\","
              "\"type\":\"referenceList\",\"minimalCardinality\":0,\"maximalCardinality\":5,"
              "\"merge\":0,\"category\":\"Child\",\"referencedCategory\":\"Holder\","
              "\"transient\":false,\"indexed\":false,\"attributes\":[]}");
}

TEST(Describe, WithoutNamesEveryElementIsPrintedInNameOrderEvenFromAnUncheckedSet) {
    const auto run = runTool({"describe", "--json", first, second});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(elementNames(run.out),
              (std::vector<std::string>{
                  "Child", "Hierarchy", "Holder", "Leaf", "OnlyPartial", "Parent", "Plain",
                  "Child.count", "Child.dangling", "Child.loose", "Child.members", "Child.owner",
                  "OnlyPartial.extra", "Parent.early", "Parent.label", "Parent.late"}));
    const auto json = lines(run.out);
    EXPECT_NE(json[4].find("\"id\":-2147483648,"), std::string::npos) << json[4];
    EXPECT_NE(json[4].find("\"status\":\"inactive\""), std::string::npos) << json[4];
    EXPECT_NE(json[13].find("\"attributes\":[{\"name\":\"INDEX\",\"type\":\"integer\",\"value\":1,"
                            "\"status\":\"inactive\"}]"),
              std::string::npos)
        << json[13];
}

TEST(Describe, TheTextFormIsReadableLinesPerElement) {
    const auto run = runTool({"describe", "-e", "Child.owner", "-e", "Holder", first, second});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(run.out.find("type Holder\n  id 2002005, local id 5, active\n"), std::string::npos)
        << run.out;
    EXPECT_NE(run.out.find("  children in Hierarchy: Leaf\n"), std::string::npos);
    EXPECT_NE(run.out.find("\n\nproperty Child.owner\n"), std::string::npos);
    EXPECT_NE(run.out.find("  type reference [0..1], merge 0\n  references: Holder\n"),
              std::string::npos);
}

TEST(Describe, UnknownNamesAreEachReportedAndNothingIsPrinted) {
    const auto run = runTool({"--format", "json", "describe", "-e", "Nowhere", "-e", "Child", "-e",
                              "Child.gone", first});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "");
    const auto errors = lines(run.err);
    ASSERT_EQ(errors.size(), 2u) << run.err;
    EXPECT_NE(errors[0].find("\"id\":\"QEL_MM_UNDEF_CAT_NAM\""), std::string::npos);
    EXPECT_NE(errors[0].find("\"args\":{\"CAT_NAM\":\"Nowhere\"}"), std::string::npos);
    EXPECT_NE(errors[1].find("\"args\":{\"PROP_NAM\":\"Child.gone\"}"), std::string::npos);

    const auto usage = runTool({"describe", "--json=yes", first});
    EXPECT_EQ(usage.exitCode, 2);
}

} // namespace
