#include "metamodel/xml/xmlmetamodelreader.h"
#include "platform/messages.h"
#include "support/generatedset.h"
#include "support/messagecapture.h"
#include "support/recordingevents.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;

// Every event with the document position a message posted during it would carry.
class PositionedRecording : public TestSupport::RecordingEvents {
public:
    PositionedRecording() {
        afterEach = [this] {
            const CppLanguage::DocumentPosition at = CppLanguage::currentDocumentPosition();
            positions_.resize(events.size(), at.document + ":" + std::to_string(at.line) + ":" +
                                                 std::to_string(at.column));
        };
    }
    Lines lines() const {
        Lines result;
        for (size_t index = 0; index < events.size(); ++index)
            result.push_back(events[index] + " @ " + positions_[index]);
        return result;
    }

private:
    Lines positions_;
};

// All a read shows: its events with positions, the messages it posted, what it threw.
Lines readAll(const std::vector<std::string>& roots, int jobs) {
    MetaModel::CXMLMetaModelReader reader(false, false);
    for (const std::string& root : roots)
        reader.AddRootPath(root);
    reader.SetJobs(jobs);
    PositionedRecording sink;
    reader.SetEvents(&sink);
    Lines shown;
    {
        TestSupport::MessageCapture capture;
        try {
            reader.Read();
            shown.push_back("read to the end");
        } catch (const std::exception& failure) {
            shown.push_back(std::string("threw ") + failure.what());
        }
        for (const CppLanguage::CAppMsg& message : capture.messages())
            shown.push_back(std::string("message ") + message.GetId() + " " +
                            message.GetDocument() + ":" + std::to_string(message.GetLine()) + ":" +
                            std::to_string(message.GetColumn()) + " " + message.GetText());
    }
    const Lines events = sink.lines();
    shown.insert(shown.end(), events.begin(), events.end());
    return shown;
}

std::string document(int fileNumber, const std::string& body) {
    return "<?xml version=\"1.0\"?>\n<metaModel file_no=\"" + std::to_string(fileNumber) +
           "\" file_level=\"client\">\n" + body + "</metaModel>\n";
}

std::string category(const std::string& name, int rid) {
    return "  <category name=\"" + name + "\" rid=\"" + std::to_string(rid) +
           "\">\n    <description>" + name +
           "</description>\n    <property name=\"p\" type=\"integer\" rid=\"" +
           std::to_string(rid + 1) + "\"><description/><comment/></property>\n  </category>\n";
}

// Documents part00 .. partNN under `folder`, one body each.
std::string writeDocuments(const TestSupport::TempFolder& folder, const Lines& bodies) {
    for (size_t index = 0; index < bodies.size(); ++index) {
        const std::string number = (index < 10 ? "0" : "") + std::to_string(index);
        folder.write("part" + number + "/MetaModel.xml", bodies[index]);
    }
    return folder.path().string();
}

Lines plainBodies(int count) {
    Lines bodies;
    for (int index = 0; index < count; ++index)
        bodies.push_back(document(index + 1, category("C" + std::to_string(index), 1)));
    return bodies;
}

// Sets of documents: fixed roots, and `documents` plain ones written for the case (-1: a
// generated set) with some of them replaced.
const struct {
    const char* name;
    std::vector<std::string> roots;
    int documents = 0;
    std::map<size_t, std::string> replaced = {};
} setCases[] = {
    {"the installation and the example",
     {METAMODEL_SOURCE_DIR "/share/metamodel/configuration", METAMODEL_SOURCE_DIR "/examples"}},
    // Documents there conflict with each other; the stream does not care.
    {"every fixture document", {METAMODEL_TEST_DATA_DIR}},
    {"a generated set", {}, -1},
    // An element without a description leaves the next document expecting one: the
    // description that opens it is taken, and so is the failure of one that does not.
    {"a description expected across documents",
     {},
     12,
     {{3, document(4, "  <category name=\"Bare\" rid=\"1\"/>\n")},
      {4, "<description>taken</description>"},
      {6, document(7, "  <type name=\"BareType\" rid=\"1\"/>\n")}}},
    {"a description expected and missing in the next document",
     {},
     12,
     {{5, document(6, "  <category name=\"Bare\" rid=\"1\" status=\"obsolete\"/>\n")}}},
    {"the first of two broken documents",
     {},
     16,
     {{6, document(7, "  <category name=\"NoId\"><description/></category>\n")},
      {11, document(12, "  <category name=\"Broken\" rid=\"1\">\n")}}},
    {"a document that cannot be parsed",
     {},
     9,
     {{4, document(5, category("Amp", 1) + "  & not a reference\n")}}},
};

TEST(DocumentsAhead, AParallelReadShowsWhatAReadInOrderShows) {
    for (const auto& set : setCases) {
        SCOPED_TRACE(set.name);
        TestSupport::TempFolder folder;
        std::vector<std::string> roots = set.roots;
        if (set.documents < 0)
            roots.push_back(
                TestSupport::writeGeneratedSet(folder.file("generated"), "Gen", 40, 25));
        if (set.documents > 0) {
            Lines bodies = plainBodies(set.documents);
            for (const auto& [index, body] : set.replaced)
                bodies[index] = body;
            roots.push_back(writeDocuments(folder, bodies));
        }
        const Lines inOrder = readAll(roots, 1);
        ASSERT_GT(inOrder.size(), 3u);
        for (int jobs : {2, 4, 7})
            EXPECT_EQ(readAll(roots, jobs), inOrder) << jobs << " jobs";
    }
}

} // namespace
