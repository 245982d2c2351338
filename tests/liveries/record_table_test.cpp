// The flat registration table and the short codes of its records.
#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <string>

#include "liveries/dbase.h"
#include "liveries/record_table.h"

TEST(FlatRecordTable, FindsEveryKeyOfEveryLengthAndNothingElse) {
    FlatRecordTable<int> table;
    // Lengths 0 to 40 cross the 8-character words of the hash; the keys share long prefixes.
    std::vector<std::string> keys;
    for (int n = 0; n < 5000; ++n) keys.push_back(std::string(static_cast<size_t>(n % 41), 'K') + std::to_string(n));
    for (size_t i = 0; i < keys.size(); ++i) table.add(keys[i], static_cast<int>(i));
    EXPECT_EQ(table.find(keys[0]), nullptr);  // not yet built
    EXPECT_TRUE(table.build().empty());
    ASSERT_EQ(table.size(), keys.size());
    for (size_t i = 0; i < keys.size(); ++i) {
        const int* r = table.find(keys[i]);
        ASSERT_NE(r, nullptr) << keys[i];
        EXPECT_EQ(*r, static_cast<int>(i));
    }
    EXPECT_EQ(table.find(""), nullptr);
    EXPECT_EQ(table.find("K"), nullptr);
    EXPECT_EQ(table.find(keys[7] + "X"), nullptr);
    EXPECT_EQ(table.find(keys[7].substr(1)), nullptr);
}

TEST(FlatRecordTable, OfEqualKeysTheFirstStaysAndTheOthersAreReportedInOrder) {
    FlatRecordTable<int> table;
    table.add("D-ABCD", 1);
    table.add("N12345", 2);
    table.add("D-ABCD", 3);
    table.add("", 4);
    table.add("N12345", 5);
    table.add("D-ABCD", 6);
    table.add("", 7);
    EXPECT_EQ(table.build(), (std::vector<std::string>{"D-ABCD", "N12345", "D-ABCD", ""}));
    EXPECT_EQ(table.size(), 3u);
    EXPECT_EQ(*table.find("D-ABCD"), 1);
    EXPECT_EQ(*table.find("N12345"), 2);
    EXPECT_EQ(*table.find(""), 4);
}

TEST(FlatRecordTable, KeysWrittenInPlaceAndAClearedTable) {
    FlatRecordTable<int> table;
    table.reserve(2, 4);  // less room than the keys need: the table grows
    for (int i = 0; i < 100; ++i) {
        const std::string key = "REG" + std::to_string(i);
        table.add(
            key.size(), [&](char* to) { key.copy(to, key.size()); }, i);
    }
    table.build();
    ASSERT_NE(table.find("REG99"), nullptr);
    EXPECT_EQ(*table.find("REG99"), 99);
    // Built again after more records: old and new keys are found, a repeated one is dropped.
    table.add("NEW", 100);
    table.add("REG5", 101);
    EXPECT_EQ(table.build(), std::vector<std::string>{"REG5"});
    EXPECT_EQ(*table.find("REG5"), 5);
    EXPECT_EQ(*table.find("NEW"), 100);
    EXPECT_EQ(table.size(), 101u);
    table.clear();
    EXPECT_TRUE(table.empty());
    EXPECT_EQ(table.find("REG99"), nullptr);
}
