#include "metamodel/operations/documentfiles.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

namespace {

using MetaModel::getMetaModelFiles;
using Paths = std::vector<std::string>;

TEST(DocumentFiles, AFolderGivesTheAbsolutePathsOfItsDocumentsDepthFirst) {
    TestSupport::TempFolder root;
    root.write("b/MetaModel.xml", "");
    root.write("a/OldMetaModel.xml", "");
    root.write("a/inner/MetaModel.xml", "");
    root.write("a/metamodel.xml", "");
    root.write("c/MetaModel.xml.bak", "");
    root.write("d/MetaModel.xml/MetaModel.xml", "");
    const std::string base = root.path().string();
    EXPECT_EQ(getMetaModelFiles(base),
              (Paths{base + "/a/OldMetaModel.xml", base + "/a/inner/MetaModel.xml",
                     base + "/b/MetaModel.xml", base + "/d/MetaModel.xml/MetaModel.xml"}));
}

TEST(DocumentFiles, ASingleDocumentComesBackAsGivenAndAnythingElseAsNothing) {
    EXPECT_EQ(getMetaModelFiles("relative/not/there/MetaModel.xml"),
              Paths{"relative/not/there/MetaModel.xml"});
    EXPECT_EQ(getMetaModelFiles("<app dir>/x/MetaModel.xml"), Paths{"<app dir>/x/MetaModel.xml"});
    EXPECT_EQ(getMetaModelFiles("/no/such/folder"), Paths{});
    EXPECT_EQ(getMetaModelFiles("/no/such/metamodel.XML"), Paths{});
    EXPECT_TRUE(MetaModel::namesDocument("C:\\x\\MetaModel.xml"));
    // A document in the working folder is named by the suffix alone.
    EXPECT_TRUE(MetaModel::namesDocument("MetaModel.xml"));
    EXPECT_FALSE(MetaModel::namesDocument("MetaModel.xml "));
}

} // namespace
