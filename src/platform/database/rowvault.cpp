#include "platform/database/rowvault.h"

#include "platform/database/connection.h"
#include "platform/database/databaseexceptions.h"
#include "platform/messages.h"

#include <cstdarg>
#include <cstring>

namespace RowVault {

namespace {

using TABLINK::BulkValue;

class CBlocInsert : public IBlocInsert {
public:
    explicit CBlocInsert(TABLINK::CConnection* connection) : connection_(connection) {}

    int IsReady() override { return target_ ? 1 : 0; }
    void SetTable(const ORLO::String& table) override {
        table_ = table;
        target_.reset();
    }
    void SetSchema(const ORLO::String& schema) override {
        schema_ = schema;
        target_.reset();
    }
    void SetBlockSize(int rows) override { blockSize_ = rows > 0 ? rows : 1; }

    void Prepare() override {
        if (!connection_)
            fail("INSERT INTO " + qualifiedTable(), "there is no connection");
        target_ = connection_->backend().openBulkTarget(qualifiedTable());
        if (!target_)
            fail("SELECT * FROM " + qualifiedTable(), connection_->backend().lastError());
    }
    void Begin() override {
        if (!target_)
            fail("INSERT INTO " + qualifiedTable(), "the inserter is not prepared");
        queued_.clear();
        texts_.clear();
        rows_ = 0;
    }

    void AddRow(const char* format, ...) override {
        if (!target_)
            fail("INSERT INTO " + qualifiedTable(), "the inserter is not prepared");
        const size_t rowStart = queued_.size();
        va_list arguments;
        va_start(arguments, format);
        std::string fault;
        for (const char* letter = format ? format : ""; *letter && fault.empty(); ++letter) {
            if (*letter != '%')
                continue;
            BulkValue value;
            if (letter[1] == 'd') {
                if (const int* number = va_arg(arguments, const int*)) {
                    value.kind = BulkValue::Kind::Integer;
                    value.integer = *number;
                }
            } else if (letter[1] == 's') {
                if (const char* text = va_arg(arguments, const char*)) {
                    value.kind = BulkValue::Kind::Text;
                    value.text = keep(text);
                }
            } else {
                fault = std::string("the row format '") + format + "' is not made of %d and %s";
            }
            ++letter;
            queued_.push_back(std::move(value));
        }
        va_end(arguments);
        const size_t given = queued_.size() - rowStart;
        if (fault.empty() && given != size_t(target_->columnCount()))
            fault = "a row of " + std::to_string(given) + " values for " +
                    std::to_string(target_->columnCount()) + " columns";
        if (!fault.empty()) {
            queued_.resize(rowStart);
            fail(target_->statement(), fault);
        }
        if (++rows_ >= blockSize_)
            Flush();
    }

    void Flush() override {
        if (!target_ || queued_.empty())
            return;
        const bool written = target_->write(queued_);
        queued_.clear();
        texts_.clear();
        rows_ = 0;
        if (!written)
            fail(target_->statement(), target_->lastError());
    }

private:
    // A copy of `text` among the block's texts: one buffer, kept from block to block, instead
    // of an allocation per value. When the buffer has to grow, the views already handed out
    // follow it.
    std::string_view keep(const char* text) {
        const size_t size = std::strlen(text);
        if (size == 0)
            return std::string_view("", 0);
        const char* before = texts_.data();
        const size_t at = texts_.size();
        texts_.append(text, size);
        if (texts_.data() != before)
            for (BulkValue& queued : queued_)
                if (queued.kind == BulkValue::Kind::Text && !queued.text.empty())
                    queued.text = {texts_.data() + (queued.text.data() - before),
                                   queued.text.size()};
        return {texts_.data() + at, size};
    }

    std::string qualifiedTable() const {
        const std::string prefix = !schema_.empty()
                                       ? TABLINK::quoteIdentifier(schema_) + "."
                                       : (connection_ ? connection_->prefix() : std::string());
        return prefix + table_;
    }
    [[noreturn]] void fail(const std::string& statement, const std::string& cause) const {
        CppLanguage::raise<CRowVaultException>(ORLO_HERE, "QEL_DB_REQ_ERR",
                                               {{"QUERY", statement}, {"CAUSE", cause}});
    }

    TABLINK::CConnection* connection_;
    ORLO::String table_;
    ORLO::String schema_;
    int blockSize_ = 1000;
    std::unique_ptr<TABLINK::IBulkTarget> target_;
    std::vector<BulkValue> queued_;
    std::string texts_;
    int rows_ = 0;
};

} // namespace

IBlocInsert* IBlocInsert::New(void* connection) {
    return new CBlocInsert(static_cast<TABLINK::CConnection*>(connection));
}

} // namespace RowVault
