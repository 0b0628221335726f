// SPDX-License-Identifier: MIT
// The registry of encoders.
//
// A change comes in two steps. First everything that needs memory: the names enter the table, those
// that are new with the value 0, which reads as nobody's, and the arrays take the encoder in. Then
// the names are assigned, which cannot fail. A refused request leaves nothing but keys of nobody.
//
// An encoder that has lost its last name is retired: it leaves the array of registered ones, and
// those that are fixed, or the calling thread's default, go to its successor. It stays in `owned`,
// because other threads and open files may hold it. Pinned by
// tests/encoders/EncoderTest.cpp and tests/encoders/EncoderMemoryTest.cpp.
#include "encoders/EncoderRegistry.h"

#include <algorithm>
#include <memory>

#include "encoders/BuiltInEncoders.h"
#include "encoders/CodePageNames.h"
#include "encoders/UniversalEncoder.h"
#include "runtime/ContextState.h"

namespace Tavrin::detail {

namespace {

constexpr int encoderIncrement = 16;

std::int64_t slotOf(const Encoder *encoder)
{
    return TSimpleArray<const Encoder>::toSlot(encoder);
}

bool isBuiltIn(const Encoder &encoder)
{
    const auto all = builtInEncoders();
    return std::find(all.begin(), all.end(), &encoder) != all.end();
}

} // namespace

String normalisedName(const String &name)
{
    String result(name);
    result.toUpper();
    result.replaceAll('_', '-');
    return result;
}

String withoutPrefix(const String &normalisedName)
{
    constexpr int prefixLength = 2;
    return normalisedName.ncmp("X-", prefixLength) == 0 ? normalisedName.substr(prefixLength)
                                                        : normalisedName;
}

EncoderRegistry::EncoderRegistry()
{
    encoders.setIncrement(encoderIncrement);
    for (const Encoder *encoder : builtInEncoders())
        add(*encoder);
}

EncoderRegistry::~EncoderRegistry()
{
    for (const Encoder *encoder : owned)
        delete encoder;
}

const Encoder *EncoderRegistry::find(const String &name) const
{
    return TSimpleArray<const Encoder>::fromSlot(names.find(name, false));
}

const Encoder *EncoderRegistry::findOrMake(const String &name)
{
    if (const Encoder *encoder = find(name))
        return encoder;
    if (const Encoder *encoder = makeCodePage(name))
        return encoder;
    return askEncoders(name);
}

// D-111: a further name of a code page that has its encoder, "CP0850" for one, gives that one, and
// the names that it had lost to others return to it.
const Encoder *EncoderRegistry::makeCodePage(const String &name)
{
    const std::optional<CodePageName> page = findCodePage(name);
    if (!page)
        return nullptr;
    if (const Encoder *encoder = codePageEncoder(page->codePage)) {
        add(*encoder);
        return encoder;
    }
    std::unique_ptr<UniversalEncoder> encoder = UniversalEncoder::make(*page);
    if (encoder == nullptr)
        return nullptr;
    add(*encoder);
    return encoder.release();
}

const Encoder *EncoderRegistry::codePageEncoder(unsigned codePage) const
{
    for (const Encoder *encoder : encoders) {
        const auto *universal = dynamic_cast<const UniversalEncoder *>(encoder);
        if (universal != nullptr && universal->codePage() == codePage)
            return universal;
    }
    return nullptr;
}

// An encoder may register others while it is asked, so the length is read afresh each round.
const Encoder *EncoderRegistry::askEncoders(const String &name)
{
    for (int index = 0; index < encoders.length(); ++index) {
        const TSimpleArray<const Encoder> &present = encoders;
        if (const Encoder *encoder = present[index]->find(name)) {
            addName(*encoder, name);
            return encoder;
        }
    }
    return nullptr;
}

bool EncoderRegistry::isRegistered(const Encoder &encoder) const
{
    return encoders.indexOf(&encoder) >= 0;
}

void EncoderRegistry::add(const Encoder &encoder)
{
    Keys keys;
    reserveOwnNames(encoder, keys);
    enlist(encoder);
    assign(keys, encoder);
}

void EncoderRegistry::addName(const Encoder &encoder, const String &name)
{
    Keys keys;
    if (!isRegistered(encoder))
        reserveOwnNames(encoder, keys);
    reserveName(name, keys);
    enlist(encoder);
    assign(keys, encoder);
}

void EncoderRegistry::reserveOwnNames(const Encoder &encoder, Keys &keys)
{
    String left;
    encoder.getNames(left);
    left = normalisedName(left);
    while (left.length() > 0)
        reserveName(withoutPrefix(left.split(',')), keys);
}

// An empty name belongs to nobody: it stands for the default encoder.
void EncoderRegistry::reserveName(const String &name, Keys &keys)
{
    if (name.length() > 0)
        keys.append(&names.set(name, names.find(name, false), false));
}

void EncoderRegistry::enlist(const Encoder &encoder)
{
    const bool isNew = !isBuiltIn(encoder) && owned.indexOf(&encoder) < 0;
    if (isNew)
        owned.append(&encoder);
    if (isRegistered(encoder))
        return;
    try {
        encoders.append(&encoder);
    } catch (...) {
        if (isNew)
            owned.remove(&encoder);
        throw;
    }
}

void EncoderRegistry::assign(const Keys &keys, const Encoder &encoder)
{
    for (const String *key : keys) {
        const Encoder *old = find(*key);
        names.set(*key, slotOf(&encoder), false);
        const bool isReplaced =
            old != nullptr && old != &encoder && names.findKey(slotOf(old)) == nullptr;
        if (isReplaced)
            retire(*old, encoder);
    }
}

// D-100: the encoder is not deleted. D-112: the UTF-8 and UTF-32 encoders stay what they were, and
// the defaults of other threads too.
void EncoderRegistry::retire(const Encoder &old, const Encoder &successor)
{
    encoders.remove(&old);
    for (const FixedEncoder which :
         {FixedEncoder::system, FixedEncoder::ascii, FixedEncoder::binary})
        if (fixedEncoder(which) == &old)
            setFixedEncoder(which, &successor);
    ContextState &context = currentContext();
    if (context.encoder == &old)
        context.encoder = const_cast<Encoder *>(&successor);
}

} // namespace Tavrin::detail
