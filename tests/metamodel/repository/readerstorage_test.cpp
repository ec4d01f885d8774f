// The reader keeps a whole repository in these two before it tells a single event; a row
// filed under the wrong owner or a text overwritten by a later one would come out as a
// plausible but wrong document.
#include "metamodel/repository/rowsbyowner.h"
#include "metamodel/textstore.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using MetaModel::RowsByOwner;
using MetaModel::TextStore;

std::vector<std::string> rowsOf(const RowsByOwner<std::string>::Range& range) {
    std::vector<std::string> rows;
    for (const std::string& row : range)
        rows.push_back(row);
    return rows;
}

TEST(RowsByOwner, RowsThatArriveOutOfOrderAreGroupedKeepingTheirOrderWithinAnOwner) {
    RowsByOwner<std::string> rows;
    rows.add(7, "7a");
    rows.add(3, "3a");
    rows.add(7, "7b");
    rows.add(-2, "-2a");
    rows.add(3, "3b");
    rows.add(7, "7c");
    rows.group();
    EXPECT_EQ(rowsOf(rows.of(7)), (std::vector<std::string>{"7a", "7b", "7c"}));
    EXPECT_EQ(rowsOf(rows.of(3)), (std::vector<std::string>{"3a", "3b"}));
    EXPECT_EQ(rowsOf(rows.of(-2)), std::vector<std::string>{"-2a"});
    EXPECT_TRUE(rows.of(5).empty());
    EXPECT_TRUE(rows.of(100).empty());
    EXPECT_EQ(rows.of(7).back(), "7c");
    EXPECT_EQ(rowsOf(rows.all()), (std::vector<std::string>{"-2a", "3a", "3b", "7a", "7b", "7c"}));
}

TEST(RowsByOwner, SortedRowsStayAsTheyCameAndAClearedTableStartsAfresh) {
    RowsByOwner<std::string> rows;
    rows.add(1, "1a");
    rows.add(1, "1b");
    rows.add(4, "4a");
    rows.group();
    EXPECT_EQ(rowsOf(rows.all()), (std::vector<std::string>{"1a", "1b", "4a"}));
    EXPECT_EQ(rows.of(1).size(), 2u);
    EXPECT_EQ(rows.of(1)[1], "1b");

    rows.clear();
    rows.add(9, "9a");
    rows.add(2, "2a");
    rows.group();
    EXPECT_EQ(rowsOf(rows.all()), (std::vector<std::string>{"2a", "9a"}));
    EXPECT_TRUE(rows.of(1).empty());
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
