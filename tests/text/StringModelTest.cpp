// SPDX-License-Identifier: MIT
// Random operations on a few strings that share buffers with each other, beside plain standard
// strings on which the same rules are carried out without any sharing.
#include <tavrin/String.h>

#include <algorithm>
#include <array>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include <tavrin/UnicodeUtils.h>

#include "support/LibraryTest.h"
#include "text/StringSupport.h"

using namespace Tavrin;
using test::isTerminated;
using test::textOf;
using test::Units;
using test::unitsOf;

namespace {

using Model = std::u16string;

std::size_t sizeOf(int count)
{
    return static_cast<std::size_t>(count);
}

int lengthOf(const Model &text)
{
    return static_cast<int>(text.size());
}

// The rules.

Model upToZero(const Model &text)
{
    return text.substr(0, std::min(text.find(u'\0'), text.size()));
}

void adjust(Model &text, int length)
{
    text.resize(sizeOf(std::max(length, 0)), u'\0');
}

void erase(Model &text, int start, int count)
{
    const int length = lengthOf(text);
    start = start < 0 ? length : start;
    count = count < 0 ? length : count;
    if (start < length)
        text.erase(sizeOf(start), sizeOf(count));
}

void insert(Model &text, const Model &added, int pos)
{
    text.insert(sizeOf(std::clamp(pos, 0, lengthOf(text))), added);
}

Model substr(const Model &text, int start, int count)
{
    if (start >= lengthOf(text))
        return Model();
    return text.substr(sizeOf(start), count < 0 ? Model::npos : sizeOf(count));
}

int find(const Model &text, const Model &pattern, int start, bool reverse)
{
    const int last = lengthOf(text) - lengthOf(pattern);
    if (!reverse) {
        for (int at = std::max(start, 0); at <= last; ++at)
            if (text.compare(sizeOf(at), pattern.size(), pattern) == 0)
                return at;
        return -1;
    }
    for (int at = start < 0 || start > last ? last : start; at >= 0; --at)
        if (text.compare(sizeOf(at), pattern.size(), pattern) == 0)
            return at;
    return -1;
}

int replace(Model &text, const Model &from, const Model &to, int start)
{
    const int at = from.empty() ? 0 : find(text, from, start, false);
    if (at >= 0)
        text.replace(sizeOf(at), from.size(), to);
    return at;
}

int replaceAll(Model &text, const Model &from, const Model &to, int start)
{
    if (from.empty())
        return 0;
    int count = 0;
    for (int at = find(text, from, start, false); at >= 0;
         at = find(text, from, at + lengthOf(to), false)) {
        text.replace(sizeOf(at), from.size(), to);
        ++count;
    }
    return count;
}

Model stripped(const Model &text)
{
    const auto isKept = [](char16_t unit) { return unit > 32; };
    const auto first = std::find_if(text.begin(), text.end(), isKept);
    const auto last = std::find_if(text.rbegin(), text.rend(), isKept).base();
    return first < last ? Model(first, last) : Model();
}

Model split(Model &text, const Model &delimiter)
{
    const int at = delimiter.empty() ? -1 : find(text, delimiter, 0, false);
    const Model piece = stripped(at < 0 ? text : text.substr(0, sizeOf(at)));
    text.erase(0, at < 0 ? Model::npos : sizeOf(at) + delimiter.size());
    return piece;
}

Model mapped(const Model &text, unsigned short (*map)(unsigned short))
{
    Model result = text;
    for (char16_t &unit : result)
        unit = static_cast<char16_t>(map(unit));
    return result;
}

Model mixed(const Model &text)
{
    const Model upper = mapped(text, UnicodeUtils::towupper);
    Model result = mapped(text, UnicodeUtils::towlower);
    for (std::size_t at = 0; at < text.size(); ++at)
        if (at == 0 || Model(u" ,;.").find(result[at - 1]) != Model::npos)
            result[at] = upper[at];
    return result;
}

int compare(const Model &a, const Model &b)
{
    for (std::size_t at = 0; at < std::min(a.size(), b.size()); ++at)
        if (a[at] != b[at])
            return a[at] - b[at];
    return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

// A pool of strings and their models, and one random step after the other.
class Walk
{
public:
    explicit Walk(unsigned seed) : random(seed) {}

    void step()
    {
        const int target = below(poolSize);
        String &text = strings[sizeOf(target)];
        Model &model = models[sizeOf(target)];
        // Half of the sources are strings of the pool, often the target itself.
        const int source = below(2) == 0 ? target : below(poolSize);
        const String &other = strings[sizeOf(source)];
        const Model otherModel = models[sizeOf(source)];
        change(text, model, other, otherModel);
        if (text.length() > largest) {
            text.adjust(below(20));
            adjust(model, text.length());
        }
    }

    void check() const
    {
        for (std::size_t index = 0; index < poolSize; ++index) {
            ASSERT_EQ(unitsOf(strings[index]), models[index]) << "string " << index;
            ASSERT_TRUE(isTerminated(strings[index]));
        }
    }

private:
    static constexpr int poolSize = 6;
    static constexpr int largest = 9000;

    int below(int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }

    // Lengths around those of the blocks, now and then a large one.
    int someLength()
    {
        constexpr int blockLengths[] = {0, 1, 15, 16, 31, 63, 127, 128, 255, 4095, 6142, 8191};
        return below(4) == 0 ? blockLengths[below(std::size(blockLengths))] : below(24);
    }

    // Positions in and around a text.
    int somePosition(int length)
    {
        if (below(20) == 0)
            return below(2) == 0 ? std::numeric_limits<int>::min()
                                 : std::numeric_limits<int>::max();
        return below(length + 4) - 2;
    }

    Model someText()
    {
        constexpr char16_t alphabet[] = u"aab ,.AB\u00E9\t\0";
        Model text(sizeOf(someLength()), u' ');
        for (char16_t &unit : text)
            unit = alphabet[below(std::size(alphabet) - 1)];
        return text;
    }

    Model someShortText() { return someText().substr(0, sizeOf(below(3))); }

    void change(String &text, Model &model, const String &other, const Model &otherModel)
    {
        const Model added = someText();
        const Units units(added);
        const std::string bytes(added.begin(), added.end());
        const Model narrow = [&] {
            Model wide;
            for (const char byte : bytes.substr(0, bytes.find('\0')))
                wide += static_cast<unsigned char>(byte);
            return wide;
        }();
        const auto unit = static_cast<unsigned short>(u"ab \0"[below(4)]);
        const int length = lengthOf(model);
        const int pos = somePosition(length);
        const int count = somePosition(length);
        const Model from = someShortText();
        const Model to = someShortText();
        switch (below(34)) {
        case 0:
            text = other;
            model = otherModel;
            break;
        case 1:
            text = String(other);
            model = otherModel;
            break;
        case 2:
            text = bytes.c_str();
            model = narrow;
            break;
        case 3:
            text = units.data();
            model = upToZero(added);
            break;
        case 4:
            text = unit;
            model = Model(1, unit);
            break;
        case 5:
            text.append(other);
            model += otherModel;
            break;
        case 6:
            text.append(units.data(), units.length());
            model += added;
            break;
        case 7:
            text.append(bytes.c_str());
            model += narrow;
            break;
        case 8:
            text.append(unit);
            model += static_cast<char16_t>(unit);
            break;
        case 9:
            text = text + other;
            model += otherModel;
            break;
        case 10:
            text = other + bytes.c_str();
            model = otherModel + narrow;
            break;
        case 11:
            text = other + unit;
            model = otherModel + static_cast<char16_t>(unit);
            break;
        case 12:
            text.insert(other, pos);
            insert(model, otherModel, pos);
            break;
        case 13:
            text.insert(bytes.c_str(), pos);
            insert(model, narrow, pos);
            break;
        case 14:
            text.insert(unit, pos);
            insert(model, Model(1, unit), pos);
            break;
        case 15:
            text.erase(pos, count);
            erase(model, pos, count);
            break;
        case 16:
            text.clear();
            model.clear();
            break;
        case 17:
            text.erase();
            model.clear();
            break;
        case 18:
            adjustBoth(text, model, someLength());
            break;
        case 19:
            setBoth(text, model, pos, unit);
            break;
        case 20:
            setupBoth(text, model, unit, someLength());
            break;
        case 21:
            partOf(text, model, other, otherModel, pos, count);
            break;
        case 22:
            EXPECT_EQ(text.replace(textOf(from), textOf(to), pos), replace(model, from, to, pos));
            break;
        case 23:
            EXPECT_EQ(text.replaceAll(textOf(from), textOf(to), pos),
                      replaceAll(model, from, to, pos));
            break;
        case 24:
            EXPECT_EQ(text.replace(textOf(from), other, pos),
                      replace(model, from, otherModel, pos));
            break;
        case 25:
            EXPECT_EQ(text.replaceAll(other, textOf(to), pos),
                      replaceAll(model, otherModel, to, pos));
            break;
        case 26:
            EXPECT_EQ(unitsOf(text.split(textOf(from))), split(model, from));
            break;
        case 27:
            text.strip();
            model = stripped(model);
            break;
        case 28:
            mapBoth(text, model);
            break;
        case 29:
            text.makeUnique();
            break;
        case 30:
            tailOf(text, model, below(length + 1));
            break;
        case 31:
            EXPECT_EQ(text.find(textOf(from), pos, false), find(model, from, pos, false));
            EXPECT_EQ(text.find(textOf(from), pos, true), find(model, from, pos, true));
            break;
        case 32:
            EXPECT_EQ(text.cmp(other), compare(model, otherModel));
            EXPECT_EQ(text == other, model == otherModel);
            break;
        case 33:
            appendTailOf(text, model, below(length + 1));
            break;
        }
    }

    // Growth leaves units that hold no value; they are given one.
    void adjustBoth(String &text, Model &model, int length)
    {
        const int before = text.length();
        text.adjust(length);
        adjust(model, length);
        for (int at = before; at < length; ++at)
            text.set(at, 0);
    }

    void setupBoth(String &text, Model &model, unsigned short unit, int length)
    {
        text.setup(unit, length);
        model = Model(sizeOf(length), unit);
    }

    void setBoth(String &text, Model &model, int at, unsigned short unit)
    {
        text.set(at, unit);
        if (at >= 0 && at < lengthOf(model))
            model[sizeOf(at)] = unit;
    }

    void partOf(String &text, Model &model, const String &other, const Model &otherModel, int start,
                int count)
    {
        text = other.substr(std::max(start, 0), count);
        model = substr(otherModel, std::max(start, 0), count);
    }

    void mapBoth(String &text, Model &model)
    {
        const Model before = model;
        bool changed = false;
        switch (below(3)) {
        case 0:
            changed = text.toLower();
            model = mapped(model, UnicodeUtils::towlower);
            break;
        case 1:
            changed = text.toUpper();
            model = mapped(model, UnicodeUtils::towupper);
            break;
        default:
            changed = text.toMixed();
            model = mixed(model);
        }
        EXPECT_EQ(changed, before != model);
    }

    void tailOf(String &text, Model &model, int from)
    {
        text = text.wstr() + from;
        model = upToZero(model.substr(sizeOf(from)));
    }

    void appendTailOf(String &text, Model &model, int from)
    {
        text.append(text.wstr() + from);
        model += upToZero(model.substr(sizeOf(from)));
    }

    std::mt19937 random;
    std::array<String, poolSize> strings;
    std::array<Model, poolSize> models;
};

class StringModelTest : public test::LibraryTest, public testing::WithParamInterface<unsigned>
{};

} // namespace

TEST_P(StringModelTest, RandomOperationsAgreeWithPlainStrings)
{
    Walk walk(GetParam());
    for (int round = 0; round < 6000 && !HasFailure(); ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        walk.step();
        walk.check();
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, StringModelTest, testing::Range(1U, 9U));
