// The reader keeps a whole repository in these two before it tells a single event; a row
// filed under the wrong owner or a text overwritten by a later one would come out as a
// plausible but wrong document.
#include "metamodel/repository/rowsbyowner.h"
#include "metamodel/textstore.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace {

using MetaModel::RowsByOwner;
using MetaModel::TextStore;

// Rows are "<owner>/<n>"; each sequence goes into the same table, cleared in between.
TEST(RowsByOwner, RowsAreGroupedByOwnerKeepingTheirOrderWithinOne) {
    const std::vector<std::vector<int>> sequences = {
        {7, 3, 7, -2, 3, 7}, // out of order
        {1, 1, 4},           // already sorted: left as it came
        {9, 2},
    };
    RowsByOwner<std::string> rows;
    for (const std::vector<int>& owners : sequences) {
        SCOPED_TRACE(testing::PrintToString(owners));
        std::map<int, std::vector<std::string>> expected;
        rows.clear();
        for (size_t index = 0; index < owners.size(); ++index) {
            const std::string row = std::to_string(owners[index]) + "/" + std::to_string(index);
            rows.add(owners[index], std::string(row));
            expected[owners[index]].push_back(row);
        }
        rows.group();
        std::vector<std::string> all, allExpected;
        for (const std::string& row : rows.all())
            all.push_back(row);
        for (const auto& [owner, ownRows] : expected) {
            allExpected.insert(allExpected.end(), ownRows.begin(), ownRows.end());
            const auto range = rows.of(owner);
            ASSERT_EQ(range.size(), ownRows.size()) << owner;
            for (size_t index = 0; index < ownRows.size(); ++index)
                EXPECT_EQ(range[index], ownRows[index]) << owner;
            EXPECT_EQ(range.back(), ownRows.back()) << owner;
        }
        EXPECT_EQ(all, allExpected);
        for (const int missing : {-3, 1, 5, 100})
            EXPECT_EQ(rows.of(missing).empty(), !expected.count(missing)) << missing;
    }
}

TEST(TextStore, EveryKeptTextStaysWholeWhateverComesAfterIt) {
    TextStore store;
    std::vector<std::string> texts;
    std::vector<std::string_view> kept;
    // Short texts fill block after block; now and then one too long for any block.
    for (int index = 0; index < 40000; ++index) {
        std::string text = "text " + std::to_string(index);
        if (index % 5000 == 4999)
            text = std::string(200 * 1024, char('a' + index % 26));
        texts.push_back(text);
        kept.push_back(store.keep(text));
    }
    for (size_t index = 0; index < texts.size(); ++index)
        ASSERT_EQ(kept[index], texts[index]) << "text " << index;
    EXPECT_TRUE(store.keep("").empty());
}

TEST(TextStore, AnInternedTextIsOneStringForEveryRepeat) {
    TextStore store;
    const ORLO::String& first = store.intern("INF_TYPE");
    const ORLO::String& other = store.intern("INF_SUB_TYPE");
    std::string again = "INF_";
    again += "TYPE";
    EXPECT_EQ(&store.intern(again), &first);
    EXPECT_NE(&other, &first);
    EXPECT_EQ(first, "INF_TYPE");
    EXPECT_EQ(store.intern(""), "");
    store.clear();
    EXPECT_EQ(store.intern("INF_TYPE"), "INF_TYPE");
}

} // namespace
