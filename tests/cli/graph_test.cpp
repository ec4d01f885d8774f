#include "support/runtool.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

using TestSupport::messageIds;
using TestSupport::readFile;
using TestSupport::runTool;

const std::string shareDir = METAMODEL_SOURCE_DIR "/share/metamodel";

// Names that DOT cannot take as they stand: blanks, quotes, backslashes (one at the end),
// an entity, non-ASCII text; a deprecated type and an obsolete category; inheritance and a
// tree link, one across documents through a partial element.
const std::string data = METAMODEL_TEST_DATA_DIR "/graph/",
                  crafted = data + "crafted/MetaModel.xml";

TEST(Graph, DotHoldsExactlyTheModelsNodesAndEdges) {
    const TestSupport::TempFolder folder;
    const std::string document = folder.write("crafted/MetaModel.xml", readFile(crafted));
    const std::string dot = folder.file("model.dot");
    const auto run = runTool({"graph", "--trees", "-o", dot, document});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    // Graphviz's own reading of the text, once through dot and back, as name sets.
    std::string canon;
    ASSERT_EQ(
        TestSupport::runShell(
            "bash -c 'set -o pipefail; dot -Tcanon \"" + dot +
                "\" | gvpr \"N{printf(\\\"node %s|%s|%s\\n\\\", \\$.name, \\$.shape, \\$.style)} "
                "E{printf(\\\"edge %s|%s|%s\\n\\\", \\$.tail.name, \\$.head.name, \\$.label)}\"'",
            canon),
        0)
        << readFile(dot);
    // In a quoted DOT name only \" is an escape and \\ stays as it is written: a backslash
    // is doubled in the node's name, where a single one before the closing quote would end
    // the text too early; its label shows it single.
    const auto read = TestSupport::lines(canon);
    const auto expected = TestSupport::lines(readFile(data + "crafted-read.txt"));
    EXPECT_EQ(std::set(read.begin(), read.end()), std::set(expected.begin(), expected.end()))
        << readFile(dot);
    // A status other than active is named under the name, and only then.
    const std::string text = readFile(dot);
    EXPECT_NE(text.find("\\n(deprecated)\""), std::string::npos) << text;
    EXPECT_NE(text.find("\\n(obsolete)\""), std::string::npos) << text;
    EXPECT_EQ(text.find("(active)"), std::string::npos) << text;
    // The same model gives the same text, whatever the order of the hash tables.
    EXPECT_EQ(runTool({"graph", "--trees", document}).out, readFile(dot));

    const auto overwrite = runTool({"graph", "-o", document, document});
    EXPECT_EQ(overwrite.exitCode, 1);
    EXPECT_EQ(messageIds(overwrite.err), std::vector<std::string>{"FILEOP_OUTPUT_IS_INPUT"});
    EXPECT_EQ(readFile(document), readFile(crafted));

    // From a repository (which keeps no status), and never in the place of the database.
    const std::string database = folder.file("repository.sqlite");
    ASSERT_EQ(runTool({"transfer", "--db", database, document}).exitCode, 0);
    const auto fromRepository = runTool({"graph", "--trees", "--db", database});
    EXPECT_EQ(fromRepository.exitCode, 0) << fromRepository.err;
    EXPECT_NE(fromRepository.out.find("\t\"Two words\" -> \"Base\";\n"), std::string::npos)
        << fromRepository.out;
    const std::string stored = readFile(database);
    const auto overDatabase = runTool({"graph", "--db", database, "-o", database});
    EXPECT_EQ(overDatabase.exitCode, 1);
    EXPECT_EQ(messageIds(overDatabase.err), std::vector<std::string>{"FILEOP_OUTPUT_IS_INPUT"});
    EXPECT_TRUE(readFile(database) == stored);
}

struct Focus {
    std::vector<std::string> options;
    int exitCode;
    std::set<std::string> nodes;
};

// Root <- Middle <- Focus <- Child <- Grandchild, Root <- Side, Middle <- Sibling,
// Focus <- Other.
const std::string family = data + "family/MetaModel.xml";

TEST(Graph, AFocusKeepsItsNeighbourhoodAndTheEdgesWithin) {
    const Focus cases[] = {
        {{"--focus", "Focus"}, 0, {"Root", "Middle", "Focus", "Child", "Other"}},
        {{"--focus", "Focus", "--up", "1", "--down", "0"}, 0, {"Middle", "Focus"}},
        {{"--focus", "Focus", "--up", "0", "--down", "2"},
         0,
         {"Focus", "Child", "Other", "Grandchild"}},
        {{"--focus", "Middle", "--up", "0"}, 0, {"Middle", "Sibling", "Focus"}},
        {{"--focus", "Nobody"}, 1, {}},
        {{"--down", "1"}, 2, {}},
        {{"--focus", "Focus", "--up", "-1"}, 2, {}},
    };
    for (const Focus& focus : cases) {
        std::vector<std::string> arguments = {"graph"};
        arguments.insert(arguments.end(), focus.options.begin(), focus.options.end());
        arguments.push_back(family);
        SCOPED_TRACE(arguments[2]);
        const auto run = runTool(arguments);
        ASSERT_EQ(run.exitCode, focus.exitCode) << run.err;
        static const std::regex node("\t\"([^\"]*)\" \\["), edge(" -> \"([^\"]*)\";");
        const std::set<std::string> nodes(
            std::sregex_token_iterator(run.out.begin(), run.out.end(), node, 1), {});
        const std::vector<std::string> parents(
            std::sregex_token_iterator(run.out.begin(), run.out.end(), edge, 1), {});
        for (const std::string& parent : parents)
            EXPECT_TRUE(nodes.count(parent)) << parent;
        EXPECT_EQ(nodes, focus.nodes) << run.out;
        // A tree of inheritance: one edge fewer than nodes in a connected neighbourhood.
        EXPECT_EQ(parents.size(), nodes.empty() ? 0 : nodes.size() - 1) << run.out;
    }
}

TEST(Graph, TheBaseMetaModelIsDrawnAsSvgAndAMissingDotIsSaidSo) {
    const TestSupport::TempFolder folder;
    const std::string svg = folder.file("base.svg");
    const auto run = runTool({"graph", "--format", "svg", "--trees", "-o", svg}, shareDir);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const std::string picture = readFile(svg);
    EXPECT_NE(picture.find("<svg"), std::string::npos);
    EXPECT_NE(picture.find("<title>Folder&#45;&gt;Object</title>"), std::string::npos) << picture;

    const std::string path = std::getenv("PATH");
    setenv("PATH", folder.path().c_str(), 1);
    const auto missing = runTool({"graph", "--format", "svg", "-o", svg}, shareDir);
    setenv("PATH", path.c_str(), 1);
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(messageIds(missing.err), std::vector<std::string>{"MM_GRAPH_DOT_MISSING"});
    EXPECT_EQ(readFile(svg), picture);
}

} // namespace
