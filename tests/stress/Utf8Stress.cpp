// SPDX-License-Identifier: MIT
// Every sequence of four bytes through every set of UTF-8 routines, by itself and within a block of
// text, beside the naive rules. Ends with 1 when something was wrong.
//
// Sequences that begin with no lead byte tell nothing that shorter ones do not, so that the first
// byte runs from 0xC0 on.
#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <string_view>

#include <CLI/CLI.hpp>

#include "encoders/Utf8Naive.h"

using namespace Tavrin;
using test::Decoded;

namespace {

constexpr int sequenceLength = 4;
constexpr int roomForSequence = 8;
constexpr std::size_t before = 30; // ASCII in front of the sequence, and as much of it behind
constexpr std::size_t textLength = 96;

struct Plan
{
    unsigned firstLead = 0xC0;
    unsigned lastLead = 0xFF;
    unsigned step = 1; // between the second bytes
};

bool agrees(const detail::Utf8Routines &routines, std::string_view bytes, const Decoded &expected)
{
    std::array<unsigned short, textLength> units;
    const auto room = static_cast<int>(bytes.size()) + roomForSequence;
    const detail::Conversion found =
        routines.decode(bytes.data(), static_cast<int>(bytes.size()), units.data(),
                        std::min(room, static_cast<int>(units.size())));
    return found == expected.conversion &&
           std::equal(expected.text.begin(), expected.text.end(), units.begin());
}

// What the text gives, from what its sequence gives.
Decoded within(const Decoded &sequence)
{
    Decoded text;
    text.text = std::u16string(before, u'a') + sequence.text;
    text.conversion = sequence.conversion;
    text.conversion.consumed += static_cast<int>(before);
    if (sequence.conversion.code == 0) {
        const std::size_t behind = textLength - before - sequenceLength;
        text.text += std::u16string(behind, u'a');
        text.conversion.consumed += static_cast<int>(behind);
    }
    text.conversion.produced = static_cast<int>(text.text.size());
    return text;
}

class Trial
{
public:
    // False, and a line that says so, when a set differs.
    bool passes(std::string_view sequence)
    {
        const Decoded expected = test::decodeNaively(sequence, roomForSequence);
        std::copy(sequence.begin(), sequence.end(), text.begin() + before);
        // Behind the end of the sequence the text goes on with ASCII.
        const std::string_view extended(text.data() + before, sequenceLength + 5);
        const Decoded inText = within(withoutAscii(test::decodeNaively(extended, 16)));
        bool isRight = true;
        for (const test::NamedRoutines &set : test::utf8RoutineSets()) {
            if (agrees(*set.routines, sequence, expected) &&
                agrees(*set.routines, {text.data(), text.size()}, inText))
                continue;
            isRight = false;
            std::printf("%s:", set.name);
            for (const char byte : sequence)
                std::printf(" %02X", static_cast<unsigned>(static_cast<unsigned char>(byte)));
            std::printf("\n");
        }
        return isRight;
    }

private:
    // What the sequence alone contributes when all went well to the end.
    static Decoded withoutAscii(Decoded decoded)
    {
        if (decoded.conversion.code == 0) {
            decoded.text.resize(decoded.text.size() - 5);
            decoded.conversion.consumed -= 5;
        }
        return decoded;
    }

    std::array<char, textLength> text = [] {
        std::array<char, textLength> filled;
        filled.fill('a');
        return filled;
    }();
};

bool run(const Plan &plan)
{
    Trial trial;
    bool isRight = true;
    for (unsigned lead = plan.firstLead; lead <= plan.lastLead; ++lead) {
        for (unsigned second = 0; second < 0x100; second += plan.step)
            for (unsigned rest = 0; rest < 0x10000; rest += plan.step) {
                const char sequence[] = {static_cast<char>(lead), static_cast<char>(second),
                                         static_cast<char>(rest >> 8),
                                         static_cast<char>(rest & 0xFF)};
                isRight = trial.passes({sequence, sequenceLength}) && isRight;
            }
        std::printf("%02X %s\n", lead, isRight ? "as expected" : "WRONG");
        std::fflush(stdout);
    }
    return isRight;
}

} // namespace

int main(int argc, char **argv)
{
    Plan plan;
    bool isQuick = false;
    CLI::App app("Every UTF-8 sequence of four bytes");
    app.add_option("--first-lead", plan.firstLead, "the first byte to begin with");
    app.add_option("--last-lead", plan.lastLead, "the first byte to end with");
    app.add_flag("--quick", isQuick, "only a few hundred thousand of them");
    CLI11_PARSE(app, argc, argv);
    if (isQuick)
        plan.step = 51;
    return run(plan) ? 0 : 1;
}
