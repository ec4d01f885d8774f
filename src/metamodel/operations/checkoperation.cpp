#include "metamodel/operations/checkoperation.h"

#include "cpplanguage/messages.h"
#include "metamodel/builder/metamodelbuilder.h"
#include "metamodel/validation/functionalvalidator.h"
#include "metamodel/validation/validationmetamodelevents.h"
#include "metamodel/xml/xmlmetamodelreader.h"

#include <atomic>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>

namespace MetaModel {

namespace {

// The second reading of a check only builds a model that nothing outside the check sees, so
// it runs on a thread of its own beside the first reading instead of after it: a valid set
// costs the longer of the two readings rather than their sum. Until the first reading has
// passed, the build stays out of sight: its messages are held, its progress is told only from
// then on, and when the first reading fails the build is abandoned at the next document and
// dropped whole. What a run shows is thus what two readings one after the other show.
class AdvanceBuild {
public:
    AdvanceBuild(const std::vector<std::string>& paths, const PassObserver& observer)
        : reader_(true, false), observer_(observer) {
        addOperationPaths(reader_, paths);
        reader_.SetEvents(&builder_);
        reader_.SetDocumentObserver([this](const String& path, size_t number, size_t count) {
            tellProgress(path, number, count);
        });
        try {
            thread_ = std::thread([this] { run(); });
        } catch (const std::system_error&) {
            // No thread to be had: the build runs in its turn, as result() finds.
        }
    }
    ~AdvanceBuild() {
        abandoned_ = true;
        if (thread_.joinable())
            thread_.join();
    }
    AdvanceBuild(const AdvanceBuild&) = delete;
    AdvanceBuild& operator=(const AdvanceBuild&) = delete;

    // For once the first reading has passed: the build's progress so far and from now on, its
    // messages, then its model, or its failure thrown again.
    const QEL::IMetaModel* result() {
        {
            const std::lock_guard lock(progressMutex_);
            telling_ = true;
            if (latest_ && observer_)
                observer_(2, latest_->path, latest_->number, latest_->count);
        }
        if (thread_.joinable())
            thread_.join();
        else
            run();
        CppLanguage::postHeld(messages_);
        if (failure_)
            std::rethrow_exception(failure_);
        return builder_.GetResult();
    }

private:
    struct Abandoned {};
    struct Progress {
        String path;
        size_t number;
        size_t count;
    };

    void run() {
        const CppLanguage::HeldMessagesScope hold(messages_);
        try {
            reader_.Read();
        } catch (const Abandoned&) {
        } catch (...) {
            failure_ = std::current_exception();
        }
    }

    void tellProgress(const String& path, size_t number, size_t count) {
        if (abandoned_)
            throw Abandoned{};
        const std::lock_guard lock(progressMutex_);
        if (!observer_)
            return;
        if (telling_)
            observer_(2, path, number, count);
        else
            latest_ = Progress{path, number, count};
    }

    CXMLMetaModelReader reader_;
    CMetaModelBuilder builder_;
    const PassObserver& observer_;
    std::vector<CppLanguage::CAppMsg> messages_;
    std::exception_ptr failure_;
    std::atomic<bool> abandoned_{false};
    std::mutex progressMutex_;
    bool telling_ = false;
    std::optional<Progress> latest_;
    std::thread thread_;
};

} // namespace

bool CheckMetaModelFromXML(const std::vector<std::string>& paths) {
    return CheckMetaModelFromXML(paths, {});
}

bool CheckMetaModelFromXML(const std::vector<std::string>& paths, const PassObserver& observer) {
    // The per-machine and per-user roots are no part of a check.
    CXMLMetaModelReader reader(true, false);
    addOperationPaths(reader, paths);
    try {
        AdvanceBuild build(paths, observer);
        // Nothing built is looked at when the set fails the stream checks: their End throws,
        // and the build is dropped on the way out.
        CValidationMetaModelEvents validation(true);
        reader.SetEvents(&validation);
        observePass(reader, 1, observer);
        reader.Read();
        FunctionalValidator().validate(build.result());
    } catch (const CppLanguage::CRuntimeException& failure) {
        CppLanguage::reportException(failure);
        return false;
    }
    return true;
}

} // namespace MetaModel
