// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/Export.h>
#include <tavrin/Heap.h>

namespace Tavrin {

class String;

// Encoder: a converter between bytes and the code units of String, found by any of its names. Hosts
// may derive their own. Built in are US-ASCII, binary, Windows-1252, ISO-8859-1, Mac Roman, UTF-8,
// UCS-2 (that is UTF-16) and UCS-4 in both byte orders; the system's code pages are added when they
// are first asked for.
// Owns:    the registry owns the encoders that it holds, until InitTerm::exit. There is none
//          outside init and exit: get gives null, add and addAlias take nothing, and the default
//          encoder and the system's are US-ASCII.
// Threads: the registry may be used on any thread; conversions of one encoder may run on several
//          threads at once. An encoder that keeps state between calls has String::decode and encode
//          hold the registry's lock meanwhile, by leaving its lengths unknown. find and getNames
//          run under that lock, and may call back.
// Cost:    get is a table lookup; a miss asks the system and every registered encoder.
// Units:   bytes on one side, code units on the other.
// Failure: result codes: 37 for a character that cannot be converted, 38 for one that the input or
//          the room cuts, 44 for bytes that stand for nothing, -33 for an operation that the
//          encoder does not have. Nothing throws but std::bad_alloc from Heap; the registry is
//          unchanged then.
class TAVRIN_API Encoder : public Root
{
public:
    ~Encoder() override;
    Encoder(const Encoder &) = delete;
    Encoder &operator=(const Encoder &) = delete;

    // Stores the names, separated by commas, the canonical one first.
    virtual void getNames(String &out) const = 0;
    // The encoder for a name that is not registered, in upper case and with "-" for "_"; null when
    // this one knows no rule for it.
    virtual const Encoder *find(const String &name) const;
    // Store how many units the other side takes, or -1 when that is not known ahead.
    virtual int getUnicodeLength(const char *src, int srcLen, int &out) const;
    virtual int getMBCSLength(const unsigned short *src, int srcLen, int &out) const;
    // Convert. The lengths give the input and the room, and on return what was consumed and what
    // was produced. The built-in encoders ignore the last argument: false for the first, or only,
    // piece of a text.
    virtual int toUnicode(const char *src, int &srcLen, unsigned short *dst, int &dstLen,
                          bool continued) const;
    virtual int toMBCS(const unsigned short *src, int &srcLen, char *dst, int &dstLen,
                       bool continued) const;

    // The bytes of every character, or 0 when their number varies.
    int getMapping() const { return mapping; }

    // Registers the encoder under all its names and takes ownership; it comes from Heap. Whoever
    // held one of the names before loses it. D-100: an encoder without any name left is registered
    // no more, and lives on until InitTerm::exit for those who still hold it.
    static void add(const Encoder &encoder);
    // Registers one more name; the encoder itself first, if it is not registered. False for a null
    // or empty alias.
    static bool addAlias(const Encoder &encoder, const char *alias);
    // The same for the encoder of that name; false too when there is none.
    static bool addAlias(const char *name, const char *alias);

    // The encoder of that name; null if there is none. Case does not matter, "_" is "-", and a
    // leading "x-" is ignored. The empty name gives the default encoder.
    static const Encoder *get(const char *name);
    static const Encoder *get(const unsigned short *name);

    // The default of the calling thread: the system's encoder until it is set. An encoder that is
    // set has to stay alive; it is not taken over.
    static const Encoder &getDefault();
    static void setDefault(const Encoder &encoder);

    // The encoder of the system's active code page.
    static const Encoder &getSystem();

    static const Encoder &getAscii();
    static const Encoder &getBinary();
    static const Encoder &getUtf8();
    static const Encoder &getUtf32(); // units of 32 bits, little-endian

protected:
    constexpr explicit Encoder(int bytesPerCharacter = 0) : mapping(bytesPerCharacter) {}

    int mapping;
};

} // namespace Tavrin
