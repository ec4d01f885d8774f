#include "support/runtool.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using TestSupport::messageIds;
using TestSupport::readFile;
using TestSupport::runTool;

const std::string shareDir = METAMODEL_SOURCE_DIR "/share/metamodel";
const std::string schema = shareDir + "/MetaModel.xsd";

// Whether libxml2's schema validator takes the document; its complaints go to `why`.
bool schemaValid(const std::string& document, std::string& why) {
    why.clear();
    return TestSupport::runShell(
               "xmllint --noout --schema '" + schema + "' '" + document + "' 2>&1", why) == 0;
}

TEST(Schema, TheToolWritesTheInstalledSchema) {
    const TestSupport::TempFolder folder;
    const auto run = runTool({"schema", "-o", folder.file("MetaModel.xsd")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(readFile(folder.file("MetaModel.xsd")), readFile(schema));
    EXPECT_EQ(runTool({"schema"}).out, readFile(schema));
}

// Every document of the installation, the examples and the fixtures that the tool's check
// takes must be valid for the schema: an editor must never flag a document the tool accepts.
TEST(Schema, EveryDocumentTheToolAcceptsIsValid) {
    int accepted = 0;
    for (const char* tree : {"share", "examples", "tests/data"}) {
        for (const auto& entry :
             fs::recursive_directory_iterator(fs::path(METAMODEL_SOURCE_DIR) / tree)) {
            if (entry.path().filename() != "MetaModel.xml")
                continue;
            const std::string document = entry.path().string();
            // The installation's documents are read as its roots, the others after them.
            const bool installed = document.rfind(shareDir, 0) == 0;
            const auto check = installed ? runTool({"-q", "check"}, shareDir)
                                         : runTool({"-q", "check", document}, shareDir);
            if (check.exitCode != 0)
                continue;
            ++accepted;
            std::string why;
            EXPECT_TRUE(schemaValid(document, why)) << why;
        }
    }
    // The three of the share, the review example and the fixtures that stand alone; the others
    // are parts of sets, or faulty on purpose.
    EXPECT_GE(accepted, 7);
}

struct Fault {
    const char* name;
    const char* body; // inside <metaModel file_no="9">
    int toolExit;
    const char* toolId; // the first message of a refusal
    bool schemaValid;
};

// One structural point each, judged by both the tool and the schema. They agree but on the
// status word, which the tool reads as "active" and the schema refuses to help the writer.
const Fault faults[] = {
    {"sound",
     R"(<type name="T" rid="1"><description/><comment><property name="p" rid="2" type="stringList" maximalCardinality="*"><description/><classifying><attribute name="INDEX" intValue="0x1"/></classifying></property></comment></type>
<wrapper><partialType name="T"><inheritedCategory name="Object"/></partialType></wrapper>)",
     0, "", true},
    {"unknown body element", R"(<category name="C" rid="1"><description/><bogus/></category>)", 1,
     "QEL_MM_UNEXPECTED_TAG", false},
    {"second description", R"(<category name="C" rid="1"><description/><description/></category>)",
     1, "QEL_MM_UNEXPECTED_TAG", false},
    {"description not first", R"(<category name="C" rid="1"><comment/><description/></category>)",
     1, "QEL_MM_DESC_TAG_NOT_FIRST", false},
    {"missing required attribute",
     R"(<category name="C" rid="1"><description/><tree parent="C"/></category>)", 1,
     "QEL_MM_MISSING_ATTR", false},
    {"id on a partial element", R"(<partial_type name="Folder" id="5"/>)", 1,
     "QEL_MM_UNEXPECTED_ATTR", false},
    {"attribute in a partial element",
     R"(<partial_type name="Folder"><attribute name="INDEX" intValue="1"/></partial_type>)", 1,
     "QEL_MM_UNEXPECTED_TAG", false},
    {"unknown merge word",
     R"(<category name="C" rid="1"><description/><property name="p" rid="2" type="integer" merge="average"><description/></property></category>)",
     1, "QEL_MM_INVALID_PROP_MERGE", false},
    {"misspelt status",
     R"(<category name="C" rid="1" status="deprecatd"><description/></category>)", 0, "", false},
};

TEST(Schema, StructuralFaultsAreJudgedAlikeByToolAndSchema) {
    const TestSupport::TempFolder folder;
    for (const Fault& fault : faults) {
        SCOPED_TRACE(fault.name);
        const std::string document = folder.write(std::string(fault.name) + "/MetaModel.xml",
                                                  std::string("<metaModel file_no=\"9\">\n") +
                                                      fault.body + "\n</metaModel>\n");
        const auto run = runTool({"-q", "check", document}, shareDir);
        EXPECT_EQ(run.exitCode, fault.toolExit) << run.err;
        const auto ids = messageIds(run.err);
        EXPECT_EQ(ids.empty() ? "" : ids.front(), fault.toolId) << run.err;
        std::string why;
        EXPECT_EQ(schemaValid(document, why), fault.schemaValid) << why;
    }
}

} // namespace
