#pragma once

#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

/// The fields of a row of a table that is all text, which are separated by " | ".
inline std::vector<std::string> ToFields(const std::string& row) {
    std::vector<std::string> fields;
    size_t start = 0;
    for (size_t end = row.find(" | "); end != std::string::npos; end = row.find(" | ", start)) {
        fields.push_back(row.substr(start, end - start));
        start = end + 3;
    }
    fields.push_back(row.substr(start));
    return fields;
}

/// Makes a change to the first field of each row, which has to become the second one. A twin that
/// shared the text has to keep it.
template<typename CHANGE>
void ExpectChanges(std::initializer_list<const char*> rows, CHANGE change) {
    for (const char* row : rows) {
        const std::vector<std::string> fields = ToFields(row);
        VnString text = ToText(fields.at(0));
        const VnString twin(text);
        change(text);
        EXPECT_EQ(ToBytes(text), fields.at(1)) << row;
        EXPECT_EQ(text.GetLength(), ToText(fields.at(1)).GetLength()) << row;
        EXPECT_EQ(ToBytes(twin), fields.at(0)) << row;
    }
}
