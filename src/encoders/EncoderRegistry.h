// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/Encoder.h>
#include <tavrin/HashTable.h>
#include <tavrin/SimpleArray.h>
#include <tavrin/String.h>

namespace Tavrin::detail {

// EncoderRegistry: which encoder every name belongs to.
// Owns:    the encoders that were ever registered, but for the built-in ones.
// Threads: guarded by the encoders' lock, which the caller holds.
// Failure: std::bad_alloc; the registry is unchanged then.
class EncoderRegistry
{
public:
    EncoderRegistry();
    ~EncoderRegistry();
    EncoderRegistry(const EncoderRegistry &) = delete;
    EncoderRegistry &operator=(const EncoderRegistry &) = delete;

    // The encoder that a normalised name belongs to; null if there is none.
    const Encoder *find(const String &name) const;
    // The same, or else the system's code page of that name, or else the answer of an encoder that
    // knows a rule for it. Those are registered.
    const Encoder *findOrMake(const String &name);

    // Registers the encoder under its own names.
    void add(const Encoder &encoder);
    // Registers it under one more name, and under its own ones if it is not registered yet.
    void addName(const Encoder &encoder, const String &name);

private:
    using Keys = TSimpleArray<const String>;

    bool isRegistered(const Encoder &encoder) const;
    const Encoder *makeCodePage(const String &name);
    const Encoder *codePageEncoder(unsigned codePage) const;
    const Encoder *askEncoders(const String &name);

    void reserveOwnNames(const Encoder &encoder, Keys &keys);
    void reserveName(const String &name, Keys &keys);
    void enlist(const Encoder &encoder);
    void assign(const Keys &keys, const Encoder &encoder);
    void retire(const Encoder &old, const Encoder &successor);

    HashTable names;                      // the encoder of each normalised name; 0: of nobody
    TSimpleArray<const Encoder> encoders; // the registered ones
    TSimpleArray<const Encoder> owned;    // the registered and the retired ones
};

// The two spellings under which names are kept: upper case, with "-" for "_"; for names that are
// looked up, and for those that encoders give themselves, without a leading "X-".
String normalisedName(const String &name);
String withoutPrefix(const String &normalisedName);

} // namespace Tavrin::detail
