// SPDX-License-Identifier: MIT
// Static managers over random tables, with and without memory for an index, beside a plain scan.
#include <tavrin/LivePropertyManager.h>

#include <algorithm>
#include <cctype>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <tavrin/UnicodeUtils.h>

#include "live/PropertyManagerSupport.h"
#include "support/LibraryTest.h"
#include "support/TestAllocator.h"

using namespace Tavrin;
using test::findID;
using test::findName;
using test::FoundID;
using test::FoundName;
using test::TestAllocator;

namespace {

using Units = std::u16string;

struct Row
{
    std::string name;
    int id;
    int flags;
};

Units widened(const std::string &bytes)
{
    Units units;
    for (const char byte : bytes)
        units += static_cast<unsigned char>(byte);
    return units;
}

bool isSame(const Units &a, const Units &b, bool ignoreCase)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [=](char16_t left, char16_t right) {
        return left == right ||
               (ignoreCase && UnicodeUtils::towupper(left) == UnicodeUtils::towupper(right));
    });
}

// A table, and what a scan of it answers.
class Model
{
public:
    explicit Model(std::vector<Row> withRows) : rows(std::move(withRows))
    {
        for (const Row &row : rows)
            table.push_back({row.name.c_str(), row.id, row.flags, nullptr});
        table.push_back({nullptr, 0, 0, nullptr});
    }

    const LivePropertyInfo *data() const { return table.data(); }

    FoundID id(const Units &name, int flags) const
    {
        const bool ignoreCase = (flags & 0xFF0000) == 0x40000;
        for (const Row &row : rows)
            if (!name.empty() && isSame(widened(row.name), name, ignoreCase) && fits(row, flags))
                return {0, row.id, row.flags & 15};
        return test::noID;
    }
    FoundName name(int id, int flags) const
    {
        const auto row = find(id);
        return row != rows.end() && fits(*row, flags) ? FoundName{0, row->name} : test::noName;
    }
    int type(int id) const
    {
        const auto row = find(id);
        return row != rows.end() ? row->flags & 15 : 16;
    }

private:
    static bool fits(const Row &row, int flags)
    {
        return (row.flags & 0xFF0000) == 0 || (row.flags & flags & 0xFF0000) != 0;
    }
    std::vector<Row>::const_iterator find(int id) const
    {
        return std::find_if(rows.begin(), rows.end(), [=](const Row &row) { return row.id == id; });
    }

    std::vector<Row> rows;
    std::vector<LivePropertyInfo> table;
};

class PropertyManagerModelTest : public test::LibraryTest
{
protected:
    int below(int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }

    // Short names of few letters, so that many are the same but for case; some with bytes whose
    // case is not that of ASCII, and some long ones with the same beginning.
    std::string randomName(bool withLatin)
    {
        static const std::string letters = "abAB`@[{1_";
        static const std::string latin = "aA\xE4\xC4\xB5\xFF\xDF\xD7\xF7";
        const std::string &alphabet = withLatin ? latin : letters;
        std::string name(below(10) == 0 ? 250 + static_cast<std::size_t>(below(10)) : 0, 'n');
        for (int left = below(7); left > 0; --left)
            name += alphabet[static_cast<std::size_t>(below(static_cast<int>(alphabet.size())))];
        return name;
    }
    int randomLanguages() { return below(3) == 0 ? 0 : below(8) << 16; }

    std::mt19937 random{12345};
};

TEST_F(PropertyManagerModelTest, EveryLookupAnswersAsAScanDoes)
{
    constexpr int tables = 200, lookups = 100;
    for (int round = 0; round < tables; ++round) {
        const bool withLatin = round % 2 != 0;
        std::vector<Row> rows;
        for (int left = below(40); left > 0; --left)
            rows.push_back({randomName(withLatin), below(20) - 10, below(512) | randomLanguages()});
        const Model model(rows);
        const LivePropertyManager manager(model.data());
        // Without an index in every third round.
        if (round % 3 == 0)
            TestAllocator::shared().failRequests(1, TestAllocator::forever);
        for (int lookup = 0; lookup < lookups; ++lookup) {
            TestAllocator::shared().stopFailing();
            Units name = widened(
                below(3) == 0 || rows.empty()
                    ? randomName(withLatin)
                    : rows[static_cast<std::size_t>(below(static_cast<int>(rows.size())))].name);
            for (char16_t &unit : name)
                if (below(4) == 0)
                    unit =
                        below(2) == 0 ? UnicodeUtils::towupper(unit) : UnicodeUtils::towlower(unit);
            const int flags = below(3) == 0 ? kCaselessLanguage : below(16) << 15;
            const int id = below(24) - 12;
            String text;
            for (const char16_t unit : name)
                text.append(static_cast<unsigned short>(unit));
            if (round % 3 == 0)
                TestAllocator::shared().failRequests(1, TestAllocator::forever);
            const FoundID found = findID(manager, text, flags);
            const InfoType type = manager.getType(id);
            TestAllocator::shared().stopFailing();
            ASSERT_EQ(found, model.id(name, flags)) << "table " << round << ", lookup " << lookup;
            ASSERT_EQ(type, model.type(id)) << "table " << round << ", id " << id;
            ASSERT_EQ(findName(manager, id, flags), model.name(id, flags))
                << "table " << round << ", id " << id;
        }
    }
}

TEST_F(PropertyManagerModelTest, TablesOfAllSizesFindAllOfTheirRows)
{
    for (const int count : {1, 5, 6, 7, 10, 11, 21, 22, 42, 43, 300, 5000}) {
        std::vector<Row> rows;
        for (int id = 0; id < count; ++id)
            rows.push_back({"property" + std::to_string(id), id * 256, kInfoReadOnly});
        const Model model(rows);
        const LivePropertyManager manager(model.data());
        for (const Row &row : rows) {
            ASSERT_EQ(findID(manager, row.name.c_str()).id, row.id) << count;
            ASSERT_EQ(findName(manager, row.id).name, row.name) << count;
        }
        EXPECT_EQ(findID(manager, "property"), test::noID) << count;
        EXPECT_EQ(manager.getType(1), kInfoNone) << count;
    }
}

} // namespace
