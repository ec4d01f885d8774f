#pragma once

#include "metamodel/stream/metamodelreader.h"

#include <functional>
#include <list>
#include <optional>
#include <utility>
#include <vector>

namespace ORLO {
class XmlSAXParser;
}

namespace MetaModel {

class CDocumentsAhead;
class CXMLMetaModelHandler;

// A document of a read, and the folder its "ROOT_PATH" names.
struct PlannedDocument {
    String path;
    String rootPath;
};

// Reads "MetaModel.xml" documents: every document under a list of root folders, then single
// documents, as one stream with one Start and one End. Paths may begin with a placeholder
// ("<app dir>", "<all users dir>", "<user dir>", "<plugins path>"), resolved at read time.
class CXMLMetaModelReader : public CMetaModelReader {
public:
    // The first flag adds the installation's roots, the second the per-machine and per-user
    // ones; the extension folder's roots are always added when there is one.
    CXMLMetaModelReader(bool installationRoots = true, bool userRoots = true);

    void AddRootPath(const String& rootPath);
    void addFile(const String& path);
    void addSource(const String& text, const String& sourceName);

    bool invariant() const override;
    // Reads roots and files. Nothing is consumed: a read can run again into another sink.
    void UnsafeRead() override;
    // Finds the documents of the next read now, on the calling thread, for a read that is to
    // run on another: the application data manager, which resolves the placeholders and cuts
    // the paths, is the host's, and is asked only on the host's thread.
    void PlanRead();
    // Reads the in-memory sources; a faulty source is reported and the next one read.
    virtual void readSources();

    // Told before each document of a read of roots and files: its path, its number counted
    // from 1, and how many documents the read has.
    using DocumentObserver = std::function<void(const String& path, size_t number, size_t count)>;
    void SetDocumentObserver(DocumentObserver observer) { observer_ = std::move(observer); }

    // How many documents of a read may be parsed at once: 1 reads in order on the calling
    // thread; 0 (the default) takes the process's number, DefaultJobs.
    void SetJobs(int jobs) { jobs_ = jobs; }
    // One job per core the process may run on, unless set otherwise (0 goes back to that).
    static void SetDefaultJobs(int jobs);
    static int DefaultJobs();

    const std::list<String>& GetRootPaths() const { return rootPaths_; }
    const std::list<String>& GetFiles() const { return files_; }

    // Replaces the first kind of placeholder that the application data manager can resolve;
    // answers whether it replaced anything.
    static bool ResolvePlaceholders(String& path);
    // Every document under the folder, depth first, in listing order.
    static void CollectMetaModels(const String& folder, std::list<String>& documents);

private:
    void readDocument(CXMLMetaModelHandler& handler, ORLO::XmlSAXParser& parser,
                      CDocumentsAhead* ahead, std::size_t index, const String& path,
                      const String& rootPath);

    std::vector<PlannedDocument> plan() const;

    std::list<String> rootPaths_;
    std::optional<std::vector<PlannedDocument>> planned_;
    std::list<String> files_;
    std::vector<std::pair<String, String>> sources_;
    DocumentObserver observer_;
    int jobs_ = 0;
};

} // namespace MetaModel
