#pragma once

#include "cpplanguage/orlostring.h"
#include "platform/database/databaseexceptions.h"

namespace RowVault {

// Loads rows into one table in blocks. Every failure throws CRowVaultException.
class IBlocInsert {
public:
    // An inserter on the connection handle; it must not outlive the connection.
    static IBlocInsert* New(void* connection);
    virtual ~IBlocInsert() = default;

    // Zero until Prepare has found the table.
    virtual int IsReady() = 0;
    virtual void SetTable(const ORLO::String& table) = 0;
    // Empty: the schema the connection works in.
    virtual void SetSchema(const ORLO::String& schema) = 0;
    virtual void SetBlockSize(int rows) = 0;
    virtual void Prepare() = 0;
    // Starts a load: rows still queued from an earlier one are dropped.
    virtual void Begin() = 0;
    // One row, one letter of `format` per column: "%d" takes a const int*, "%s" a const char*;
    // a null pointer is a null value. Values are copied. A full block is written at once.
    virtual void AddRow(const char* format, ...) = 0;
    // Writes what is queued. The embedded database keeps the blocks of a load in one
    // transaction, committed by the next statement, procedure call or commit on the
    // connection, or when the connection closes; each block is whole or absent all the same.
    virtual void Flush() = 0;
};

} // namespace RowVault
