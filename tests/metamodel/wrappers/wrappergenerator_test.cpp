#include "metamodel/wrappers/wrappergenerator.h"

#include "metamodel/builder/documentbuild.h"
#include "metamodel/metamodelexceptions.h"
#include "metamodel/model/raisedmessage.h"
#include "metamodel/operations/fileop.h"
#include "platform/appdatamanager.h"
#include "support/tempfolder.h"
#include "support/treesnapshot.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

namespace fs = std::filesystem;
using MetaModel::WrapperGenerator;
using MetaModel::WrapperGeneratorException;
using TestSupport::RaisedMessage;
using TestSupport::Tree;

const std::string dataFolder = METAMODEL_TEST_DATA_DIR "/wrappers";
const std::string summaryHead = "//AllWrappers.h : generated file\n\n#pragma once\n"
                                "#pragma message(\"including AllWrappers.h\")\n\n";

// The temporary folder, and so the work folder, lies in a test folder of its own; the merge
// works silently.
class WrapperGeneration : public ::testing::Test {
protected:
    WrapperGeneration() {
        AppDataManager::AppDataOverrides folders;
        folders.tempDir = root.file("tmp");
        fs::create_directory(root.file("tmp"));
        AppDataManager::SetAppDataOverrides(folders);
        MetaModel::FileOp::verboseMode = false;
    }
    ~WrapperGeneration() override {
        MetaModel::FileOp::verboseMode = true;
        AppDataManager::SetAppDataOverrides({});
    }

    // A document under docs/ that declares the categories, numbered from 1001 on.
    std::string writeDocument(const std::string& folder, const std::vector<std::string>& names) {
        std::string text = "<metaModel file_no=\"1\" file_level=\"core\">\n";
        int rid = 0;
        for (const std::string& name : names)
            text += "<category name=\"" + name + "\" rid=\"" + std::to_string(++rid) +
                    "\"><description/></category>\n";
        return root.write("docs/" + folder + "/MetaModel.xml", text + "</metaModel>\n");
    }

    TestSupport::TempFolder root;
    const std::string work = root.file("tmp/MetamodelWrapperGeneratedFiles");
    const std::string output = root.file("out/wrappers");
};

// A rendering gathered into the tree that it stands for.
struct Gathered : WrapperGenerator::RenderTarget {
    Tree tree;
    void folder(const std::string& path) override { tree[path] = "<dir>"; }
    void text(const std::string& path, std::string_view text) override { tree[path] += text; }
};

// What the expected files are written from: the row tables of the generated text, line by
// line, not a run of the generator.
TEST_F(WrapperGeneration, GeneratesTheTreeOfHeadersByteForByte) {
    const auto model = TestSupport::buildFromDocuments({
        dataFolder + "/model/Languages/Deep/MetaModel.xml",
        dataFolder + "/model/Core/MetaModel.xml",
        dataFolder + "/model/MetaModel.xml",
    });
    Gathered rendering;
    EXPECT_TRUE(WrapperGenerator(model.get(), dataFolder + "/model/", output).Render(rendering));
    EXPECT_FALSE(fs::exists(output)) << "a rendering touches nothing";
    WrapperGenerator(model.get(), dataFolder + "/model/", output).Build();

    // Stored with a suffix of their own, so that no tool takes them for the project's headers.
    Tree expected;
    for (const auto& [path, content] : TestSupport::treeOf(dataFolder + "/expected"))
        expected[path.ends_with(".golden") ? path.substr(0, path.size() - 7) : path] = content;
    const Tree actual = TestSupport::treeOf(output);
    for (const auto& [path, content] : expected) {
        const auto got = actual.find(path);
        ASSERT_TRUE(got != actual.end()) << path << " is missing";
        EXPECT_EQ(got->second, content) << path;
    }
    for (const auto& [path, content] : actual)
        EXPECT_TRUE(expected.count(path)) << path << " is not expected";
    EXPECT_EQ(rendering.tree, actual);
}

// Render is the seam that lets a caller compare without writing: its texts must be Build's to
// the byte, headers of names that normalise alike appended into one file included.
TEST_F(WrapperGeneration, RenderAppendsTheHeadersOfNamesThatNormaliseAlikeAsBuildDoes) {
    const std::string twins = writeDocument("lib/inner", {"Twin one", "Twin_one", "Single"});
    const auto model = TestSupport::buildFromDocuments({twins});
    Gathered rendering;
    EXPECT_TRUE(WrapperGenerator(model.get(), root.file("docs"), output).Render(rendering));
    EXPECT_FALSE(fs::exists(output));
    WrapperGenerator(model.get(), root.file("docs"), output).Build();
    EXPECT_EQ(rendering.tree, TestSupport::treeOf(output));
    // A header that holds two classes, one after the other.
    const std::string& text = rendering.tree.at("lib/inner/Twin_one.h");
    EXPECT_NE(text.find("class Twin_one"), text.rfind("class Twin_one")) << text;
}

TEST_F(WrapperGeneration, RefusesANullModelAndAMissingRootBeforeTouchingTheDisk) {
    const auto model = TestSupport::buildFromDocuments({});
    EXPECT_EQ(TestSupport::raisedBy<WrapperGeneratorException>(
                  [&] { WrapperGenerator(nullptr, root.path().string(), output); }),
              (RaisedMessage{"QEL_NULL_PTR", {{"NULL_ARG", "metamodel"}}}));
    EXPECT_EQ(TestSupport::raisedBy<WrapperGeneratorException>(
                  [&] { WrapperGenerator(model.get(), root.file("none"), output); }),
              (RaisedMessage{"FILEOP_INVALID_PATH", {{"PATH", root.file("none")}}}));
    EXPECT_EQ(TestSupport::treeOf(root.path().string()), (Tree{{"tmp", "<dir>"}}));
}

TEST_F(WrapperGeneration, AnEmptyModelGivesTheSummaryAloneAndLeftoversNeverReachTheOutput) {
    TestSupport::plantTree(work, {{"stale.h", "old"}, {"old/x.h", "old"}});
    const auto model = TestSupport::buildFromDocuments({});
    WrapperGenerator(model.get(), root.path().string(), output).Build();
    EXPECT_EQ(TestSupport::treeOf(output), (Tree{{"AllWrappers.h", summaryHead + "\n//EOF\n"}}));
}

TEST_F(WrapperGeneration, AHeaderThatCannotBeOpenedFailsAndLeavesTheOutputAsItWas) {
    // The sub-folder "X.h" of the first document stands where the second one's header goes.
    const std::string inTheWay = writeDocument("X.h", {"Y"});
    const std::string top =
        root.write("docs/MetaModel.xml", "<metaModel file_no=\"2\" file_level=\"core\">"
                                         "<category name=\"X\" rid=\"1\"><description/></category>"
                                         "</metaModel>");
    TestSupport::plantTree(output, {{"AllWrappers.h", "before"}, {"X.h", "before"}});
    const auto model = TestSupport::buildFromDocuments({inTheWay, top});
    EXPECT_EQ(TestSupport::raisedBy<WrapperGeneratorException>(
                  [&] { WrapperGenerator(model.get(), root.file("docs"), output).Build(); }),
              (RaisedMessage{"QEL_MM_DUMP_FILE_ERR", {{"FILE", work + "/X.h"}}}));
    EXPECT_EQ(TestSupport::treeOf(output), (Tree{{"AllWrappers.h", "before"}, {"X.h", "before"}}));
    // Nothing in memory can stand for a run that fails on disk.
    Gathered ignored;
    EXPECT_FALSE(WrapperGenerator(model.get(), root.file("docs"), output).Render(ignored));
}

// Build's summary stream is buffered: a header on its path is overwritten by it in part, which
// no text in memory can say.
TEST_F(WrapperGeneration, AHeaderOnTheSummarysPathIsNoFaithfulRendering) {
    const std::string top =
        root.write("docs/MetaModel.xml", "<metaModel file_no=\"2\" file_level=\"core\">"
                                         "<category name=\"AllWrappers\" rid=\"1\">"
                                         "<description/></category></metaModel>");
    const auto model = TestSupport::buildFromDocuments({top});
    Gathered ignored;
    EXPECT_FALSE(WrapperGenerator(model.get(), root.file("docs"), output).Render(ignored));
}

} // namespace
