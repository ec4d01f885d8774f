#pragma once

#include "cpplanguage/appmsg.h"
#include "metamodel/stream/eventlog.h"
#include "metamodel/xml/xmlmetamodelhandler.h"
#include "metamodel/xml/xmlmetamodelreader.h"
#include "platform/xmlsaxparser.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace MetaModel {

// The documents of one read, parsed ahead of their turn on threads of their own, each into a
// log of its events that the reader then tells its sink in document order. The sink cannot
// tell the difference from a read in order: the same events, with the same positions for
// what it reports, and the same first failure. A document is the reader's own to parse (in
// order, into the sink) when no thread has taken it yet, and whenever the documents before it
// leave the reader's handler in a state that a fresh handler, as the threads use, lacks.
class CDocumentsAhead {
public:
    using Document = PlannedDocument;

    // `jobs` counts the reader's own thread: jobs - 1 threads parse ahead.
    CDocumentsAhead(std::vector<Document> documents, int jobs);
    ~CDocumentsAhead();
    CDocumentsAhead(const CDocumentsAhead&) = delete;
    CDocumentsAhead& operator=(const CDocumentsAhead&) = delete;

    // Document `index`'s turn, after every one before it: when it was parsed ahead, tells
    // its events to the handler's sink, leaves the handler as the parse left it, throws
    // what stopped the parse and answers true; otherwise answers false, and the document is
    // the caller's to parse.
    bool Play(std::size_t index, CXMLMetaModelHandler& handler, IMetaModelEvents& sink);

private:
    enum class State { Waiting, Taken, Parsed };
    struct Slot {
        State state = State::Waiting;
        std::unique_ptr<CEventLog> log;
        CXMLMetaModelHandler::CarryOver carried;
        std::exception_ptr failure;
        std::vector<CppLanguage::CAppMsg> messages;
        // The reader parses it itself: whatever a thread makes of it is dropped.
        bool abandoned = false;
    };

    void work();
    bool mayTake() const;
    // Under the lock: takes the first document nobody has taken, and a spare log if there is
    // one; answers its index.
    std::size_t takeNext(std::unique_ptr<CEventLog>& log);
    // Under the lock: what a parse ahead made of document `index`, unless the reader took it
    // over meanwhile.
    void keep(std::size_t index, Slot parsed);
    Slot parse(std::size_t index, std::unique_ptr<CEventLog> log, CXMLMetaModelHandler& handler,
               ORLO::XmlSAXParser& parser) const;

    // The reader's own handler and parser for the documents it parses ahead while it waits.
    struct Helper {
        CXMLMetaModelHandler handler{nullptr};
        ORLO::XmlSAXParser parser{&handler, ORLO::ParserSax, false};
    };
    std::unique_ptr<Helper> helper_;
    const std::vector<Document> documents_;
    const std::size_t window_;
    const int jobs_;
    std::vector<Slot> slots_;
    // Logs told already, kept for the next documents: each fresh one would map its memory
    // anew and fault its pages in again.
    std::vector<std::unique_ptr<CEventLog>> spareLogs_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::size_t next_ = 0;    // the first document nobody has taken
    std::size_t playing_ = 0; // the document whose turn it is
    std::atomic<bool> stopping_{false};
    std::vector<std::thread> threads_;
};

// The process's number of jobs for a read: what SetDefaultJobs set, or else one per core the
// process may run on.
int defaultJobs();
void setDefaultJobs(int jobs);

} // namespace MetaModel
