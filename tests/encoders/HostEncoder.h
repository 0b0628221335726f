// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>

#include <tavrin/Encoder.h>
#include <tavrin/String.h>

namespace Tavrin::test {

// An encoder as a host writes one: each operation may be filled in, and the others are Encoder's.
class HostEncoder : public Encoder
{
public:
    explicit HostEncoder(std::string nameList, int *deletedCount = nullptr)
        : names(std::move(nameList)), deleted(deletedCount)
    {}
    ~HostEncoder() override
    {
        if (onDelete)
            onDelete();
        if (deleted != nullptr)
            ++*deleted;
    }

    std::function<const Encoder *(const String &)> onFind;
    std::function<int(const char *, int, int &)> onUnicodeLength;
    std::function<int(const unsigned short *, int, int &)> onMBCSLength;
    std::function<int(const char *, int &, unsigned short *, int &, bool)> onUnicode;
    std::function<int(const unsigned short *, int &, char *, int &, bool)> onMBCS;
    std::function<void()> onNames;
    std::function<void()> onDelete;

    void getNames(String &out) const override
    {
        if (onNames)
            onNames();
        out = names.c_str();
    }
    const Encoder *find(const String &name) const override
    {
        return onFind ? onFind(name) : Encoder::find(name);
    }
    int getUnicodeLength(const char *src, int srcLen, int &out) const override
    {
        return onUnicodeLength ? onUnicodeLength(src, srcLen, out)
                               : Encoder::getUnicodeLength(src, srcLen, out);
    }
    int getMBCSLength(const unsigned short *src, int srcLen, int &out) const override
    {
        return onMBCSLength ? onMBCSLength(src, srcLen, out)
                            : Encoder::getMBCSLength(src, srcLen, out);
    }
    int toUnicode(const char *src, int &srcLen, unsigned short *dst, int &dstLen,
                  bool continued) const override
    {
        return onUnicode ? onUnicode(src, srcLen, dst, dstLen, continued)
                         : Encoder::toUnicode(src, srcLen, dst, dstLen, continued);
    }
    int toMBCS(const unsigned short *src, int &srcLen, char *dst, int &dstLen,
               bool continued) const override
    {
        return onMBCS ? onMBCS(src, srcLen, dst, dstLen, continued)
                      : Encoder::toMBCS(src, srcLen, dst, dstLen, continued);
    }

    void setMapping(int bytes) { mapping = bytes; }

private:
    std::string names;
    int *deleted;
};

// The names of an encoder as plain text; "null" for none.
inline std::string namesOf(const Encoder *encoder)
{
    if (encoder == nullptr)
        return "null";
    String names;
    encoder->getNames(names);
    return std::string(names.wstr(), names.wstr() + names.length());
}

} // namespace Tavrin::test
