// SPDX-License-Identifier: MIT
// White-box: the columns of the table of codes that no operation shows.
#include <algorithm>
#include <cstring>
#include <iterator>

#include <gtest/gtest.h>

#include "values/ErrorMessages.h"

using namespace Tavrin;

TEST(ErrorRows, SixRowsRecordANegativeCode)
{
    constexpr int negative[] = {28, 29, 33, 34, 35, 36};
    const auto rows = detail::errorRows();
    ASSERT_EQ(rows.size(), 80u);
    for (int index = 0; index < 80; ++index) {
        const bool isNegative = std::ranges::find(negative, index) != std::end(negative);
        EXPECT_EQ(rows[static_cast<unsigned>(index)].code, isNegative ? -index : index);
    }
}

TEST(ErrorRows, NoRowButTheFirstNamesAClass)
{
    const auto rows = detail::errorRows();
    EXPECT_STREQ(rows[0].className, "");
    for (const detail::ErrorRow &row : rows.subspan(1))
        EXPECT_EQ(row.className, nullptr) << row.code;
}

TEST(ErrorRows, TheTextsAreASCII)
{
    for (const detail::ErrorRow &row : detail::errorRows())
        for (const char *byte = row.text; *byte != '\0'; ++byte)
            EXPECT_TRUE(*byte >= ' ' && *byte <= '~') << row.code;
}
