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
    {
        const std::lock_guard lock(progressMutex_);
        telling_ = true;
        if (latest_ && progress_)
            progress_(pass_, latest_->path, latest_->number, latest_->count);
    }
    if (thread_.joinable())
        thread_.join();
    else
        run();
    CppLanguage::postHeld(messages_);
    messages_.clear();
    if (failure_)
        std::rethrow_exception(failure_);
}

void AdvanceReading::run() {
    const CppLanguage::HeldMessagesScope hold(messages_);
    try {
        reader_.Read();
    } catch (const Abandoned&) {
    } catch (...) {
        failure_ = std::current_exception();
    }
}

void AdvanceReading::documentStarts(const String& path, size_t number, size_t count) {
    if (abandoned_)
        throw Abandoned{};
    const std::lock_guard lock(progressMutex_);
    if (!progress_)
        return;
    if (telling_)
        progress_(pass_, path, number, count);
    else
        latest_ = Progress{path, number, count};
}

} // namespace MetaModel
