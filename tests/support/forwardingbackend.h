#pragma once

#include "platform/database/backend.h"

#include <memory>
#include <utility>

namespace TestSupport {

// Hands every call to a real backend. Fakes derive from it and change only the one behaviour
// that a real server cannot be made to show; the real database does the rest of the work.
class ForwardingBackend : public TABLINK::IBackend {
public:
    explicit ForwardingBackend(std::unique_ptr<TABLINK::IBackend> real) : real_(std::move(real)) {}

    int serverKind() const override { return real_->serverKind(); }
    std::string defaultRepositoryName() override { return real_->defaultRepositoryName(); }
    bool acceptsRepositoryName(const std::string& name) override {
        return real_->acceptsRepositoryName(name);
    }
    size_t repositoryNameLimit() override { return real_->repositoryNameLimit(); }
    bool query(const std::string& sql) override { return real_->query(sql); }
    bool nextRow() override { return real_->nextRow(); }
    int columnCount() const override { return real_->columnCount(); }
    int integerValue(int column) const override { return real_->integerValue(column); }
    std::string_view textValue(int column) const override { return real_->textValue(column); }
    bool endQuery() override { return real_->endQuery(); }
    bool executeScript(const std::string& sql) override { return real_->executeScript(sql); }
    bool commit() override { return real_->commit(); }
    bool createSchema(const std::string& schema) override { return real_->createSchema(schema); }
    bool defineProcedure(const std::string& prefix, const std::string& name,
                         const std::string& body) override {
        return real_->defineProcedure(prefix, name, body);
    }
    bool callProcedure(const std::string& prefix, const std::string& name, bool wantResult,
                       int& result) override {
        return real_->callProcedure(prefix, name, wantResult, result);
    }
    std::unique_ptr<TABLINK::IBulkTarget> openBulkTarget(const std::string& table) override {
        return real_->openBulkTarget(table);
    }
    Snapshot beginSnapshot(const std::vector<std::string>& tables) override {
        return real_->beginSnapshot(tables);
    }
    void endSnapshot() override { real_->endSnapshot(); }
    bool lockWriters(const std::string& repositoryName) override {
        return real_->lockWriters(repositoryName);
    }
    bool unlockWriters() override { return real_->unlockWriters(); }
    const std::string& lastError() const override { return real_->lastError(); }

private:
    std::unique_ptr<TABLINK::IBackend> real_;
};

} // namespace TestSupport
