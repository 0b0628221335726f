// SPDX-License-Identifier: MIT
// Code pages by way of iconv. D-116: what a code page holds is what the system says it does.
//
// Opening a converter is slow, and a converter serves one thread at a time. Each code page keeps
// one for either direction; whoever finds it taken opens another one, and closes it when the spare
// place is full again. iconv cannot count without converting, so counting converts to a buffer over
// and over. Encoding goes by pieces that never fill the buffer: the converter for ISO-2022-CN
// writes a shift twice when it finds no room behind it. Pinned by tests/encoders/CodePageTest.cpp.
#include "platform/CodePages.h"

#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>

#include <iconv.h>

namespace Tavrin::platform {

namespace {

constexpr const char *unitEncoding =
    std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";

struct NamedCodePage
{
    unsigned number;
    const char *name;
};

// The code pages whose names do not follow from their numbers.
constexpr NamedCodePage namedCodePages[] = {
    {708, "ASMO-708"},
    {709, "ASMO_449"},
    {932, "CP932"},
    {936, "GBK"},
    {949, "UHC"},
    {950, "BIG5"},
    {1361, "JOHAB"},
    {10000, "MACINTOSH"},
    {10007, "MAC-CYRILLIC"},
    {10017, "MAC-UK"},
    {10029, "MAC-CENTRALEUROPE"},
    {10079, "MAC-IS"},
    {20127, "US-ASCII"},
    {20261, "T.61-8BIT"},
    {20273, "IBM273"},
    {20277, "IBM277"},
    {20278, "IBM278"},
    {20280, "IBM280"},
    {20284, "IBM284"},
    {20285, "IBM285"},
    {20290, "IBM290"},
    {20297, "IBM297"},
    {20420, "IBM420"},
    {20423, "IBM423"},
    {20424, "IBM424"},
    {20838, "IBM1160"},
    {20866, "KOI8-R"},
    {20871, "IBM871"},
    {20880, "IBM880"},
    {20905, "IBM905"},
    {20932, "EUC-JP"},
    {20936, "EUC-CN"},
    {21025, "IBM1025"},
    {21866, "KOI8-U"},
    {28591, "ISO-8859-1"},
    {28592, "ISO-8859-2"},
    {28593, "ISO-8859-3"},
    {28594, "ISO-8859-4"},
    {28595, "ISO-8859-5"},
    {28596, "ISO-8859-6"},
    {28597, "ISO-8859-7"},
    {28598, "ISO-8859-8"},
    {28599, "ISO-8859-9"},
    {28600, "ISO-8859-10"},
    {28601, "ISO-8859-11"},
    {28603, "ISO-8859-13"},
    {28604, "ISO-8859-14"},
    {28605, "ISO-8859-15"},
    {28606, "ISO-8859-16"},
    {38598, "ISO-8859-8"},
    {50220, "ISO-2022-JP"},
    {50221, "ISO-2022-JP"},
    {50222, "ISO-2022-JP"},
    {50225, "ISO-2022-KR"},
    {50227, "ISO-2022-CN"},
    {51932, "EUC-JP-MS"},
    {51936, "EUC-CN"},
    {51949, "EUC-KR"},
    {51950, "EUC-TW"},
    {54936, "GB18030"},
    {65000, "UTF-7"},
    {65001, "UTF-8"},
};

// How iconv names the others.
constexpr const char *namePatterns[] = {"CP%u", "CP%03u", "IBM%u", "IBM%03u"};

// An open converter, which is closed or kept as the spare one at the end.
class Converter
{
public:
    Converter(std::atomic<void *> &spareConverter, const char *to, const char *from)
        : spare(spareConverter), handle(spare.exchange(nullptr, std::memory_order_acquire))
    {
        if (handle == nullptr)
            open(to, from);
        else
            iconv(handle, nullptr, nullptr, nullptr, nullptr);
    }

    ~Converter()
    {
        void *none = nullptr;
        if (handle != nullptr &&
            !spare.compare_exchange_strong(none, handle, std::memory_order_acq_rel))
            iconv_close(handle);
    }
    Converter(const Converter &) = delete;
    Converter &operator=(const Converter &) = delete;

    bool isOpen() const { return handle != nullptr; }
    iconv_t get() const { return handle; }

private:
    void open(const char *to, const char *from)
    {
        iconv_t opened = iconv_open(to, from);
        if (opened != reinterpret_cast<iconv_t>(-1))
            handle = opened;
    }

    std::atomic<void *> &spare;
    void *handle;
};

void close(std::atomic<void *> &spare)
{
    if (void *handle = spare.exchange(nullptr, std::memory_order_acquire))
        iconv_close(handle);
}

bool canOpen(const char *name)
{
    std::atomic<void *> unused;
    const bool isKnown = Converter(unused, unitEncoding, name).isOpen();
    close(unused);
    if (!isKnown)
        return false;
    const bool isKnownBack = Converter(unused, name, unitEncoding).isOpen();
    close(unused);
    return isKnownBack;
}

// Takes what a conversion gives, or only counts it.
class Output
{
public:
    Output(void *targetBytes, std::size_t targetSize)
        : target(static_cast<char *>(targetBytes)), targetLeft(targetSize)
    {
        choosePlace();
    }

    char **placePointer() { return &place; }
    std::size_t *leftPointer() { return &left; }

    // Makes room after E2BIG; false when there is none.
    bool makeRoom()
    {
        const bool isStuck = begin == buffer && place == begin;
        return !isStuck && flush();
    }

    // Adds one character to what is written; false when there is no room.
    template <class Unit>
    bool put(Unit unit)
    {
        if (left < sizeof unit && !makeRoom())
            return false;
        std::memcpy(place, &unit, sizeof unit);
        place += sizeof unit;
        left -= sizeof unit;
        return true;
    }

    // Moves what stands in the buffer to the target; false when that does not hold it. From here on
    // there is room for a whole buffer again.
    bool flush()
    {
        const auto bytes = static_cast<std::size_t>(place - begin);
        if (target != nullptr) {
            if (bytes > targetLeft)
                return false;
            if (begin == buffer)
                std::memcpy(target, buffer, bytes);
            target += bytes;
            targetLeft -= bytes;
        }
        written += bytes;
        choosePlace();
        return true;
    }

    // All that was flushed.
    std::size_t bytesWritten() const { return written; }

    static constexpr std::size_t bufferSize = 8192;

private:
    // Some converters want room for their longest character before they look at the next one, so
    // the end of the target is filled from the buffer.
    void choosePlace()
    {
        const bool isDirect = target != nullptr && targetLeft >= bufferSize;
        begin = place = isDirect ? target : buffer;
        left = isDirect ? targetLeft : bufferSize;
    }

    char *target; // null: only count
    std::size_t targetLeft;
    char *begin = nullptr; // in the target, and then in the buffer
    char *place = nullptr;
    std::size_t left = 0;
    std::size_t written = 0;
    char buffer[bufferSize];
};

// One call of iconv; false with `errno` set when it did not get through.
bool run(iconv_t handle, char **src, std::size_t *srcLeft, Output &output)
{
    return iconv(handle, src, srcLeft, output.placePointer(), output.leftPointer()) !=
           static_cast<std::size_t>(-1);
}

// Converts what does not depend on more input: one unit, or, without any, what the converter has
// held back. That is a letter that might have taken an accent, or the way back to its first state.
bool runToEnd(iconv_t handle, unsigned short *unit, Output &output)
{
    auto *src = reinterpret_cast<char *>(unit);
    std::size_t srcLeft = sizeof *unit;
    while (!run(handle, unit == nullptr ? nullptr : &src, unit == nullptr ? nullptr : &srcLeft,
                output))
        if (errno != E2BIG || !output.makeRoom())
            return false;
    return true;
}

// Converts a text, or a piece of it. `replace` is called for what cannot be converted, with the
// reason and the bytes of the source that are left; it writes something else, says how many of
// these that stands for, and with 0 gives up.
template <class Replace>
bool convert(iconv_t handle, const void *text, std::size_t srcLeft, Output &output, Replace replace)
{
    auto *src = const_cast<char *>(static_cast<const char *>(text));
    while (srcLeft > 0 && !run(handle, &src, &srcLeft, output)) {
        if (errno == E2BIG) {
            if (!output.makeRoom())
                return false;
            continue;
        }
        const std::size_t replaced = replace(errno, srcLeft);
        if (replaced == 0)
            return false;
        src += replaced;
        srcLeft -= replaced;
    }
    return true;
}

// Where a piece of a text of units ends that surely fits the buffer. It cuts no surrogate pair.
int endOfPiece(const unsigned short *units, int start, int length)
{
    constexpr int bytesPerUnit = 16; // with all that shifts between character sets
    constexpr int longestPiece = Output::bufferSize / bytesPerUnit;
    if (length - start <= longestPiece)
        return length;
    const int end = start + longestPiece;
    const bool isLead = (units[end - 1] & 0xFC00) == 0xD800;
    return isLead ? end - 1 : end;
}

int resultOf(bool isDone, Output &output, std::size_t unitSize)
{
    if (!isDone || !output.flush())
        return -1;
    const std::size_t units = output.bytesWritten() / unitSize;
    return units <= std::numeric_limits<int>::max() ? static_cast<int>(units) : -1;
}

std::size_t bytesIn(int units, std::size_t unitSize)
{
    return units < 0 ? 0 : static_cast<std::size_t>(units) * unitSize;
}

} // namespace

CodePage::CodePage(unsigned number) : systemName(nullptr), nameStorage()
{
    for (const NamedCodePage &page : namedCodePages)
        if (page.number == number) {
            systemName = canOpen(page.name) ? page.name : nullptr;
            return;
        }
    for (const char *pattern : namePatterns) {
        std::snprintf(nameStorage, sizeof nameStorage, pattern, number);
        if (canOpen(nameStorage)) {
            systemName = nameStorage;
            return;
        }
    }
}

CodePage::~CodePage()
{
    close(spareDecoder);
    close(spareEncoder);
}

bool CodePage::isKnown() const
{
    return systemName != nullptr;
}

int CodePage::decode(const char *src, int srcLen, unsigned short *dst, int room,
                     InvalidBytes invalidBytes) const
{
    if (!isKnown())
        return -1;
    const Converter converter(spareDecoder, unitEncoding, systemName);
    if (!converter.isOpen())
        return -1;
    Output output(dst, bytesIn(room, sizeof *dst));
    const auto replace = [&](int reason, std::size_t srcLeft) -> std::size_t {
        constexpr unsigned short replacement = 0xFFFD;
        if (invalidBytes == InvalidBytes::fail || !output.put(replacement))
            return 0;
        const bool isCut = reason == EINVAL;
        return isCut ? srcLeft : 1;
    };
    const bool isDone = convert(converter.get(), src, bytesIn(srcLen, 1), output, replace) &&
                        runToEnd(converter.get(), nullptr, output);
    return resultOf(isDone, output, sizeof *dst);
}

int CodePage::encode(const unsigned short *src, int srcLen, char *dst, int room) const
{
    if (!isKnown())
        return -1;
    const Converter converter(spareEncoder, systemName, unitEncoding);
    if (!converter.isOpen())
        return -1;
    Output output(dst, bytesIn(room, 1));
    const auto replace = [&](int, std::size_t) -> std::size_t {
        unsigned short questionMark = u'?';
        const bool isReplaced = runToEnd(converter.get(), &questionMark, output) || output.put('?');
        return isReplaced ? sizeof questionMark : 0;
    };
    bool isDone = true;
    for (int start = 0, end = 0; isDone && start < srcLen; start = end) {
        end = endOfPiece(src, start, srcLen);
        isDone = convert(converter.get(), src + start, bytesIn(end - start, sizeof *src), output,
                         replace) &&
                 output.flush();
    }
    isDone = isDone && runToEnd(converter.get(), nullptr, output);
    return resultOf(isDone, output, 1);
}

// Text that the system hands out is in UTF-8, whatever the locale says: file names are bytes in no
// locale, and everything that writes them today writes UTF-8.
const char *activeCodePageName()
{
    return "UTF-8";
}

} // namespace Tavrin::platform
