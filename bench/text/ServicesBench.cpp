// SPDX-License-Identifier: MIT
// What strings do with their text, and numbers to text and back, beside what a user would call
// instead. Operations that change a text work on a copy, here and at the peers.
#include <charconv>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <QString>
#include <QUrl>
#include <benchmark/benchmark.h>
#include <double-conversion/double-conversion.h>

#include <tavrin/InitTerm.h>
#include <tavrin/String.h>
#include <tavrin/Variant.h>

#include "support/CaseName.h"

namespace bench {

namespace {

using Tavrin::String;
using Tavrin::Variant;

// Words and now and then a character from outside ASCII, cut to the length.
std::u16string prose(std::size_t length, const std::u16string &everyFourthWord)
{
    constexpr const char16_t *words[] = {u"the", u"layer",  u"of",     u"text", u"is",
                                         u"set", u"behind", u"colour", u"and",  u"moved"};
    std::mt19937 random(9);
    std::u16string text;
    for (std::size_t count = 1; text.size() < length; ++count) {
        text += words[random() % std::size(words)];
        text += count % 4 == 0 ? everyFourthWord : u" ";
    }
    text.resize(length, u'.');
    return text;
}

String stringOf(const std::u16string &units)
{
    return String(units);
}

QString qtOf(const std::u16string &units)
{
    return QString::fromStdU16String(units);
}

// Escaping, percent signs, replacement and line ends.

const std::u16string quoted = u" \"quoted\"\n";
const std::u16string accented = u" caf\x00E9/";
const std::u16string sought = u" needle ";
const std::u16string lineEnd = u"\n";

void escape(benchmark::State &state, std::size_t size)
{
    String text = stringOf(prose(size, quoted));
    for (auto step : state) {
        benchmark::DoNotOptimize(text);
        String result = text.escape(false);
        benchmark::DoNotOptimize(result);
    }
}

// There is no literal in Qt; this looks for as many characters, and writes longer escapes.
void escapeQt(benchmark::State &state, std::size_t size)
{
    QString text = qtOf(prose(size, quoted));
    for (auto step : state) {
        benchmark::DoNotOptimize(text);
        QString result = text.toHtmlEscaped();
        benchmark::DoNotOptimize(result);
    }
}

void encodeUri(benchmark::State &state, std::size_t size)
{
    const String text = stringOf(prose(size, accented));
    for (auto step : state) {
        String result = text;
        benchmark::DoNotOptimize(result.encodeURI("/"));
        benchmark::DoNotOptimize(result);
    }
}

void encodeUriQt(benchmark::State &state, std::size_t size)
{
    QString text = qtOf(prose(size, accented));
    for (auto step : state) {
        benchmark::DoNotOptimize(text);
        QByteArray result = QUrl::toPercentEncoding(text, "/");
        benchmark::DoNotOptimize(result);
    }
}

std::string encodedUri(std::size_t size)
{
    return QUrl::toPercentEncoding(qtOf(prose(size, accented)), "/").toStdString();
}

void decodeUri(benchmark::State &state, std::size_t size)
{
    const String text(encodedUri(size).c_str());
    for (auto step : state) {
        String result = text;
        benchmark::DoNotOptimize(result.decodeURI());
        benchmark::DoNotOptimize(result);
    }
}

void decodeUriQt(benchmark::State &state, std::size_t size)
{
    QByteArray text = QByteArray::fromStdString(encodedUri(size));
    for (auto step : state) {
        benchmark::DoNotOptimize(text);
        QString result = QUrl::fromPercentEncoding(text);
        benchmark::DoNotOptimize(result);
    }
}

void replaceAll(benchmark::State &state, std::size_t size)
{
    const String text = stringOf(prose(size, sought));
    const String from(sought);
    const String to(u" something ");
    for (auto step : state) {
        String result = text;
        benchmark::DoNotOptimize(result.replaceAll(from, to));
        benchmark::DoNotOptimize(result);
    }
}

void replaceAllQt(benchmark::State &state, std::size_t size)
{
    const QString text = qtOf(prose(size, sought));
    const QString from = qtOf(sought);
    const QString to = qtOf(u" something ");
    for (auto step : state) {
        QString result = text;
        result.replace(from, to);
        benchmark::DoNotOptimize(result);
    }
}

void convertLineEnds(benchmark::State &state, std::size_t size)
{
    const String text = stringOf(prose(size, lineEnd));
    for (auto step : state) {
        String result = text;
        benchmark::DoNotOptimize(result.convertLF(String::kCRLF));
        benchmark::DoNotOptimize(result);
    }
}

void convertLineEndsQt(benchmark::State &state, std::size_t size)
{
    const QString text = qtOf(prose(size, lineEnd));
    const QString from = qtOf(u"\n");
    const QString to = qtOf(u"\r\n");
    for (auto step : state) {
        QString result = text;
        result.replace(from, to);
        benchmark::DoNotOptimize(result);
    }
}

// A message, size times.

constexpr char message[] = "%s: line %d, column %d: expected '%s' but found '%c' (%.2f %%)";

void print(benchmark::State &state, std::size_t size)
{
    String text;
    int line = 0;
    for (auto step : state)
        for (std::size_t count = 0; count < size; ++count) {
            text.print(message, "document.xml", ++line, 17, "</name>", 'x', 99.5);
            benchmark::DoNotOptimize(text);
        }
}

void printQt(benchmark::State &state, std::size_t size)
{
    QString text;
    int line = 0;
    for (auto step : state)
        for (std::size_t count = 0; count < size; ++count) {
            text = QString::asprintf(message, "document.xml", ++line, 17, "</name>", 'x', 99.5);
            benchmark::DoNotOptimize(text);
        }
}

void printC(benchmark::State &state, std::size_t size)
{
    char text[256];
    int line = 0;
    for (auto step : state)
        for (std::size_t count = 0; count < size; ++count) {
            std::snprintf(text, sizeof text, message, "document.xml", ++line, 17, "</name>", 'x',
                          99.5);
            benchmark::DoNotOptimize(text);
        }
}

// Numbers to text and back.

using Numbers = std::vector<double>;

Numbers randomNumbers(std::size_t size)
{
    std::mt19937_64 random(1);
    Numbers numbers;
    while (numbers.size() < size) {
        const std::uint64_t bits = random();
        double number = 0;
        std::memcpy(&number, &bits, sizeof number);
        if (number < 1e300 && number > -1e300)
            numbers.push_back(number);
    }
    return numbers;
}

Numbers moneyNumbers(std::size_t size)
{
    std::mt19937_64 random(2);
    Numbers numbers(size);
    for (double &number : numbers)
        number = static_cast<double>(random() % 10'000'000) / 100;
    return numbers;
}

Numbers integerNumbers(std::size_t size)
{
    std::mt19937_64 random(3);
    Numbers numbers(size);
    for (double &number : numbers)
        number = static_cast<double>(random() >> (32 + random() % 32));
    return numbers;
}

using MakeNumbers = Numbers (*)(std::size_t);

template <MakeNumbers make>
void toText(benchmark::State &state, std::size_t size)
{
    const Numbers numbers = make(size);
    Variant value;
    for (auto step : state)
        for (const double number : numbers) {
            value.setDouble(number);
            benchmark::DoNotOptimize(value.getString().wstr());
        }
}

template <MakeNumbers make>
void toTextCharconv(benchmark::State &state, std::size_t size)
{
    const Numbers numbers = make(size);
    char text[64];
    for (auto step : state)
        for (const double number : numbers) {
            benchmark::DoNotOptimize(std::to_chars(std::begin(text), std::end(text), number).ptr);
            benchmark::DoNotOptimize(text);
        }
}

template <MakeNumbers make>
void toTextDoubleConversion(benchmark::State &state, std::size_t size)
{
    const Numbers numbers = make(size);
    const auto &converter = double_conversion::DoubleToStringConverter::EcmaScriptConverter();
    char text[64];
    for (auto step : state)
        for (const double number : numbers) {
            double_conversion::StringBuilder builder(text, sizeof text);
            converter.ToShortest(number, &builder);
            benchmark::DoNotOptimize(builder.Finalize());
        }
}

template <MakeNumbers make>
void toTextQt(benchmark::State &state, std::size_t size)
{
    const Numbers numbers = make(size);
    for (auto step : state)
        for (const double number : numbers) {
            QString text = QString::number(number, 'g', 15);
            benchmark::DoNotOptimize(text);
        }
}

std::vector<std::string> textsOf(const Numbers &numbers)
{
    std::vector<std::string> texts;
    for (const double number : numbers) {
        char text[64];
        texts.emplace_back(text, std::to_chars(std::begin(text), std::end(text), number).ptr);
    }
    return texts;
}

template <MakeNumbers make>
void fromText(benchmark::State &state, std::size_t size)
{
    std::vector<String> texts;
    for (const std::string &text : textsOf(make(size)))
        texts.emplace_back(text.c_str());
    for (auto step : state)
        for (const String &text : texts)
            benchmark::DoNotOptimize(Variant::scanDouble(text, 257, nullptr));
}

template <MakeNumbers make>
void fromTextCharconv(benchmark::State &state, std::size_t size)
{
    const std::vector<std::string> texts = textsOf(make(size));
    for (auto step : state)
        for (const std::string &text : texts) {
            double number = 0;
            std::from_chars(text.data(), text.data() + text.size(), number);
            benchmark::DoNotOptimize(number);
        }
}

template <MakeNumbers make>
void fromTextDoubleConversion(benchmark::State &state, std::size_t size)
{
    const std::vector<std::string> texts = textsOf(make(size));
    const double_conversion::StringToDoubleConverter converter(
        double_conversion::StringToDoubleConverter::NO_FLAGS, 0, 0, nullptr, nullptr);
    for (auto step : state)
        for (const std::string &text : texts) {
            int read = 0;
            benchmark::DoNotOptimize(
                converter.StringToDouble(text.data(), static_cast<int>(text.size()), &read));
        }
}

template <MakeNumbers make>
void fromTextQt(benchmark::State &state, std::size_t size)
{
    std::vector<QString> texts;
    for (const std::string &text : textsOf(make(size)))
        texts.push_back(QString::fromStdString(text));
    for (auto step : state)
        for (const QString &text : texts)
            benchmark::DoNotOptimize(text.toDouble());
}

struct Case
{
    const char *name;
    const char *who;
    void (*run)(benchmark::State &state, std::size_t size);
};

constexpr Case textCases[] = {
    {"string-escape", "tavrin", escape},
    {"string-escape", "qt", escapeQt},
    {"string-encode-uri", "tavrin", encodeUri},
    {"string-encode-uri", "qt", encodeUriQt},
    {"string-decode-uri", "tavrin", decodeUri},
    {"string-decode-uri", "qt", decodeUriQt},
    {"string-replace-all", "tavrin", replaceAll},
    {"string-replace-all", "qt", replaceAllQt},
    {"string-line-ends", "tavrin", convertLineEnds},
    {"string-line-ends", "qt", convertLineEndsQt},
};

constexpr Case countedCases[] = {
    {"string-print", "tavrin", print},
    {"string-print", "qt", printQt},
    {"string-print", "snprintf", printC},
    {"number-to-text-random", "tavrin", toText<randomNumbers>},
    {"number-to-text-random", "charconv", toTextCharconv<randomNumbers>},
    {"number-to-text-random", "double-conversion", toTextDoubleConversion<randomNumbers>},
    {"number-to-text-random", "qt", toTextQt<randomNumbers>},
    {"number-to-text-money", "tavrin", toText<moneyNumbers>},
    {"number-to-text-money", "charconv", toTextCharconv<moneyNumbers>},
    {"number-to-text-money", "double-conversion", toTextDoubleConversion<moneyNumbers>},
    {"number-to-text-money", "qt", toTextQt<moneyNumbers>},
    {"number-to-text-integer", "tavrin", toText<integerNumbers>},
    {"number-to-text-integer", "charconv", toTextCharconv<integerNumbers>},
    {"number-to-text-integer", "double-conversion", toTextDoubleConversion<integerNumbers>},
    {"number-to-text-integer", "qt", toTextQt<integerNumbers>},
    {"text-to-number-random", "tavrin", fromText<randomNumbers>},
    {"text-to-number-random", "charconv", fromTextCharconv<randomNumbers>},
    {"text-to-number-random", "double-conversion", fromTextDoubleConversion<randomNumbers>},
    {"text-to-number-random", "qt", fromTextQt<randomNumbers>},
    {"text-to-number-money", "tavrin", fromText<moneyNumbers>},
    {"text-to-number-money", "charconv", fromTextCharconv<moneyNumbers>},
    {"text-to-number-money", "double-conversion", fromTextDoubleConversion<moneyNumbers>},
    {"text-to-number-money", "qt", fromTextQt<moneyNumbers>},
    {"text-to-number-integer", "tavrin", fromText<integerNumbers>},
    {"text-to-number-integer", "charconv", fromTextCharconv<integerNumbers>},
    {"text-to-number-integer", "double-conversion", fromTextDoubleConversion<integerNumbers>},
    {"text-to-number-integer", "qt", fromTextQt<integerNumbers>},
};

void registerCases()
{
    for (const Case &row : textCases)
        for (const std::size_t size : {100U, 1000U, 10000U})
            benchmark::RegisterBenchmark(caseName(row.name, row.who, size).c_str(), row.run, size);
    for (const Case &row : countedCases)
        for (const std::size_t size : {10U, 100U, 1000U})
            benchmark::RegisterBenchmark(caseName(row.name, row.who, size).c_str(), row.run, size);
}

} // namespace

} // namespace bench

int main(int count, char **arguments)
{
    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments))
        return 1;
    Tavrin::InitTerm::init();
    bench::registerCases();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    Tavrin::InitTerm::exit();
    return 0;
}
