// SPDX-License-Identifier: MIT
#include "encoders/UniversalEncoder.h"

#include <utility>

#include "encoders/Conversion.h"

namespace Tavrin {

namespace {

// The flags of a conversion to units.
constexpr unsigned precomposed = 1;
constexpr unsigned failOnInvalid = 8;

// The code pages whose conversions take no flags.
bool refusesFlags(unsigned codePage)
{
    switch (codePage) {
    case 50220:
    case 50221:
    case 50222:
    case 50225:
    case 50227:
    case 50229:
    case 52936:
    case 54936:
    case 65000:
    case 65001:
        return true;
    default:
        return codePage >= 57002 && codePage <= 57011;
    }
}

// Stores the size of a conversion, or 0 and the code.
int reportSize(int size, int failure, int &out)
{
    out = size > 0 ? size : 0;
    return size > 0 ? detail::noError : failure;
}

int reportConversion(int produced, int &srcLen, int &dstLen)
{
    const int room = dstLen > 0 ? dstLen : 0;
    if (produced < room) {
        srcLen = 0;
        return detail::badCharacter;
    }
    if (produced == 0)
        srcLen = 0;
    dstLen = produced;
    return detail::noError;
}

} // namespace

EncoderData::EncoderData(unsigned number)
    : codePage(number),
      toUnicodeFlags(refusesFlags(number) ? 0 : precomposed | failOnInvalid),
      toMBCSFlags(0),
      conversions(number)
{}

UniversalEncoder::UniversalEncoder(const String &aliasList, int bytesPerCharacter,
                                   std::unique_ptr<EncoderData> encoderData)
    : Encoder(bytesPerCharacter), aliases(aliasList), data(std::move(encoderData))
{}

std::unique_ptr<UniversalEncoder> UniversalEncoder::make(const detail::CodePageName &page)
{
    auto data = std::make_unique<EncoderData>(page.codePage);
    if (!data->conversions.isKnown())
        return nullptr;
    return std::unique_ptr<UniversalEncoder>(
        new UniversalEncoder(detail::aliasesOf(page), page.mapping, std::move(data)));
}

void UniversalEncoder::getNames(String &out) const
{
    out = aliases;
}

int UniversalEncoder::decode(const char *src, int srcLen, unsigned short *dst, int room) const
{
    const bool fails = (data->toUnicodeFlags & failOnInvalid) != 0;
    return data->conversions.decode(src, srcLen, dst, room,
                                    fails ? platform::InvalidBytes::fail
                                          : platform::InvalidBytes::replace);
}

int UniversalEncoder::encode(const unsigned short *src, int srcLen, char *dst, int room) const
{
    return data->conversions.encode(src, srcLen, dst, room);
}

int UniversalEncoder::getUnicodeLength(const char *src, int srcLen, int &out) const
{
    out = 0;
    if (src == nullptr || srcLen < 1)
        return detail::noError;
    return reportSize(decode(src, srcLen, nullptr, 0), detail::cannotConvert, out);
}

int UniversalEncoder::getMBCSLength(const unsigned short *src, int srcLen, int &out) const
{
    out = 0;
    if (src == nullptr || srcLen < 1)
        return detail::noError;
    return reportSize(encode(src, srcLen, nullptr, 0), detail::badCharacter, out);
}

int UniversalEncoder::toUnicode(const char *src, int &srcLen, unsigned short *dst, int &dstLen,
                                bool) const
{
    const bool isEmpty = src == nullptr || srcLen < 1 || dstLen < 1;
    return reportConversion(isEmpty ? 0 : decode(src, srcLen, dst, dstLen), srcLen, dstLen);
}

int UniversalEncoder::toMBCS(const unsigned short *src, int &srcLen, char *dst, int &dstLen,
                             bool) const
{
    const bool isEmpty = src == nullptr || srcLen < 1 || dstLen < 1;
    return reportConversion(isEmpty ? 0 : encode(src, srcLen, dst, dstLen), srcLen, dstLen);
}

} // namespace Tavrin
