#include "platform/database/uniqueconnection.h"

#include "platform/database/databaseexceptions.h"
#include "platform/database/tablink.h"
#include "platform/messages.h"

namespace {

class CConnectionSettings : public IConnectionSettings {
public:
    explicit CConnectionSettings(ORLO::String schema) : schema_(std::move(schema)) {}
    bool GetValue(const ORLO::String& key, ORLO::String& value, int, bool) const override {
        if (key != IUniqueConnection::SchemaSetting)
            return false;
        value = schema_;
        return true;
    }

private:
    ORLO::String schema_;
};

} // namespace

IUniqueConnection::IUniqueConnection(const ORLO::String& connectionString,
                                     const ORLO::String& schema, TABLINK::OpenMode mode)
    : IUniqueConnection(TABLINK::openConnection(connectionString, mode), schema,
                        mode == TABLINK::OpenMode::Create) {}

IUniqueConnection::IUniqueConnection(std::unique_ptr<TABLINK::CConnection> connection,
                                     const ORLO::String& schema)
    : IUniqueConnection(std::move(connection), schema, false) {}

IUniqueConnection::IUniqueConnection(std::unique_ptr<TABLINK::CConnection> connection,
                                     const ORLO::String& schema, bool createSchema)
    : connection_(std::move(connection)), settings_(std::make_unique<CConnectionSettings>(schema)) {
    const auto refuse = [this](const std::string& cause) {
        CppLanguage::raise<TABLINK::CDatabaseException>(
            ORLO_HERE, "QEL_DB_CONNECT_ERR",
            {{"CONNECTION", connection_->description()}, {"CAUSE", cause}});
    };
    if (const std::string problem = connection_->repositoryNameProblem(schema); !problem.empty())
        refuse(problem);
    if (createSchema && !schema.empty() &&
        !connection_->backend().createSchema(TABLINK::quoteIdentifier(schema)))
        refuse(connection_->backend().lastError());
    if (!TABLINK::dbsetrepositoryname(connection_.get(), schema.c_str(), -1, nullptr))
        refuse(TABLINK::dblasterror(connection_.get()));
}

IUniqueConnection::~IUniqueConnection() = default;
