// SPDX-License-Identifier: MIT
// The chain of localisers and the questions to it. An answer is the host's code, which may itself
// ask, push and pop: no lock is held meanwhile, the chain is read afresh for each link, and what a
// question works on is its own until it has ended.
// Pinned by tests/containers/LocalizerTest.cpp.
#include <tavrin/Localizer.h>

#include <utility>

#include <tavrin/Lock.h>

#include "containers/LocalizerLocale.h"
#include "containers/LocalizerText.h"
#include "runtime/ContextState.h"
#include "runtime/LockTable.h"
#include "runtime/OnHeap.h"
#include "runtime/Startup.h"

namespace Tavrin {

namespace {

// It outlives init and exit, so that no context is ever left with a dead one.
union BuiltIn
{
    constexpr BuiltIn() : localizer() {}
    ~BuiltIn() {} // NOLINT(modernize-use-equals-default): that would delete it

    Localizer localizer;
};

constinit BuiltIn builtIn;

// Under its lock; null until it is first needed.
constinit String *cachedLocale = nullptr;

// Asks one link after the other until `ask` returns true.
template <class Ask>
bool askChain(Ask ask)
{
    const detail::ContextState &context = detail::currentContext();
    if (context.localizer != nullptr && ask(*context.localizer))
        return true;
    for (int index = context.localizerStack.length() - 1; index >= 0; --index) {
        const Localizer *link = context.localizerStack[index];
        if (link != nullptr && ask(*link))
            return true;
    }
    return false;
}

String systemLocale()
{
    CriticalSection section(detail::tableLock(detail::LockSlot::systemLocale));
    if (cachedLocale == nullptr)
        cachedLocale = detail::newOnHeap<String>(detail::fittedSystemLocale());
    return *cachedLocale;
}

// The context keeps its links as what they are to their hosts.
Localizer *linkTo(const Localizer &localizer)
{
    return const_cast<Localizer *>(&localizer);
}

} // namespace

Localizer::~Localizer() = default;

const Localizer &Localizer::get()
{
    if (detail::processState.startingUp)
        return getDefault();
    const Localizer *current = detail::currentContext().localizer;
    return current != nullptr ? *current : getDefault();
}

const Localizer &Localizer::getDefault()
{
    return builtIn.localizer;
}

void Localizer::set(const Localizer *localizer)
{
    const Localizer &current = localizer != nullptr ? *localizer : getDefault();
    detail::currentContext().localizer = linkTo(current);
}

void Localizer::push(const Localizer &localizer)
{
    detail::currentContext().localizerStack.append(linkTo(localizer));
}

const Localizer *Localizer::pop()
{
    TSimpleArray<Localizer> &stack = detail::currentContext().localizerStack;
    return stack.removeAt(stack.length() - 1);
}

bool Localizer::remove(const Localizer &localizer)
{
    TSimpleArray<Localizer> &stack = detail::currentContext().localizerStack;
    const int index = stack.indexOf(&localizer);
    if (index < 0)
        return false;
    stack.removeAt(index);
    return true;
}

String Localizer::getLocale()
{
    String locale;
    const bool isAnswered = askChain([&](const Localizer &link) { return link.getLocale(locale); });
    return isAnswered ? locale : systemLocale();
}

void Localizer::getZString(String &text)
{
    String work(text);
    if (detail::isLocalizerKey(work)) {
        // Keys are listed in their escaped form.
        work.replaceAll("\n", "\\n");
        String locale;
        String family;
        if (Callbacks *callbacks = Callbacks::get())
            callbacks->getLocale(locale, family);
        if (locale.length() == 0)
            locale = getLocale();
        const bool isAnswered =
            askChain([&](const Localizer &link) { return link.getZString(work, locale, family); });
        if (!isAnswered)
            detail::takeBuiltInText(work);
    }
    detail::resolveLocalizerEscapes(work);
    text = std::move(work);
}

String Localizer::localize(const String &text, const Array *args)
{
    String work(text);
    if (detail::isLocalizerKey(work))
        getZString(work);
    else
        askChain([&](const Localizer &link) { return link.localizeText(work); });
    return detail::fillPlaceholders(work, args);
}

bool Localizer::getErrorMessage(int code, String &out)
{
    String work(out);
    if (detail::isLocalizerKey(work))
        getZString(work);
    const bool isAnswered =
        askChain([&](const Localizer &link) { return link.getErrorMsg(code, work); });
    if (detail::isLocalizerKey(work))
        getZString(work);
    out = std::move(work);
    return isAnswered;
}

String Localizer::caseConvert(const String &text, bool lower)
{
    String work(text);
    const bool isAnswered =
        askChain([&](const Localizer &link) { return link.localizedCaseConvert(work, lower); });
    if (!isAnswered)
        lower ? work.toLower() : work.toUpper();
    return work;
}

int Localizer::compare(const String &a, const String &b)
{
    int order = noOrder;
    askChain([&](const Localizer &link) {
        order = link.localizedCompare(a, b);
        return order != noOrder;
    });
    return order != noOrder ? order : a.cmp(b);
}

bool Localizer::getZString(String &, const String &, const String &) const
{
    return false;
}

bool Localizer::getLocale(String &) const
{
    return false;
}

bool Localizer::localizeText(String &) const
{
    return false;
}

bool Localizer::localizedCaseConvert(String &, bool) const
{
    return false;
}

int Localizer::localizedCompare(const String &, const String &) const
{
    return noOrder;
}

bool Localizer::getErrorMsg(int, String &) const
{
    return false;
}

namespace detail {

void startLocalizer()
{
    ownContext().localizer = linkTo(builtIn.localizer);
}

void stopLocalizer()
{
    deleteOnHeap(std::exchange(cachedLocale, nullptr));
}

} // namespace detail

} // namespace Tavrin
