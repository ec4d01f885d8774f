#include "metamodel/operations/advancereading.h"

#include "platform/messages.h"

#include <system_error>

namespace MetaModel {

bool hasAnotherCore() {
    return CXMLMetaModelReader::DefaultJobs() > 1;
}

AdvanceReading::AdvanceReading(const std::vector<std::string>& paths, IMetaModelEvents& sink,
                               int pass, const PassObserver& progress)
    : reader_(paths), pass_(pass), progress_(progress) {
    reader_.SetEvents(&sink);
    reader_.SetDocumentObserver([this](const String& path, size_t number, size_t count) {
        documentStarts(path, number, count);
    });
    if (!hasAnotherCore())
        return;
    reader_.PlanRead();
    try {
        thread_ = std::thread([this] { run(); });
    } catch (const std::system_error&) {
        // No thread to be had: the reading runs in its turn, in Finish, as on a single core.
    }
}

AdvanceReading::~AdvanceReading() {
    abandoned_ = true;
    if (thread_.joinable())
        thread_.join();
}

void AdvanceReading::Finish() {
    if (thread_.joinable()) {
        std::unique_lock lock(progressMutex_);
        telling_ = true;
        for (;;) {
            while (!untold_.empty()) {
                const Progress progress = std::move(untold_.front());
                untold_.pop_front();
                lock.unlock();
                progress_(pass_, progress.path, progress.number, progress.count);
                lock.lock();
            }
            if (ended_)
                break;
            progressChanged_.wait(lock);
        }
        lock.unlock();
        thread_.join();
    } else {
        inTurn_ = true;
        run();
    }
    CppLanguage::postHeld(messages_);
    messages_.clear();
    if (failure_)
        std::rethrow_exception(failure_);
}

void AdvanceReading::run() {
    {
        const CppLanguage::HeldMessagesScope hold(messages_);
        try {
            reader_.Read();
        } catch (const Abandoned&) {
        } catch (...) {
            failure_ = std::current_exception();
        }
    }
    const std::lock_guard lock(progressMutex_);
    ended_ = true;
    progressChanged_.notify_one();
}

void AdvanceReading::documentStarts(const String& path, size_t number, size_t count) {
    if (abandoned_)
        throw Abandoned{};
    if (!progress_)
        return;
    if (inTurn_) {
        progress_(pass_, path, number, count);
        return;
    }
    const std::lock_guard lock(progressMutex_);
    // Until Finish only the latest document counts: it is where the reading stands then.
    if (!telling_)
        untold_.clear();
    untold_.push_back(Progress{path, number, count});
    progressChanged_.notify_one();
}

} // namespace MetaModel
