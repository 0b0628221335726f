// SPDX-License-Identifier: MIT
// Numbers to text and back beside std::to_chars and std::from_chars, for millions of doubles of
// every kind. Where the rules agree the results have to be the same: digits of printf in every
// form, numbers of up to 15 digits and small powers of ten. Elsewhere a scanned number may be a few
// doubles beside the nearest one; the farthest is printed. Ends with 1 when something was wrong.
#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <limits>
#include <random>
#include <string>

#include <CLI/CLI.hpp>

#include <tavrin/InitTerm.h>
#include <tavrin/String.h>
#include <tavrin/Variant.h>

#include "support/TextUnits.h"

using namespace Tavrin;
using test::bytesOf;

namespace {

constexpr int conversionFlags = 0x101;
constexpr std::int64_t mostOff = 8; // doubles

std::string printed(double value, std::chars_format format, int places)
{
    char text[400];
    return {text, std::to_chars(std::begin(text), std::end(text), value, format, places).ptr};
}

std::string shortest(double value)
{
    char text[64];
    return {text, std::to_chars(std::begin(text), std::end(text), value).ptr};
}

// "e+05" and "e-07" as "e+5" and "e-7".
std::string withShortExponent(std::string text)
{
    const std::size_t marker = text.find('e');
    if (marker != std::string::npos && text[marker + 2] == '0')
        text.erase(marker + 2, 1);
    return text;
}

std::string withoutZeros(std::string text)
{
    const std::size_t marker = std::min(text.find('e'), text.size());
    const std::string exponent = text.substr(marker);
    text.resize(marker);
    if (text.find('.') != std::string::npos) {
        text.erase(text.find_last_not_of('0') + 1);
        if (text.back() == '.')
            text.pop_back();
    }
    return text + exponent;
}

// The text by the rules, out of the digits of std::to_chars.
std::string expectedText(double value)
{
    const double magnitude = std::fabs(value);
    if (magnitude == std::numeric_limits<double>::max())
        return shortest(value);
    if (magnitude < 1e21 && magnitude == std::trunc(magnitude)) {
        std::string digits = printed(value == 0 ? 0 : value, std::chars_format::fixed, 0);
        const std::size_t first = value < 0 ? 1 : 0;
        for (std::size_t at = first + 17; at < digits.size(); ++at)
            digits[at] = '0';
        return digits;
    }
    if (magnitude < 1e-6 || magnitude >= 1e21)
        return withShortExponent(withoutZeros(printed(value, std::chars_format::scientific, 14)));
    const int digits = magnitude < 1 ? 0 : static_cast<int>(std::log10(magnitude)) + 1;
    return withoutZeros(printed(value, std::chars_format::fixed, std::clamp(15 - digits, 0, 14)));
}

std::int64_t distance(double a, double b)
{
    return std::abs(std::bit_cast<std::int64_t>(a) - std::bit_cast<std::int64_t>(b));
}

class Oracle
{
public:
    void check(double value)
    {
        ++checked;
        number.setDouble(value);
        compare("to text", value, bytesOf(number.getString()), expectedText(value));
        compare("fixed", value, bytesOf(number.getString(1, 2)), fixedText(value));
        compare("exponential", value, bytesOf(number.getString(2, 9)),
                withShortExponent(printed(value, std::chars_format::scientific, 9)));
        scanBack(value);
    }

    int report() const
    {
        std::printf("%lld numbers, %lld wrong; scanned numbers are %lld doubles off at most, %lld "
                    "of them are the nearest\n",
                    static_cast<long long>(checked), static_cast<long long>(wrong),
                    static_cast<long long>(farthest), static_cast<long long>(nearest));
        return wrong == 0 ? 0 : 1;
    }

private:
    static std::string fixedText(double value)
    {
        const double magnitude = std::fabs(value);
        const int digits = magnitude < 1 ? 0 : static_cast<int>(std::log10(magnitude)) + 1;
        const int places = std::clamp(15 - digits, 0, 2);
        std::string text = printed(value, std::chars_format::fixed, places);
        if (places == 0) {
            for (std::size_t at = (value < 0 ? 1U : 0U) + 17; at < text.size(); ++at)
                text[at] = '0';
            text += '.';
        }
        return text + std::string(static_cast<std::size_t>(2 - places), '0');
    }

    void scanBack(double value)
    {
        const std::string text = shortest(value);
        const double scanned = Variant::scanDouble(text.c_str(), conversionFlags, nullptr);
        const auto digits = std::count_if(text.begin(), std::find(text.begin(), text.end(), 'e'),
                                          [](char c) { return c >= '0' && c <= '9'; });
        const double magnitude = std::fabs(value);
        if (digits <= 15 && (magnitude == 0 || (magnitude > 1e-7 && magnitude < 1e22))) {
            if (std::bit_cast<std::uint64_t>(scanned) != std::bit_cast<std::uint64_t>(value))
                fail("scan", value, bytesOf(String(text.c_str())), shortest(scanned));
            ++nearest;
            return;
        }
        // The scale of the digits, not the value, has to stay above 1e-308.
        if (magnitude < 1e-290 || magnitude > 1e308)
            return;
        const std::int64_t off = distance(scanned, value);
        farthest = std::max(farthest, off);
        nearest += off == 0 ? 1 : 0;
        if (off > mostOff)
            fail("scan", value, text, shortest(scanned));
    }

    void compare(const char *what, double value, const std::string &text,
                 const std::string &expected)
    {
        if (text != expected)
            fail(what, value, text, expected);
    }

    void fail(const char *what, double value, const std::string &text, const std::string &expected)
    {
        if (++wrong <= 20)
            std::printf("%s of %a: %s, not %s\n", what, value, text.c_str(), expected.c_str());
    }

    Variant number;
    std::int64_t checked = 0;
    std::int64_t wrong = 0;
    std::int64_t farthest = 0;
    std::int64_t nearest = 0;
};

// A double of each kind for each random number.
int run(std::int64_t count, std::uint64_t seed)
{
    Oracle oracle;
    std::mt19937_64 random(seed);
    for (; count > 0; --count) {
        const std::uint64_t bits = random();
        const double any = std::bit_cast<double>(bits);
        if (std::isfinite(any))
            oracle.check(any);
        oracle.check(static_cast<double>(bits % 10'000'000'000) / 100);
        oracle.check(static_cast<double>(static_cast<std::int64_t>(bits) >> (bits % 60)));
        oracle.check(
            std::ldexp(static_cast<double>(bits >> 11), static_cast<int>(bits % 200) - 150));
    }
    return oracle.report();
}

} // namespace

int main(int count, char **arguments)
{
    CLI::App app("Numbers to text and back beside std::to_chars and std::from_chars");
    std::int64_t numbers = 10'000'000;
    std::uint64_t seed = 1;
    bool isQuick = false;
    app.add_option("--numbers", numbers, "how many doubles of each kind");
    app.add_option("--seed", seed, "of the random numbers");
    app.add_flag("--quick", isQuick, "a run of a second");
    CLI11_PARSE(app, count, arguments);
    InitTerm::init();
    const int result = run(isQuick ? 20'000 : numbers, seed);
    InitTerm::exit();
    return result;
}
