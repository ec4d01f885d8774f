#include "platform/database/sqliterepeats.h"

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <exception>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace TABLINK {

namespace {

// The 64-bit hashes of the rows seen so far, spread over buckets by their top bits and
// sorted only at the end. A hash table would need twice the slots for its probes, and its
// last doubling holds both tables at once: on a work table of millions of rows that is
// hundreds of megabytes for a yes or no. Two equal rows have equal hashes; two equal hashes
// are only a maybe, which is all the screen promises.
class RowHashes {
public:
    void insert(std::uint64_t hash) { buckets_[hash >> (64 - bucketBits)].push_back(hash); }

    bool hasRepeat() {
        for (std::vector<std::uint64_t>& bucket : buckets_) {
            std::sort(bucket.begin(), bucket.end());
            if (std::adjacent_find(bucket.begin(), bucket.end()) != bucket.end())
                return true;
        }
        return false;
    }

private:
    static constexpr int bucketBits = 8;
    std::array<std::vector<std::uint64_t>, std::size_t(1) << bucketBits> buckets_;
};

struct ScreenState {
    RowHashes hashes;
};

std::uint64_t mix(std::uint64_t hash, std::uint64_t value) {
    hash ^= value + 0x9E3779B97F4A7C15ULL + (hash << 6) + (hash >> 2);
    hash *= 0xBF58476D1CE4E5B9ULL;
    return hash ^ (hash >> 31);
}

// Each value with a tag of its storage class, so that the integer 1 and the text "1" differ,
// and texts with their length, so that no two rows run together. A real with an integral
// value compares equal to that integer in SQLite and is hashed as one. The row's hash is made
// value by value, without gathering the row's bytes first: the screen runs over every row of
// every table.
std::uint64_t valueHash(sqlite3_value* value) {
    switch (sqlite3_value_type(value)) {
    case SQLITE_NULL:
        return 'n';
    case SQLITE_INTEGER:
        return mix('i', std::uint64_t(sqlite3_value_int64(value)));
    case SQLITE_FLOAT: {
        const double real = sqlite3_value_double(value);
        if (std::trunc(real) == real && std::fabs(real) < 9.2e18)
            return mix('i', std::uint64_t(std::int64_t(real)));
        std::uint64_t bits = 0;
        std::memcpy(&bits, &real, sizeof bits);
        return mix('f', bits);
    }
    default: {
        const bool text = sqlite3_value_type(value) == SQLITE_TEXT;
        const void* bytes =
            text ? static_cast<const void*>(sqlite3_value_text(value)) : sqlite3_value_blob(value);
        const int size = sqlite3_value_bytes(value);
        const std::string_view content(static_cast<const char*>(bytes),
                                       size > 0 ? size_t(size) : 0);
        return mix(mix(text ? 't' : 'b', std::uint64_t(size)),
                   std::hash<std::string_view>()(content));
    }
    }
}

ScreenState* stateOf(sqlite3_context* context, bool create) {
    auto** slot = static_cast<ScreenState**>(
        sqlite3_aggregate_context(context, create ? int(sizeof(ScreenState*)) : 0));
    if (!slot)
        return nullptr;
    if (!*slot && create)
        *slot = new ScreenState();
    return *slot;
}

void step(sqlite3_context* context, int count, sqlite3_value** values) {
    ScreenState* state = nullptr;
    try {
        state = stateOf(context, true);
        if (!state) {
            sqlite3_result_error_nomem(context);
            return;
        }
        std::uint64_t hash = std::uint64_t(count);
        for (int column = 0; column < count; ++column)
            hash = mix(hash, valueHash(values[column]));
        state->hashes.insert(hash);
    } catch (const std::exception& failure) {
        sqlite3_result_error(context, failure.what(), -1);
    }
}

void finish(sqlite3_context* context) {
    ScreenState* state = stateOf(context, false);
    try {
        sqlite3_result_int(context, state && state->hashes.hasRepeat() ? 1 : 0);
    } catch (const std::exception& failure) {
        sqlite3_result_error(context, failure.what(), -1);
    }
    delete state;
}

} // namespace

bool registerRepeatScreen(sqlite3* database) {
    return sqlite3_create_function_v2(database, repeatScreenFunction, -1,
                                      SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr, nullptr, step,
                                      finish, nullptr) == SQLITE_OK;
}

} // namespace TABLINK
