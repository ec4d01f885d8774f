#pragma once

#include "cpplanguage/orlostring.h"
#include "platform/database/connection.h"

#include <memory>

// The caller's connection object: opened from a connection string and an optional schema, it
// gives the opaque handle of the connectivity operations and answers its settings.
class IConnectionSettings {
public:
    virtual ~IConnectionSettings() = default;
    // Fills `value` and answers true for a key the connection knows: "27" is the schema (empty
    // when none was given). No key is mandatory here; an unknown one answers false.
    virtual bool GetValue(const ORLO::String& key, ORLO::String& value, int flags,
                          bool mandatory) const = 0;
};

class IUniqueConnection {
public:
    static constexpr const char* SchemaSetting = "27";

    // Throws TABLINK::CDatabaseException when the database cannot be reached or the schema
    // cannot be used; OpenMode::Create makes a missing schema first.
    explicit IUniqueConnection(const ORLO::String& connectionString,
                               const ORLO::String& schema = ORLO::String(),
                               TABLINK::OpenMode mode = TABLINK::OpenMode::Existing);
    // Takes an already opened connection: how the tests put a server of another kind behind it.
    IUniqueConnection(std::unique_ptr<TABLINK::CConnection> connection, const ORLO::String& schema);
    ~IUniqueConnection();
    IUniqueConnection(const IUniqueConnection&) = delete;
    IUniqueConnection& operator=(const IUniqueConnection&) = delete;

    void* GetHandle() const { return connection_.get(); }
    const IConnectionSettings* GetSettings() const { return settings_.get(); }

private:
    IUniqueConnection(std::unique_ptr<TABLINK::CConnection> connection, const ORLO::String& schema,
                      bool createSchema);

    std::unique_ptr<TABLINK::CConnection> connection_;
    std::unique_ptr<IConnectionSettings> settings_;
};
