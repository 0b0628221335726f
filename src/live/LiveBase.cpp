// SPDX-License-Identifier: MIT
// What objects and components share. Pinned by tests/live/LiveObjectTest.cpp and
// LiveObjectErrorTest.cpp.
#include <atomic>
#include <iterator>
#include <new>

#include <tavrin/Error.h>
#include <tavrin/LiveObject.h>
#include <tavrin/SimpleArray.h>

#include "live/Guarded.h"
#include "live/SelfHold.h"

namespace Tavrin {

namespace {

// By the id, from firstOperatorID on. D-246: where a shift to the right would be expected, the
// texts have "<<<".
constexpr const char *operatorTexts[] = {"~",  "!",   "*",   "/", "%",  "+",  "-",
                                         "<<", ">>",  "<<<", "<", "<=", "in", "instanceof",
                                         "==", "===", "&",   "|", "^"};

const char *operatorText(int id)
{
    const auto place = static_cast<unsigned>(id - firstOperatorID);
    return place < std::size(operatorTexts) ? operatorTexts[place] : "";
}

// What an error shows of an id that has no name: a small number, four characters or digits.
constexpr int greatestSmallID = 9999;
constexpr unsigned characterMask = 0xF0F0'F0F0;
constexpr unsigned leastCharacters = 0x2020'2020;

void printID(const String &className, int id, String &out)
{
    const auto bits = static_cast<unsigned>(id);
    if (bits + greatestSmallID <= 2U * greatestSmallID) {
        out.print("{LiveObject(\"%ls\").property(%ld)}", className.wstr(), id);
    } else if ((bits & characterMask) >= leastCharacters) {
        out.print("{LiveObject(\"%ls\").property('%c%c%c%c')}", className.wstr(), bits >> 24,
                  bits >> 16 & 0xFF, bits >> 8 & 0xFF, bits & 0xFF);
    } else {
        out.print("{LiveObject(\"%ls\").property(0x%08lx)}", className.wstr(), id);
    }
}

// The languages in which an error looks for a name, and everything that can be listed.
constexpr int anyKindOfName = static_cast<int>(0xE001'0000);

// How deep objects may destroy each other before those further in wait: a chain of objects, each
// the value of the one before, would otherwise need a stack as long as itself.
constexpr int deepestRelease = 64;
constexpr int waitingIncrement = 256;

struct Releases
{
    int depth = 0;
    SimpleArray *waiting = nullptr; // of the outermost release
};
constinit thread_local Releases releases __attribute__((tls_model("initial-exec")));

std::int64_t slotOf(const LiveBase *object)
{
    return reinterpret_cast<std::intptr_t>(object);
}

// Keeps the reference for the outermost release.
bool postpone(const LiveBase *object) noexcept
{
    try {
        if (releases.waiting->length() == 0)
            releases.waiting->setIncrement(waitingIncrement);
        releases.waiting->append(slotOf(object));
        return true;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

} // namespace

LiveBase::~LiveBase() = default;

void LiveBase::release() const
{
    if (getRefCount() > 1) {
        Refcountable::release();
        return;
    }
    if (releases.depth >= deepestRelease && postpone(this))
        return;
    if (releases.depth > 0) {
        ++releases.depth;
        Refcountable::release();
        --releases.depth;
        return;
    }
    SimpleArray waiting;
    releases = {1, &waiting};
    Refcountable::release();
    while (waiting.length() > 0) {
        const std::int64_t slot = waiting.removeAt(waiting.length() - 1);
        reinterpret_cast<const LiveBase *>(static_cast<std::intptr_t>(slot))
            ->Refcountable::release();
    }
    releases = {};
}

const void *LiveBase::getAs(int) const
{
    return nullptr;
}

void *LiveBase::getAs(int)
{
    return nullptr;
}

void LiveBase::invalidate()
{
    setValid(false);
}

void LiveBase::revalidate()
{
    setValid(true);
}

int LiveBase::getNextID()
{
    static std::atomic<unsigned> nextID = firstGivenID;
    return static_cast<int>(nextID.fetch_add(1, std::memory_order_relaxed));
}

int LiveBase::getPropertyText(String &out, int id, bool isIndex) const
{
    const detail::SelfHold hold(*this); // hosts tell the names
    return detail::guarded(nullptr, [&] {
        const auto *object = static_cast<const LiveObject *>(getAs(asLiveObject));
        if (isIndex)
            out.print("[%ul]", id); // D-241
        else if (id == functionID)
            out = (object != nullptr ? object->getClassName() : String("LiveObject")) + "()";
        else if (isOperatorID(id))
            out.print("operator \"%s\"()", operatorText(id));
        else if (object == nullptr)
            out.erase();
        else if (object->getNameForID(id, out, anyKindOfName) != 0)
            printID(object->getClassName(), id, out);
        return 0;
    });
}

int LiveBase::getErrorText(String &out, int code, const String *text) const
{
    return detail::guarded(nullptr, [&] {
        String message;
        TvGetErrorMsg(code, message);
        message.replaceAll("%1", text != nullptr ? *text : String::emptyString());
        message.strip();
        out = message;
        return 0;
    });
}

int LiveBase::getErrorText(String &out, int code, int id, bool isIndex) const
{
    return detail::guarded(nullptr, [&] {
        String property;
        const int failure = getPropertyText(property, id, isIndex);
        return failure != 0 ? failure : LiveBase::getErrorText(out, code, &property);
    });
}

int LiveBase::setError(int code, int id, Error *error, bool isIndex) const
{
    if (code == 0 || error == nullptr || error->getCode() != 0)
        return code;
    String property;
    getPropertyText(property, id, isIndex);
    error->push(code, property, nullptr, true);
    return code;
}

} // namespace Tavrin
