// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>
#include <string>
#include <utility>

#include <tavrin/String.h>
#include <tavrin/UnicodeUtils.h>

#include "text/StringModel.h"
#include "text/StringSupport.h"

namespace Tavrin::test {

// StringWalk: a few strings that share buffers with each other, beside their models. Each step
// carries out one operation on both; `Choices` decides which, and with which arguments, by a member
//   int below(int limit);   // from 0 to limit - 1
template <class Choices>
class StringWalk
{
public:
    explicit StringWalk(Choices &choices) : choices(choices) {}

    // Returns what has gone apart, or an empty text.
    std::string step()
    {
        own = &pool[rules::sizeOf(below(poolSize))];
        // Half of the sources are the target itself.
        source = below(2) == 0 ? own : &pool[rules::sizeOf(below(poolSize))];
        const Operation &operation = operations[below(std::size(operations))];
        (this->*operation.carryOut)();
        if (own->text.length() > largest) {
            own->text.adjust(largest / 2);
            rules::adjust(own->model, largest / 2);
        }
        compareAll();
        return gap.empty() ? gap : std::string(operation.name) + ": " + gap;
    }

private:
    using Model = rules::Model;

    static constexpr int poolSize = 4;
    static constexpr int largest = 9000;

    struct Pair
    {
        String text;
        Model model;
    };
    struct Operation
    {
        const char *name;
        void (StringWalk::*carryOut)();
    };
    static const Operation operations[];

    int below(std::size_t limit) { return choices.below(static_cast<int>(limit)); }

    // Lengths around those of the blocks, now and then a large one.
    int someLength()
    {
        constexpr int blockLengths[] = {0, 1, 15, 16, 31, 63, 127, 128, 255, 4095, 6142, 8191};
        return below(4) == 0 ? blockLengths[below(std::size(blockLengths))] : below(24);
    }

    // A position in or around the text that is to change.
    int somePosition()
    {
        if (below(20) == 0)
            return below(2) == 0 ? std::numeric_limits<int>::min()
                                 : std::numeric_limits<int>::max();
        return below(own->model.size() + 4) - 2;
    }

    char16_t someUnit()
    {
        constexpr char16_t alphabet[] = u"aab ,.ABz\u00E9\u0100\u0101\uFFFF\t\0";
        return alphabet[below(std::size(alphabet) - 1)];
    }
    char someByte() { return "ab ,A\xE9\xC9"[below(7)]; }
    unsigned short asUnit(char16_t unit) { return static_cast<unsigned short>(unit); }
    char16_t asWide(char byte) { return static_cast<unsigned char>(byte); }

    // A text that repeats a few units.
    Model someText(int length)
    {
        Model period(rules::sizeOf(below(4) + 1), u' ');
        std::generate(period.begin(), period.end(), [this] { return someUnit(); });
        Model text(rules::sizeOf(length), u' ');
        for (std::size_t at = 0; at < text.size(); ++at)
            text[at] = period[at % period.size()];
        return text;
    }
    Model someText() { return someText(someLength()); }
    // Something to look for: often a part of the text.
    Model somePattern()
    {
        if (below(2) == 0)
            return someText(below(4));
        const int start = below(own->model.size() + 1);
        return rules::substr(own->model, start, below(40));
    }
    std::string someBytes(int length)
    {
        std::string bytes(rules::sizeOf(length), ' ');
        std::generate(bytes.begin(), bytes.end(), [this] { return someByte(); });
        return bytes;
    }
    static Model widened(const std::string &bytes)
    {
        Model units;
        for (const char byte : bytes)
            units += static_cast<unsigned char>(byte);
        return units;
    }

    template <class T>
    void agree(const T &actual, const T &expected, const char *what)
    {
        if (gap.empty() && !(actual == expected))
            gap = std::string(what) + " differs";
    }

    void compareAll()
    {
        for (const Pair &pair : pool) {
            agree(unitsOf(pair.text), pair.model, &pair == own ? "the text" : "another text");
            agree(isTerminated(pair.text), true, "the terminator");
        }
    }

    // Assignment.

    void copy()
    {
        own->text = source->text;
        own->model = Model(source->model);
    }
    void construct()
    {
        own->text = String(source->text);
        own->model = Model(source->model);
    }
    void move()
    {
        String taken(std::move(source->text));
        const Model model = std::exchange(source->model, Model());
        own->text = std::move(taken);
        own->model = model;
    }
    void assignBytes()
    {
        const std::string bytes = someBytes(someLength());
        own->text = bytes.c_str();
        own->model = widened(bytes);
    }
    void assignUnits()
    {
        const Model text = someText();
        own->text = Units(text).data();
        own->model = rules::upToZero(text);
    }
    void constructUnits()
    {
        const Model text = someText();
        const int length = below(text.size() + 2) - 1;
        own->text = String(Units(text).data(), length);
        own->model = length < 0                      ? rules::upToZero(text)
                     : !text.empty() && text[0] == 0 ? Model()
                                                     : rules::substr(text, 0, length);
    }
    void assignUnit()
    {
        const char16_t unit = someUnit();
        own->text = asUnit(unit);
        own->model = Model(1, unit);
    }
    void assignByte()
    {
        const char byte = someByte();
        own->text = byte;
        own->model = Model(1, asWide(byte));
    }
    void assignOwnTail()
    {
        const int from = below(own->model.size() + 1);
        own->text = own->text.wstr() + from;
        own->model = rules::upToZero(own->model.substr(rules::sizeOf(from)));
    }

    // Appending and concatenation.

    void append()
    {
        const Model added = source->model;
        own->text.append(source->text);
        own->model += added;
    }
    void appendUnits()
    {
        const Model added = someText();
        const int length = below(added.size() + 2) - 1;
        own->text.append(Units(added).data(), length);
        own->model += length < 0 ? rules::upToZero(added) : rules::substr(added, 0, length);
    }
    void appendBytes()
    {
        const std::string added = someBytes(someLength());
        const int length = below(added.size() + 2) - 1;
        own->text.append(added.c_str(), length);
        own->model += rules::substr(widened(added), 0, length);
    }
    void appendUnit()
    {
        const char16_t unit = someUnit();
        for (int count = below(40); count >= 0; --count) {
            own->text += asUnit(unit);
            own->model += unit;
        }
    }
    void appendByte()
    {
        const char byte = someByte();
        own->text.append(byte);
        own->model += asWide(byte);
    }
    void appendOwnTail()
    {
        const int from = below(own->model.size() + 1);
        own->text.append(own->text.wstr() + from);
        own->model += rules::upToZero(own->model.substr(rules::sizeOf(from)));
    }
    void concatenate()
    {
        own->text = own->text + source->text;
        own->model += Model(source->model);
    }
    void concatenateBytes()
    {
        const std::string added = someBytes(someLength());
        const Model model = source->model + widened(added);
        own->text = source->text + added.c_str();
        own->model = model;
    }
    void concatenateUnits()
    {
        const Model added = someText();
        const Model model = source->model + rules::upToZero(added);
        own->text = source->text + Units(added).data();
        own->model = model;
    }
    void concatenateUnit()
    {
        const char16_t unit = someUnit();
        const Model model = source->model + unit;
        own->text = source->text + asUnit(unit);
        own->model = model;
    }

    // Edits.

    void insert()
    {
        const int pos = somePosition();
        const Model added = source->model;
        own->text.insert(source->text, pos);
        rules::insert(own->model, added, pos);
    }
    void insertBytes()
    {
        const int pos = somePosition();
        const std::string added = someBytes(someLength());
        own->text.insert(added.c_str(), pos);
        rules::insert(own->model, widened(added), pos);
    }
    void insertUnits()
    {
        const int pos = somePosition();
        const Model added = someText();
        own->text.insert(Units(added).data(), pos);
        rules::insert(own->model, rules::upToZero(added), pos);
    }
    void insertUnit()
    {
        const int pos = somePosition();
        const char16_t unit = someUnit();
        own->text.insert(asUnit(unit), pos);
        rules::insert(own->model, Model(1, unit), pos);
    }
    void insertByte()
    {
        const int pos = somePosition();
        const char byte = someByte();
        own->text.insert(byte, pos);
        rules::insert(own->model, Model(1, asWide(byte)), pos);
    }
    void insertOwnTail()
    {
        const int pos = somePosition();
        const int from = below(own->model.size() + 1);
        const Model added = rules::upToZero(own->model.substr(rules::sizeOf(from)));
        own->text.insert(own->text.wstr() + from, pos);
        rules::insert(own->model, added, pos);
    }
    void erasePart()
    {
        const int start = somePosition();
        const int count = somePosition();
        own->text.erase(start, count);
        rules::erase(own->model, start, count);
    }
    void erase()
    {
        own->text.erase();
        own->model.clear();
    }
    void clear()
    {
        own->text.clear();
        own->model.clear();
    }
    // New units hold no value; they are given one.
    void adjust()
    {
        const int before = own->text.length();
        const int length = someLength() - 1;
        own->text.adjust(length);
        rules::adjust(own->model, length);
        for (int at = before; at < length; ++at)
            own->text.set(at, 0);
    }
    void init()
    {
        const int length = someLength() - 1;
        own->text.init(length);
        own->model = Model(rules::sizeOf(std::max(length, 0)), u'x');
        for (int at = 0; at < length; ++at)
            own->text.set(at, u'x');
    }
    void setup()
    {
        const char16_t unit = someUnit();
        const int length = someLength();
        own->text.setup(asUnit(unit), length);
        own->model = Model(rules::sizeOf(length), unit);
    }
    void set()
    {
        const int at = somePosition();
        const char16_t unit = someUnit();
        own->text.set(at, asUnit(unit));
        if (at >= 0 && at < rules::lengthOf(own->model))
            own->model[rules::sizeOf(at)] = unit;
    }
    void takePart()
    {
        const int start = std::max(somePosition(), 0);
        const int count = somePosition();
        const Model part = rules::substr(source->model, start, count);
        own->text = source->text.substr(start, count);
        own->model = part;
    }
    void pin() { own->text.makeUnique(); }

    // Searching and comparison.

    void find()
    {
        const Model pattern = somePattern();
        const int start = somePosition();
        const String text = textOf(pattern);
        agree(own->text.find(text, start), rules::find(own->model, pattern, start, false), "find");
        agree(own->text.find(text, start, true), rules::find(own->model, pattern, start, true),
              "backward find");
        agree(own->text.findAny(text, start), rules::findAny(own->model, pattern, start),
              "findAny");
    }
    void findSource()
    {
        const int start = somePosition();
        agree(own->text.find(source->text, start),
              rules::find(own->model, source->model, start, false), "find");
    }
    void findUnit()
    {
        const char16_t unit = someUnit();
        const int start = somePosition();
        agree(own->text.find(asUnit(unit), start),
              rules::find(own->model, Model(1, unit), start, false), "find");
        agree(own->text.find(asUnit(unit), start, true),
              rules::find(own->model, Model(1, unit), start, true), "backward find");
    }
    void compare()
    {
        const Model upper = rules::mapped(own->model, UnicodeUtils::towupper);
        const Model otherUpper = rules::mapped(source->model, UnicodeUtils::towupper);
        const int count = somePosition();
        agree(own->text.cmp(source->text), rules::compare(own->model, source->model), "cmp");
        agree(own->text.ncmp(source->text, count), rules::compare(own->model, source->model, count),
              "ncmp");
        agree(own->text.ucmp(source->text), rules::compare(upper, otherUpper), "ucmp");
        agree(own->text.nucmp(source->text, count), rules::compare(upper, otherUpper, count),
              "nucmp");
        agree(own->text == source->text, own->model == source->model, "==");
    }
    void compareUnits()
    {
        const Model other = rules::upToZero(source->model);
        agree(own->text.cmp(source->text.wstr()), rules::compare(own->model, other), "cmp");
        agree(own->text.ucmp(source->text.wstr()),
              rules::compare(rules::mapped(own->model, UnicodeUtils::towupper),
                             rules::mapped(other, UnicodeUtils::towupper)),
              "ucmp");
    }
    void compareBytes()
    {
        // Often a beginning of the text.
        std::string bytes = someBytes(below(20));
        if (below(2) == 0)
            for (const char16_t unit : own->model.substr(0, 200))
                bytes.insert(bytes.begin(), static_cast<char>(unit));
        const std::string other = bytes.c_str();
        const int count = somePosition();
        agree(own->text.cmp(other.c_str()), rules::compare(own->model, widened(other)), "cmp");
        agree(own->text.ncmp(other.c_str(), count),
              rules::compare(own->model, widened(other), count), "ncmp");
        agree(own->text.nucmp(other.c_str(), count),
              rules::compare(rules::mapped(own->model, UnicodeUtils::towupper),
                             rules::mapped(widened(other), UnicodeUtils::towupper), count),
              "nucmp");
    }

    // Replacement.

    void replace()
    {
        const Model from = somePattern(), to = someText(below(4));
        const int start = somePosition();
        agree(own->text.replace(textOf(from), textOf(to), start),
              rules::replace(own->model, from, to, start), "replace");
    }
    void replaceBySource()
    {
        const Model from = somePattern(), to = source->model;
        const int start = somePosition();
        agree(own->text.replace(textOf(from), source->text, start),
              rules::replace(own->model, from, to, start), "replace");
    }
    void replaceAll()
    {
        const Model from = somePattern(), to = someText(below(4));
        const int start = somePosition();
        agree(own->text.replaceAll(textOf(from), textOf(to), start),
              rules::replaceAll(own->model, from, to, start), "replaceAll");
    }
    void replaceAllOfSource()
    {
        const Model from = source->model, to = someText(below(4));
        const int start = somePosition();
        agree(own->text.replaceAll(source->text, textOf(to), start),
              rules::replaceAll(own->model, from, to, start), "replaceAll");
    }
    void replaceAllByItself()
    {
        const Model from = someText(1), to = own->model.substr(0, 50);
        own->text.adjust(rules::lengthOf(to));
        own->model = to;
        const int start = somePosition();
        agree(own->text.replaceAll(textOf(from), own->text, start),
              rules::replaceAll(own->model, from, to, start), "replaceAll");
    }
    void replaceUnits()
    {
        const char16_t from = someUnit(), to = someUnit();
        const int start = somePosition();
        agree(own->text.replaceAll(asUnit(from), asUnit(to), start),
              rules::replaceAll(own->model, Model(1, from), Model(1, to), start), "replaceAll");
    }
    void split()
    {
        const Model delimiter = somePattern();
        agree(unitsOf(own->text.split(textOf(delimiter))), rules::split(own->model, delimiter),
              "split");
    }
    void strip()
    {
        own->text.strip();
        own->model = rules::stripped(own->model);
    }

    // Case.

    void lower() { map(own->text.toLower(), rules::mapped(own->model, UnicodeUtils::towlower)); }
    void upper() { map(own->text.toUpper(), rules::mapped(own->model, UnicodeUtils::towupper)); }
    void mixed() { map(own->text.toMixed(), rules::mixed(own->model)); }
    void map(bool changed, const Model &result)
    {
        agree(changed, own->model != result, "whether it changed");
        own->model = result;
    }

    Choices &choices;
    std::array<Pair, poolSize> pool;
    Pair *own = nullptr;    // the string that is to change
    Pair *source = nullptr; // where it takes text from; may be the same
    std::string gap;
};

template <class Choices>
constexpr typename StringWalk<Choices>::Operation StringWalk<Choices>::operations[] = {
    {"copy", &StringWalk::copy},
    {"construct", &StringWalk::construct},
    {"move", &StringWalk::move},
    {"assignBytes", &StringWalk::assignBytes},
    {"assignUnits", &StringWalk::assignUnits},
    {"constructUnits", &StringWalk::constructUnits},
    {"assignUnit", &StringWalk::assignUnit},
    {"assignByte", &StringWalk::assignByte},
    {"assignOwnTail", &StringWalk::assignOwnTail},
    {"append", &StringWalk::append},
    {"appendUnits", &StringWalk::appendUnits},
    {"appendBytes", &StringWalk::appendBytes},
    {"appendUnit", &StringWalk::appendUnit},
    {"appendByte", &StringWalk::appendByte},
    {"appendOwnTail", &StringWalk::appendOwnTail},
    {"concatenate", &StringWalk::concatenate},
    {"concatenateBytes", &StringWalk::concatenateBytes},
    {"concatenateUnits", &StringWalk::concatenateUnits},
    {"concatenateUnit", &StringWalk::concatenateUnit},
    {"insert", &StringWalk::insert},
    {"insertBytes", &StringWalk::insertBytes},
    {"insertUnits", &StringWalk::insertUnits},
    {"insertUnit", &StringWalk::insertUnit},
    {"insertByte", &StringWalk::insertByte},
    {"insertOwnTail", &StringWalk::insertOwnTail},
    {"erasePart", &StringWalk::erasePart},
    {"erase", &StringWalk::erase},
    {"clear", &StringWalk::clear},
    {"adjust", &StringWalk::adjust},
    {"init", &StringWalk::init},
    {"setup", &StringWalk::setup},
    {"set", &StringWalk::set},
    {"takePart", &StringWalk::takePart},
    {"pin", &StringWalk::pin},
    {"find", &StringWalk::find},
    {"findSource", &StringWalk::findSource},
    {"findUnit", &StringWalk::findUnit},
    {"compare", &StringWalk::compare},
    {"compareUnits", &StringWalk::compareUnits},
    {"compareBytes", &StringWalk::compareBytes},
    {"replace", &StringWalk::replace},
    {"replaceBySource", &StringWalk::replaceBySource},
    {"replaceAll", &StringWalk::replaceAll},
    {"replaceAllOfSource", &StringWalk::replaceAllOfSource},
    {"replaceAllByItself", &StringWalk::replaceAllByItself},
    {"replaceUnits", &StringWalk::replaceUnits},
    {"split", &StringWalk::split},
    {"strip", &StringWalk::strip},
    {"lower", &StringWalk::lower},
    {"upper", &StringWalk::upper},
    {"mixed", &StringWalk::mixed},
};

} // namespace Tavrin::test
