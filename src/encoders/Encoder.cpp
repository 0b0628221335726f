// SPDX-License-Identifier: MIT
#include <tavrin/Encoder.h>

#include <utility>

#include <tavrin/Lock.h>
#include <tavrin/String.h>

#include "encoders/BuiltInEncoders.h"
#include "encoders/Conversion.h"
#include "encoders/EncoderRegistry.h"
#include "platform/CodePages.h"
#include "runtime/ContextState.h"
#include "runtime/LockTable.h"
#include "runtime/OnHeap.h"
#include "runtime/ProcessState.h"
#include "runtime/Startup.h"

namespace Tavrin {

using detail::FixedEncoder;

namespace {

// Null outside init and exit.
constinit detail::EncoderRegistry *registry = nullptr;

Lock *registryLock()
{
    return detail::tableLock(detail::LockSlot::encoders);
}

bool isEmpty(const char *text)
{
    return text == nullptr || *text == '\0';
}

// The spelling under which a name is looked up.
String keyOf(const String &name)
{
    return detail::withoutPrefix(detail::normalisedName(name));
}

template <class Unit>
const Encoder *getByName(const Unit *name)
{
    if (registry == nullptr)
        return nullptr;
    const String key = keyOf(name);
    CriticalSection section(registryLock());
    // D-113: the default encoder is handed out but not registered; it may be nobody's to keep.
    return key.length() == 0 ? &Encoder::getDefault() : registry->findOrMake(key);
}

bool addAliasTo(const Encoder *encoder, const char *alias)
{
    if (encoder == nullptr)
        return false;
    // D-114: a leading "X-" stays, although get takes one away.
    registry->addName(*encoder, detail::normalisedName(alias));
    return true;
}

// Sets the default of the calling thread for a while.
class TemporaryDefault
{
public:
    explicit TemporaryDefault(const Encoder &encoder)
        : context(detail::currentContext()), saved(context.encoder)
    {
        context.encoder = const_cast<Encoder *>(&encoder);
    }
    ~TemporaryDefault() { context.encoder = saved; }
    TemporaryDefault(const TemporaryDefault &) = delete;
    TemporaryDefault &operator=(const TemporaryDefault &) = delete;

private:
    Context &context;
    Encoder *saved;
};

// The encoder of the system, or null; found once. Decoding on the way must not ask for it again.
const Encoder *systemEncoder()
{
    const Encoder *known = detail::fixedEncoder(FixedEncoder::system);
    if (known != nullptr || registry == nullptr)
        return known;
    CriticalSection section(registryLock());
    const TemporaryDefault ascii(Encoder::getAscii());
    const String name = detail::normalisedName(platform::activeCodePageName());
    const Encoder *encoder = registry->findOrMake(name);
    detail::setFixedEncoder(FixedEncoder::system, encoder);
    return encoder;
}

} // namespace

Encoder::~Encoder() = default;

const Encoder *Encoder::find(const String &) const
{
    return nullptr;
}

int Encoder::getUnicodeLength(const char *, int, int &out) const
{
    out = -1;
    return detail::noError;
}

int Encoder::getMBCSLength(const unsigned short *, int, int &out) const
{
    out = -1;
    return detail::noError;
}

int Encoder::toUnicode(const char *, int &, unsigned short *, int &, bool) const
{
    return detail::notImplemented;
}

int Encoder::toMBCS(const unsigned short *, int &, char *, int &, bool) const
{
    return detail::notImplemented;
}

void Encoder::add(const Encoder &encoder)
{
    if (registry == nullptr)
        return;
    CriticalSection section(registryLock());
    registry->add(encoder);
}

bool Encoder::addAlias(const Encoder &encoder, const char *alias)
{
    if (registry == nullptr || isEmpty(alias))
        return false;
    CriticalSection section(registryLock());
    return addAliasTo(&encoder, alias);
}

bool Encoder::addAlias(const char *name, const char *alias)
{
    if (registry == nullptr || isEmpty(alias))
        return false;
    // D-113: the default encoder is not the registry's to name.
    const String key = keyOf(name);
    if (key.length() == 0)
        return false;
    CriticalSection section(registryLock());
    return addAliasTo(registry->findOrMake(key), alias);
}

const Encoder *Encoder::get(const char *name)
{
    return getByName(name);
}

const Encoder *Encoder::get(const unsigned short *name)
{
    return getByName(name);
}

const Encoder &Encoder::getDefault()
{
    if (detail::processState.startingUp || registry == nullptr)
        return getAscii();
    detail::ContextState &context = detail::currentContext();
    if (context.encoder == nullptr)
        context.encoder = const_cast<Encoder *>(&getSystem());
    return *context.encoder;
}

void Encoder::setDefault(const Encoder &encoder)
{
    if (registry != nullptr)
        detail::currentContext().encoder = const_cast<Encoder *>(&encoder);
}

const Encoder &Encoder::getSystem()
{
    const Encoder *encoder = systemEncoder();
    return encoder != nullptr ? *encoder : getAscii();
}

const Encoder &Encoder::getAscii()
{
    return *detail::fixedEncoder(FixedEncoder::ascii);
}

const Encoder &Encoder::getBinary()
{
    return *detail::fixedEncoder(FixedEncoder::binary);
}

const Encoder &Encoder::getUtf8()
{
    return *detail::fixedEncoder(FixedEncoder::utf8);
}

const Encoder &Encoder::getUtf32()
{
    return *detail::fixedEncoder(FixedEncoder::utf32);
}

namespace detail {

void startEncoder()
{
    registry = newOnHeap<EncoderRegistry>();
}

// The encoders go while nothing leads to them any more: their destructors may ask for encoders.
void stopEncoder()
{
    EncoderRegistry *stopped = std::exchange(registry, nullptr);
    resetFixedEncoders();
    currentContext().encoder = nullptr;
    deleteOnHeap(stopped);
}

} // namespace detail

} // namespace Tavrin
