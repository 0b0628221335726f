// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include <tavrin/Encoder.h>
#include <tavrin/String.h>

#include "encoders/CodePageNames.h"
#include "platform/CodePages.h"

namespace Tavrin {

// What a UniversalEncoder owns.
class EncoderData : public Root
{
public:
    explicit EncoderData(unsigned number);

    const unsigned codePage;
    const unsigned toUnicodeFlags;
    const unsigned toMBCSFlags;
    const platform::CodePage conversions;
};

// The encoder of a code page of the system.
class UniversalEncoder : public Encoder
{
public:
    // Null when the system does not know the code page.
    static std::unique_ptr<UniversalEncoder> make(const detail::CodePageName &page);

    unsigned codePage() const { return data->codePage; }

    void getNames(String &out) const override;
    int getUnicodeLength(const char *src, int srcLen, int &out) const override;
    int getMBCSLength(const unsigned short *src, int srcLen, int &out) const override;
    // D-110: these want exactly the room that the length operations name. With more of it they
    // report 37 and leave dstLen as it is, and say that they consumed nothing.
    int toUnicode(const char *src, int &srcLen, unsigned short *dst, int &dstLen,
                  bool continued) const override;
    int toMBCS(const unsigned short *src, int &srcLen, char *dst, int &dstLen,
               bool continued) const override;

private:
    UniversalEncoder(const String &aliasList, int bytesPerCharacter,
                     std::unique_ptr<EncoderData> encoderData);

    int decode(const char *src, int srcLen, unsigned short *dst, int room) const;
    int encode(const unsigned short *src, int srcLen, char *dst, int room) const;

    String aliases;
    std::unique_ptr<EncoderData> data;
};

} // namespace Tavrin
