#include "metamodel/xml/documentsahead.h"

#include "platform/appmsgmanager.h"
#include "platform/messages.h"
#include "platform/xmlsaxparser.h"

#include <sched.h>

#include <algorithm>
#include <system_error>

namespace MetaModel {

namespace {

std::atomic<int> configuredJobs{0};

// The parses ahead of all reads of the process draw from one allowance, so that two reads at
// once (a check builds beside its validation) do not run twice as many threads as there are
// cores.
class ParseAllowance {
public:
    bool take(int limit, const std::atomic<bool>& stopping) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return stopping || busy_ < limit; });
        if (stopping)
            return false;
        ++busy_;
        return true;
    }
    void giveBack() {
        {
            const std::lock_guard lock(mutex_);
            --busy_;
        }
        changed_.notify_all();
    }
    // For a read that stops: its threads may be waiting here.
    void wake() {
        { const std::lock_guard lock(mutex_); }
        changed_.notify_all();
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int busy_ = 0;
};

ParseAllowance& allowance() {
    static ParseAllowance shared;
    return shared;
}

class AllowanceHeld {
public:
    AllowanceHeld(int limit, const std::atomic<bool>& stopping)
        : held_(allowance().take(limit, stopping)) {}
    ~AllowanceHeld() {
        if (held_)
            allowance().giveBack();
    }
    AllowanceHeld(const AllowanceHeld&) = delete;
    AllowanceHeld& operator=(const AllowanceHeld&) = delete;
    explicit operator bool() const { return held_; }

private:
    const bool held_;
};

// The position a replayed event was told at, for whatever the sink reports meanwhile.
class ReplayedPosition : public CppLanguage::IDocumentPositionSource {
public:
    explicit ReplayedPosition(const String& document) : document_(document) {}
    CppLanguage::DocumentPlace currentPlace() const override {
        return {document_, at.line, at.column};
    }
    CEventLog::Position at;

private:
    const String& document_;
};

} // namespace

int defaultJobs() {
    if (const int jobs = configuredJobs.load())
        return jobs;
    // A host that put its own message manager in place is called on its own thread only: the
    // manager formats every message, also those of documents parsed ahead.
    if (AppMsgManager::HostManagerInstalled())
        return 1;
    cpu_set_t usable;
    if (sched_getaffinity(0, sizeof usable, &usable) == 0)
        return std::max(1, CPU_COUNT(&usable));
    return int(std::max(1u, std::thread::hardware_concurrency()));
}

void setDefaultJobs(int jobs) {
    configuredJobs = std::max(0, jobs);
}

CDocumentsAhead::CDocumentsAhead(std::vector<Document> documents, int jobs)
    : documents_(std::move(documents)), window_(2 * std::size_t(std::max(jobs, 1)) + 2),
      jobs_(jobs), slots_(documents_.size()) {
    try {
        for (int thread = 1; thread < jobs && std::size_t(thread) < documents_.size(); ++thread)
            threads_.emplace_back([this] { work(); });
    } catch (const std::system_error&) {
        // Fewer threads, or none: the reader parses what nobody took.
    }
}

CDocumentsAhead::~CDocumentsAhead() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    allowance().wake();
    for (std::thread& thread : threads_)
        thread.join();
}

bool CDocumentsAhead::mayTake() const {
    return next_ < documents_.size() && next_ < playing_ + window_;
}

void CDocumentsAhead::work() {
    CXMLMetaModelHandler handler(nullptr);
    ORLO::XmlSAXParser parser(&handler, ORLO::ParserSax, false);
    const int limit = std::max(jobs_, defaultJobs()) - 1;
    for (;;) {
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock,
                          [&] { return stopping_ || next_ >= documents_.size() || mayTake(); });
            if (stopping_ || next_ >= documents_.size())
                return;
        }
        const AllowanceHeld turn(limit, stopping_);
        if (!turn)
            return;
        std::size_t index = 0;
        std::unique_ptr<CEventLog> log;
        {
            const std::lock_guard lock(mutex_);
            if (stopping_ || next_ >= documents_.size())
                return;
            if (!mayTake())
                continue;
            index = takeNext(log);
        }
        Slot parsed = parse(index, std::move(log), handler, parser);
        {
            const std::lock_guard lock(mutex_);
            keep(index, std::move(parsed));
        }
        changed_.notify_all();
    }
}

std::size_t CDocumentsAhead::takeNext(std::unique_ptr<CEventLog>& log) {
    const std::size_t index = next_++;
    slots_[index].state = State::Taken;
    if (!spareLogs_.empty()) {
        log = std::move(spareLogs_.back());
        spareLogs_.pop_back();
    }
    return index;
}

void CDocumentsAhead::keep(std::size_t index, Slot parsed) {
    Slot& slot = slots_[index];
    if (slot.abandoned)
        slot.state = State::Parsed;
    else
        slot = std::move(parsed);
}

CDocumentsAhead::Slot CDocumentsAhead::parse(std::size_t index, std::unique_ptr<CEventLog> log,
                                             CXMLMetaModelHandler& handler,
                                             ORLO::XmlSAXParser& parser) const {
    const Document& document = documents_[index];
    Slot parsed;
    parsed.log = log ? std::move(log) : std::make_unique<CEventLog>();
    parsed.log->RecordPositions(&handler);
    handler.SetSink(parsed.log.get());
    handler.SetRootPath(document.rootPath);
    handler.SetSourceName(document.path);
    {
        const CppLanguage::HeldMessagesScope hold(parsed.messages);
        try {
            parser.parseFile(document.path, false, true);
        } catch (...) {
            parsed.failure = std::current_exception();
        }
    }
    parsed.log->RecordPositions(nullptr);
    handler.SetSink(nullptr);
    parsed.carried = handler.TakeCarryOver();
    parsed.state = State::Parsed;
    return parsed;
}

bool CDocumentsAhead::Play(std::size_t index, CXMLMetaModelHandler& handler,
                           IMetaModelEvents& sink) {
    std::unique_lock lock(mutex_);
    playing_ = index;
    changed_.notify_all();
    Slot& slot = slots_[index];
    if (next_ == index) {
        ++next_;
        slot.state = State::Taken;
        slot.abandoned = true;
        return false;
    }
    if (handler.CarriesOver()) {
        // Parsed from a fresh start, which is not where the documents before leave it.
        slot.abandoned = true;
        return false;
    }
    // Waiting idle would leave a core unused when the threads are as many as the cores: the
    // reader parses the next document nobody has taken, as a thread would, until its own is
    // ready.
    while (slot.state != State::Parsed) {
        if (!mayTake()) {
            changed_.wait(lock);
            continue;
        }
        std::unique_ptr<CEventLog> spare;
        const std::size_t ahead = takeNext(spare);
        lock.unlock();
        if (!helper_)
            helper_ = std::make_unique<Helper>();
        Slot parsed = parse(ahead, std::move(spare), helper_->handler, helper_->parser);
        lock.lock();
        keep(ahead, std::move(parsed));
        changed_.notify_all();
    }
    std::unique_ptr<CEventLog> log = std::move(slot.log);
    const CXMLMetaModelHandler::CarryOver carried = std::move(slot.carried);
    const std::exception_ptr failure = std::move(slot.failure);
    const std::vector<CppLanguage::CAppMsg> messages = std::move(slot.messages);
    lock.unlock();

    CppLanguage::postHeld(messages);
    ReplayedPosition position(documents_[index].path);
    {
        const CppLanguage::DocumentPositionScope scope(position);
        log->Replay(sink, &position.at);
    }
    handler.AddCarryOver(carried);
    log->Reuse();
    {
        const std::lock_guard relock(mutex_);
        spareLogs_.push_back(std::move(log));
    }
    if (failure)
        std::rethrow_exception(failure);
    return true;
}

} // namespace MetaModel
