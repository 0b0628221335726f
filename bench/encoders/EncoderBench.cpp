// SPDX-License-Identifier: MIT
// Encoders beside the converters that a user would take instead. Two families of cases: the
// conversions by themselves, from one buffer to another, and those that make a string or bytes.
#include <cstdlib>
#include <string>
#include <vector>

#include <QString>
#include <QStringDecoder>
#include <QStringEncoder>
#include <benchmark/benchmark.h>
#include <iconv.h>
#include <unicode/ucnv.h>
#include <unicode/unistr.h>
#include <unicode/ustring.h>

#include <tavrin/Encoder.h>
#include <tavrin/InitTerm.h>
#include <tavrin/String.h>

#include "encoders/Corpus.h"
#include "support/CaseName.h"

namespace bench {

namespace {

// The text in both forms, and a room for either.
struct Sample
{
    std::string bytes;
    std::vector<unsigned short> units;
    std::vector<char> byteRoom;
    std::vector<unsigned short> unitRoom;

    int byteCount() const { return static_cast<int>(bytes.size()); }
    int unitCount() const { return static_cast<int>(units.size()); }
    const char16_t *text() const { return reinterpret_cast<const char16_t *>(units.data()); }
    char16_t *textRoom() { return reinterpret_cast<char16_t *>(unitRoom.data()); }
};

// Whether a conversion gave what the sample says; a peer that did less work would win for nothing.
void expectCount(long long found, long long expected)
{
    if (found != expected)
        std::abort();
}

struct Tavrin
{
    static constexpr const char *name = "tavrin";

    explicit Tavrin(const char *encoding) : encoder(::Tavrin::Encoder::get(encoding)) {}

    void decode(Sample &sample)
    {
        int consumed = sample.byteCount();
        int produced = sample.unitCount();
        encoder->toUnicode(sample.bytes.data(), consumed, sample.unitRoom.data(), produced, false);
        expectCount(produced, sample.unitCount());
    }

    void encode(Sample &sample)
    {
        int consumed = sample.unitCount();
        int produced = sample.byteCount();
        encoder->toMBCS(sample.units.data(), consumed, sample.byteRoom.data(), produced, false);
        expectCount(produced, sample.byteCount());
    }

    void decodeString(Sample &sample)
    {
        ::Tavrin::String string;
        string.decode(sample.bytes.data(), sample.byteCount(), encoder);
        expectCount(string.length(), sample.unitCount());
    }

    void encodeString(Sample &sample)
    {
        if (string.length() == 0)
            string.append(sample.units.data(), sample.unitCount());
        const char *bytes = nullptr;
        int length = 0;
        string.encode(bytes, length, encoder);
        expectCount(length, sample.byteCount());
    }

    const ::Tavrin::Encoder *encoder;
    ::Tavrin::String string;
};

class Iconv
{
public:
    static constexpr const char *name = "iconv";

    explicit Iconv(const char *encoding)
        : decoder(iconv_open("UTF-16LE", encoding)), encoder(iconv_open(encoding, "UTF-16LE"))
    {}
    ~Iconv()
    {
        iconv_close(decoder);
        iconv_close(encoder);
    }

    void decode(Sample &sample)
    {
        expectCount(run(decoder, sample.bytes.data(), sample.bytes.size(), sample.unitRoom.data(),
                        sample.unitRoom.size() * 2),
                    sample.unitCount() * 2LL);
    }

    void encode(Sample &sample)
    {
        expectCount(run(encoder, sample.units.data(), sample.units.size() * 2,
                        sample.byteRoom.data(), sample.byteRoom.size()),
                    sample.byteCount());
    }

private:
    static long long run(iconv_t handle, const void *from, std::size_t length, void *to,
                         std::size_t room)
    {
        auto *src = const_cast<char *>(static_cast<const char *>(from));
        auto *dst = static_cast<char *>(to);
        iconv(handle, &src, &length, &dst, &room);
        return dst - static_cast<char *>(to);
    }

    iconv_t decoder;
    iconv_t encoder;
};

// ICU's own routines for UTF-8.
struct IcuUtf8
{
    static constexpr const char *name = "icu";

    explicit IcuUtf8(const char *) {}

    void decode(Sample &sample)
    {
        UErrorCode code = U_ZERO_ERROR;
        int length = 0;
        u_strFromUTF8(sample.textRoom(), static_cast<int>(sample.unitRoom.size()), &length,
                      sample.bytes.data(), sample.byteCount(), &code);
        expectCount(length, sample.unitCount());
    }

    void encode(Sample &sample)
    {
        UErrorCode code = U_ZERO_ERROR;
        int length = 0;
        u_strToUTF8(sample.byteRoom.data(), static_cast<int>(sample.byteRoom.size()), &length,
                    sample.text(), sample.unitCount(), &code);
        expectCount(length, sample.byteCount());
    }

    void decodeString(Sample &sample)
    {
        const auto string =
            icu::UnicodeString::fromUTF8(icu::StringPiece(sample.bytes.data(), sample.byteCount()));
        expectCount(string.length(), sample.unitCount());
    }

    void encodeString(Sample &sample)
    {
        if (string.isEmpty())
            string = icu::UnicodeString(sample.text(), sample.unitCount());
        std::string bytes;
        string.toUTF8String(bytes);
        expectCount(static_cast<long long>(bytes.size()), sample.byteCount());
    }

    icu::UnicodeString string;
};

// ICU's converters, of any encoding.
class IcuConverter
{
public:
    static constexpr const char *name = "icu-converter";

    explicit IcuConverter(const char *encoding)
    {
        UErrorCode code = U_ZERO_ERROR;
        converter = ucnv_open(encoding, &code);
    }
    ~IcuConverter() { ucnv_close(converter); }

    void decode(Sample &sample)
    {
        UErrorCode code = U_ZERO_ERROR;
        expectCount(ucnv_toUChars(converter, sample.textRoom(),
                                  static_cast<int>(sample.unitRoom.size()), sample.bytes.data(),
                                  sample.byteCount(), &code),
                    sample.unitCount());
    }

    void encode(Sample &sample)
    {
        UErrorCode code = U_ZERO_ERROR;
        expectCount(ucnv_fromUChars(converter, sample.byteRoom.data(),
                                    static_cast<int>(sample.byteRoom.size()), sample.text(),
                                    sample.unitCount(), &code),
                    sample.byteCount());
    }

private:
    UConverter *converter = nullptr;
};

struct Qt
{
    static constexpr const char *name = "qt";

    explicit Qt(const char *) {}

    void decode(Sample &sample)
    {
        QStringDecoder decoder(QStringDecoder::Utf8);
        auto *begin = reinterpret_cast<QChar *>(sample.textRoom());
        const QChar *end =
            decoder.appendToBuffer(begin, QByteArrayView(sample.bytes.data(), sample.byteCount()));
        expectCount(end - begin, sample.unitCount());
    }

    void encode(Sample &sample)
    {
        QStringEncoder encoder(QStringEncoder::Utf8);
        const char *end = encoder.appendToBuffer(sample.byteRoom.data(),
                                                 QStringView(sample.text(), sample.unitCount()));
        expectCount(end - sample.byteRoom.data(), sample.byteCount());
    }

    void decodeString(Sample &sample)
    {
        const QString string = QString::fromUtf8(sample.bytes.data(), sample.byteCount());
        expectCount(string.size(), sample.unitCount());
    }

    void encodeString(Sample &sample)
    {
        const QByteArray bytes = QStringView(sample.text(), sample.unitCount()).toUtf8();
        expectCount(bytes.size(), sample.byteCount());
    }
};

// The names by which every peer knows the encoding.
struct Encoding
{
    const char *name;
    const char *tavrin;
    const char *peers;
    const Corpus &(*corpus)(int bytes);
};

constexpr Encoding utf8Encodings[] = {
    {"ascii", "UTF-8", "UTF-8", asciiCorpus},
    {"european", "UTF-8", "UTF-8", europeanCorpus},
    {"asian", "UTF-8", "UTF-8", asianCorpus},
    {"emoji", "UTF-8", "UTF-8", emojiCorpus},
};

constexpr Encoding singleByteEncodings[] = {
    {"us-ascii", "US-ASCII", "US-ASCII", asciiCorpus},
    {"cp1252", "CP1252", "windows-1252", latinCorpus},
    {"latin1", "ISO-8859-1", "ISO-8859-1", latinCorpus},
    {"mac-roman", "MACINTOSH", "macintosh", latinCorpus},
};

constexpr int sizes[] = {64, 4096, 1 << 20};

Sample sampleOf(const Encoding &encoding, int size)
{
    const Corpus &corpus = encoding.corpus(size);
    Sample sample;
    sample.units = corpus.units;
    const ::Tavrin::Encoder &encoder = *::Tavrin::Encoder::get(encoding.tavrin);
    int consumed = corpus.unitCount();
    int produced = 0;
    encoder.getMBCSLength(sample.units.data(), consumed, produced);
    sample.bytes.resize(static_cast<std::size_t>(produced));
    encoder.toMBCS(sample.units.data(), consumed, sample.bytes.data(), produced, false);
    // Room to spare, because some peers want it.
    sample.byteRoom.resize(sample.units.size() * 3 + 64);
    sample.unitRoom.resize(sample.bytes.size() + 64);
    return sample;
}

template <class Peer, void (Peer::*convert)(Sample &)>
void measure(benchmark::State &state, const Encoding &encoding, int size)
{
    ::Tavrin::InitTerm::init();
    {
        Sample sample = sampleOf(encoding, size);
        const bool isTavrin = std::is_same_v<Peer, Tavrin>;
        Peer peer(isTavrin ? encoding.tavrin : encoding.peers);
        for (auto step : state) {
            benchmark::DoNotOptimize(sample);
            (peer.*convert)(sample);
            benchmark::ClobberMemory();
        }
    }
    ::Tavrin::InitTerm::exit();
}

template <class Peer, void (Peer::*convert)(Sample &)>
void registerCase(const std::string &operation, const Encoding &encoding)
{
    for (const int size : sizes)
        benchmark::RegisterBenchmark(
            caseName(operation + encoding.name, Peer::name, static_cast<std::size_t>(size)).c_str(),
            measure<Peer, convert>, encoding, size);
}

template <class Peer>
void registerConversions(const Encoding &encoding)
{
    registerCase<Peer, &Peer::decode>("decode-", encoding);
    registerCase<Peer, &Peer::encode>("encode-", encoding);
}

template <class Peer>
void registerStrings(const Encoding &encoding)
{
    registerCase<Peer, &Peer::decodeString>("decode-string-", encoding);
    registerCase<Peer, &Peer::encodeString>("encode-string-", encoding);
}

void registerCases()
{
    for (const Encoding &encoding : utf8Encodings) {
        registerConversions<Tavrin>(encoding);
        registerConversions<Iconv>(encoding);
        registerConversions<IcuUtf8>(encoding);
        registerConversions<Qt>(encoding);
        registerStrings<Tavrin>(encoding);
        registerStrings<IcuUtf8>(encoding);
        registerStrings<Qt>(encoding);
    }
    for (const Encoding &encoding : singleByteEncodings) {
        registerConversions<Tavrin>(encoding);
        registerConversions<Iconv>(encoding);
        registerConversions<IcuConverter>(encoding);
    }
}

} // namespace

} // namespace bench

int main(int count, char **arguments)
{
    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments))
        return 1;
    bench::registerCases();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
