#include "metamodel/metamodelexceptions.h"
#include "metamodel/model/raisedmessage.h"
#include "metamodel/xml/xmlmetamodelreader.h"
#include "platform/appdatamanager.h"
#include "platform/messages.h"
#include "support/messagecapture.h"
#include "support/recordingevents.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using MetaModel::CXMLMetaModelReader;
using Lines = std::vector<std::string>;
using TestSupport::raisedBy;
using TestSupport::RaisedMessage;

std::string categoryDocument(const std::string& name) {
    return "<metaModel file_no=\"1\"><category name=\"" + name +
           "\" rid=\"1\"><description/></category></metaModel>";
}

// Installs folder overrides for one test and takes them away after.
class FolderOverrides {
public:
    explicit FolderOverrides(const AppDataManager::AppDataOverrides& overrides) {
        AppDataManager::SetAppDataOverrides(overrides);
    }
    ~FolderOverrides() { AppDataManager::SetAppDataOverrides({}); }
};

// The categories that started and the ROOT_PATH each of them got, in stream order.
Lines categoriesWithRoots(const TestSupport::RecordingEvents& events) {
    Lines result;
    std::string current;
    for (const std::string& line : events.events) {
        if (line.rfind("StartCategory ", 0) == 0)
            current = line.substr(14, line.find(' ', 14) - 14);
        if (line.rfind("Attribute ROOT_PATH '", 0) == 0)
            result.push_back(current + " @ " + line.substr(21, line.size() - 21 - 8));
    }
    return result;
}

TEST(XmlReader, CollectsDocumentsByTheTailOfTheirPathDepthFirstInNameOrder) {
    TestSupport::TempFolder root;
    root.write("b/MetaModel.xml", categoryDocument("B"));
    root.write("a/deeper/MetaModel.xml", categoryDocument("ADeep"));
    root.write("a/MetaModel.xml", categoryDocument("A"));
    root.write("c/XMetaModel.xml", categoryDocument("C"));
    root.write("c/MetaModel.xml.bak", categoryDocument("Backup"));
    root.write("c/metamodel.xml", categoryDocument("WrongCase"));
    root.write("d/MetaModel.xml/MetaModel.xml", categoryDocument("InsideFolder"));

    std::list<MetaModel::String> documents;
    CXMLMetaModelReader::CollectMetaModels(root.path().string(), documents);
    Lines relative;
    for (const auto& document : documents)
        relative.push_back(document.substr(root.path().string().size() + 1));
    EXPECT_EQ(relative, (Lines{"a/MetaModel.xml", "a/deeper/MetaModel.xml", "b/MetaModel.xml",
                               "c/XMetaModel.xml", "d/MetaModel.xml/MetaModel.xml"}));

    std::list<MetaModel::String> none;
    CXMLMetaModelReader::CollectMetaModels(root.file("absent"), none);
    EXPECT_TRUE(none.empty());
}

TEST(XmlReader, RootsComeBeforeFilesAndEveryDocumentIsOneSourceOfOneStream) {
    TestSupport::TempFolder folder;
    folder.write("root/one/MetaModel.xml", categoryDocument("One"));
    folder.write("root/two/MetaModel.xml", categoryDocument("Two"));
    const std::string single = folder.write("single/MetaModel.xml", categoryDocument("Single"));

    CXMLMetaModelReader reader(false, false);
    reader.addFile(single);
    reader.AddRootPath(folder.file("root"));
    reader.AddRootPath(folder.file("root/two"));
    TestSupport::RecordingEvents events;
    reader.SetEvents(&events);
    Lines announced;
    reader.SetDocumentObserver([&](const MetaModel::String& path, size_t number, size_t count) {
        announced.push_back(std::to_string(number) + "/" + std::to_string(count) + " " +
                            path.substr(folder.path().string().size() + 1));
    });
    reader.Read();
    EXPECT_EQ(announced, (Lines{"1/4 root/one/MetaModel.xml", "2/4 root/two/MetaModel.xml",
                                "3/4 root/two/MetaModel.xml", "4/4 single/MetaModel.xml"}));

    Lines sources;
    for (const std::string& line : events.events)
        if (line.rfind("Source ", 0) == 0)
            sources.push_back(line.substr(7));
    EXPECT_EQ(sources, (Lines{folder.file("root/one/MetaModel.xml"),
                              folder.file("root/two/MetaModel.xml"), single}));
    // The second root repeats a folder of the first, so its document arrives twice.
    EXPECT_EQ(categoriesWithRoots(events),
              (Lines{"One @ " + folder.file("root/one"), "Two @ " + folder.file("root/two"),
                     "Two @ " + folder.file("root/two"), "Single @ " + folder.file("single")}));
    EXPECT_EQ(events.events.front(), "Start");
    EXPECT_EQ(events.events.back(), "End");
    EXPECT_EQ(std::count(events.events.begin(), events.events.end(), "Start"), 1);

    // Nothing is consumed: a second read into another sink plays the same stream.
    TestSupport::RecordingEvents again;
    reader.SetEvents(&again);
    reader.Read();
    EXPECT_EQ(again.events, events.events);
}

TEST(XmlReader, RootPathKeepsThePlaceholderOfTheRootItWasFoundUnder) {
    TestSupport::TempFolder app;
    TestSupport::TempFolder user;
    TestSupport::TempFolder extension;
    app.write("configuration/Core/MetaModel.xml", categoryDocument("CoreCat"));
    app.write("configuration/Languages/Alpha/MetaModel.xml", categoryDocument("AlphaCat"));
    user.write("configuration/Languages/Mine/MetaModel.xml", categoryDocument("UserCat"));
    extension.write("configuration/Core/MetaModel.xml", categoryDocument("ExtensionCat"));
    const std::string loose = app.write("loose/MetaModel.xml", categoryDocument("LooseCat"));

    AppDataManager::AppDataOverrides overrides;
    overrides.appDir = app.path().string();
    overrides.userDir = user.path().string();
    overrides.allUsersDir = app.file("nobody");
    overrides.extensionDir = extension.path().string();
    FolderOverrides installed(overrides);

    CXMLMetaModelReader reader;
    EXPECT_EQ(reader.GetRootPaths().size(), 6u);
    EXPECT_EQ(reader.GetRootPaths().front(), "<app dir>/configuration/Core");
    reader.addFile("<app dir>/loose/MetaModel.xml");
    reader.addFile(loose);
    TestSupport::RecordingEvents events;
    reader.SetEvents(&events);
    reader.Read();

    EXPECT_EQ(categoriesWithRoots(events),
              (Lines{"CoreCat @ <app dir>/configuration/Core",
                     "AlphaCat @ <app dir>/configuration/Languages/Alpha",
                     "UserCat @ <user dir>/configuration/Languages/Mine",
                     "ExtensionCat @ " + extension.file("configuration/Core"),
                     "LooseCat @ <app dir>/loose", "LooseCat @ " + app.file("loose")}));

    CXMLMetaModelReader bare(false, false);
    EXPECT_EQ(bare.GetRootPaths().size(), 2u) << "the extension folder's roots are always added";

    // Paths given with the other separator are cut with ours, so they keep their placeholder.
    bare.AddRootPath("<user dir>\\configuration\\Languages");
    bare.addFile("<app dir>\\loose\\MetaModel.xml");
    TestSupport::RecordingEvents otherSeparator;
    bare.SetEvents(&otherSeparator);
    bare.Read();
    EXPECT_EQ(
        categoriesWithRoots(otherSeparator),
        (Lines{"ExtensionCat @ " + extension.file("configuration/Core"),
               "UserCat @ <user dir>/configuration/Languages/Mine", "LooseCat @ <app dir>/loose"}));
}

TEST(XmlReader, PlaceholdersResolveOneKindAtATime) {
    AppDataManager::AppDataOverrides overrides;
    overrides.appDir = "/opt/app";
    overrides.allUsersDir = "/var/common";
    overrides.pluginsDir = "/opt/plugins";
    FolderOverrides installed(overrides);

    MetaModel::String path("<app dir>/x/<all users dir>/y/<app dir>");
    EXPECT_TRUE(CXMLMetaModelReader::ResolvePlaceholders(path));
    EXPECT_EQ(path, "<app dir>/x//var/common/y/<app dir>");
    MetaModel::String plugins("<plugins path>/p");
    EXPECT_TRUE(CXMLMetaModelReader::ResolvePlaceholders(plugins));
    EXPECT_EQ(plugins, "/opt/plugins/p");
    MetaModel::String plain("/plain/path");
    EXPECT_FALSE(CXMLMetaModelReader::ResolvePlaceholders(plain));
    EXPECT_EQ(plain, "/plain/path");

    // Without a plug-in folder its placeholder stays.
    overrides.pluginsDir.clear();
    FolderOverrides noPlugins(overrides);
    MetaModel::String unset("<plugins path>/p");
    EXPECT_FALSE(CXMLMetaModelReader::ResolvePlaceholders(unset));
    EXPECT_EQ(unset, "<plugins path>/p");
}

TEST(XmlReader, AFaultyDocumentIsReportedThenEndsTheReadWithTheFileFailure) {
    TestSupport::TempFolder folder;
    folder.write("root/a/MetaModel.xml", categoryDocument("A"));
    const std::string bad =
        folder.write("root/b/MetaModel.xml", "<metaModel file_no=\"1\">\n<category name=\"B\" "
                                             "id=\"\"><description/></category></metaModel>");
    folder.write("root/c/MetaModel.xml", categoryDocument("C"));

    CXMLMetaModelReader reader(false, false);
    reader.AddRootPath(folder.file("root"));
    TestSupport::RecordingEvents events;
    TestSupport::MessageCapture messages;
    reader.SetEvents(&events);
    EXPECT_EQ(raisedBy<MetaModel::CXMLMetaModelException>([&] { reader.Read(); }),
              (RaisedMessage{"QEL_MM_XML_FILE_ERR", {{"FILE", bad}}}));
    ASSERT_EQ(messages.ids(), Lines{"QEL_MM_EMPTY_ID"});
    EXPECT_EQ(messages.messages()[0].GetLine(), 2);
    EXPECT_STREQ(messages.messages()[0].GetDocument(), bad.c_str());
    EXPECT_NE(events.events.back(), "End") << "a failed read leaves the stream open";
    EXPECT_EQ(categoriesWithRoots(events), Lines{"A @ " + folder.file("root/a")});
}

TEST(XmlReader, AMissingSingleDocumentIsAParseFailure) {
    TestSupport::TempFolder folder;
    CXMLMetaModelReader reader(false, false);
    reader.addFile(folder.file("nowhere/MetaModel.xml"));
    TestSupport::RecordingEvents events;
    TestSupport::MessageCapture messages;
    reader.SetEvents(&events);
    EXPECT_THROW(reader.Read(), MetaModel::CXMLMetaModelException);
    EXPECT_EQ(messages.ids(), Lines{"QEL_MM_SAX_PARSE_EXCEPTION"});
}

// A sink's own failure is not the document's fault: it passes through as it is.
class RefusingSink : public TestSupport::RecordingEvents {
protected:
    void OnStartCategory(const MetaModel::String&, bool, const MetaModel::String&, int,
                         const ElementStatus&) override {
        CppLanguage::raise<MetaModel::CMetaModelEventsException>(ORLO_HERE, "QEL_DB_REQ_ERR",
                                                                 {{"QUERY", "INSERT"}});
    }
};

TEST(XmlReader, FailuresOfTheSinkPassThroughUnchangedAndCarryTheDocumentPosition) {
    TestSupport::TempFolder folder;
    const std::string path =
        folder.write("MetaModel.xml", "<metaModel file_no=\"1\">\n\n<category name=\"A\" "
                                      "rid=\"1\"><description/></category></metaModel>");
    CXMLMetaModelReader reader(false, false);
    reader.addFile(path);
    RefusingSink sink;
    TestSupport::MessageCapture messages;
    reader.SetEvents(&sink);
    try {
        reader.Read();
        FAIL() << "no exception";
    } catch (const MetaModel::CMetaModelEventsException& failure) {
        ASSERT_NE(failure.GetAppMsg(), nullptr);
        EXPECT_STREQ(failure.GetAppMsg()->GetId(), "QEL_DB_REQ_ERR");
        EXPECT_STREQ(failure.GetAppMsg()->GetDocument(), path.c_str());
        EXPECT_EQ(failure.GetAppMsg()->GetLine(), 3);
    }
    EXPECT_TRUE(messages.messages().empty());
}

TEST(XmlReader, InMemorySourcesGoOnAfterAFaultyOne) {
    CXMLMetaModelReader reader(false, false);
    reader.addSource(categoryDocument("First"), "first");
    reader.addSource("<metaModel file_no=\"1\"><oops></metaModel>", "second");
    reader.addSource(categoryDocument("Third"), "third");
    TestSupport::RecordingEvents events;
    TestSupport::MessageCapture messages;
    reader.SetEvents(&events);
    reader.readSources();
    EXPECT_EQ(messages.ids(), Lines{"QEL_MM_SAX_PARSE_EXCEPTION"});
    EXPECT_STREQ(messages.messages()[0].GetDocument(), "second");
    EXPECT_EQ(categoriesWithRoots(events), (Lines{"First @ ", "Third @ "}));
    EXPECT_EQ(events.events.back(), "End");
}

} // namespace
