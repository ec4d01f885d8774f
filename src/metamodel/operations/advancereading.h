#pragma once

#include "cpplanguage/appmsg.h"
#include "metamodel/operations/operationreading.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace MetaModel {

// Whether the process may run more than one job (see CXMLMetaModelReader::DefaultJobs): a
// reading ahead only pays there; on a single core two readings would only take turns, with
// both their memories held at once.
bool hasAnotherCore();

// A reading of an operation's documents into a sink, run on a thread of its own ahead of its
// turn, beside the reading before it: for a reading whose sink nothing outside the operation
// sees until then. Until Finish nothing of it shows: what it reports is held and its progress
// kept back. A reading that is never finished is abandoned at its next document and dropped
// whole, so an operation shows what readings one after the other would show. Where the
// process has a single core, it simply runs in its turn. The host hears only on its own
// thread: the documents are found before the thread starts, and the progress is told from
// Finish.
class AdvanceReading {
public:
    // `progress` hears of the documents as pass `pass`, from Finish on.
    AdvanceReading(const std::vector<std::string>& paths, IMetaModelEvents& sink, int pass,
                   const PassObserver& progress);
    ~AdvanceReading();
    AdvanceReading(const AdvanceReading&) = delete;
    AdvanceReading& operator=(const AdvanceReading&) = delete;

    // Its turn has come: tells the progress so far and from now on, waits for the end of the
    // reading, posts what it reported, and throws again what stopped it.
    void Finish();

private:
    struct Abandoned {};
    struct Progress {
        String path;
        size_t number;
        size_t count;
    };

    void run();
    void documentStarts(const String& path, size_t number, size_t count);

    COperationReader reader_;
    const int pass_;
    const PassObserver progress_;
    std::vector<CppLanguage::CAppMsg> messages_;
    std::exception_ptr failure_;
    std::atomic<bool> abandoned_{false};
    std::mutex progressMutex_;
    std::condition_variable progressChanged_;
    // Finish has begun: every document is told from now on, not only the latest.
    bool telling_ = false;
    // The reading runs in its turn, on the caller's thread, and tells its progress itself.
    bool inTurn_ = false;
    bool ended_ = false;
    std::deque<Progress> untold_;
    std::thread thread_;
};

} // namespace MetaModel
