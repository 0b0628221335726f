// SPDX-License-Identifier: MIT
// What codes mean: the library's own table beneath that of the host, and the wording of a code.
// Pinned by tests/values/ErrorMessagesTest.cpp and tests/values/ErrorDefinitionsTest.cpp.
#include "values/ErrorDefinitions.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <utility>

#include <tavrin/Error.h>
#include <tavrin/HashTable.h>
#include <tavrin/Localizer.h>
#include <tavrin/SparseArray.h>

#include "runtime/OnHeap.h"
#include "values/ErrorMessages.h"

namespace Tavrin {

namespace {

constexpr const char *keyBegin = "$$$/CT/Tavrinscript/Errors/";
constexpr const char *generalClass = "Error";
constexpr const char *generalText = "Error #%1";

constexpr const char *builtInClasses[] = {
    generalClass, "TypeError",  "SyntaxError", "ReferenceError", "InternalError",
    "FatalError", "RangeError", "EvalError",   "URIError",       "IOError",
};

// A code of the host.
struct UserError : Root
{
    String text;
    String className;
};

// Both are made with the first definition.
constinit SparseArray *userErrors = nullptr; // from the absolute code to the UserError
constinit HashTable *userClasses = nullptr;  // their class names, each with a 1

UserError *fromSlot(std::int64_t slot)
{
    return reinterpret_cast<UserError *>(static_cast<std::intptr_t>(slot));
}

UserError *findUserError(unsigned code)
{
    return userErrors == nullptr ? nullptr : fromSlot(userErrors->find(code));
}

void makeTables()
{
    if (userErrors == nullptr)
        userErrors = detail::newOnHeap<SparseArray>();
    if (userClasses == nullptr)
        userClasses = detail::newOnHeap<HashTable>();
}

// Both tables have it, or neither.
void addUserError(unsigned code, std::unique_ptr<UserError> added)
{
    const bool isNewClass = !userClasses->hasKey(added->className, false);
    userClasses->set(added->className, 1, false);
    try {
        userErrors->set(code, reinterpret_cast<std::intptr_t>(added.get()));
    } catch (...) {
        if (isNewClass)
            userClasses->remove(added->className, false);
        throw;
    }
    static_cast<void>(added.release());
}

String keyOf(unsigned code)
{
    char digits[std::numeric_limits<unsigned>::digits10 + 2] = {};
    std::to_chars(std::begin(digits), std::end(digits), code);
    String key(keyBegin);
    key.append("Err").append(digits).append('=');
    return key;
}

String generalKey()
{
    return String(keyBegin).append("General=");
}

} // namespace

void Error::defineError(int code, const String &text, const char *className)
{
    const unsigned absolute = detail::absoluteCode(code);
    const bool isNamed = className != nullptr && *className != '\0';
    auto defined = std::make_unique<UserError>();
    defined->text = text;
    defined->className = isNamed ? className : generalClass;
    makeTables();
    UserError *known = findUserError(absolute);
    if (known == nullptr)
        return addUserError(absolute, std::move(defined));
    userClasses->set(defined->className, 1, false);
    std::swap(known->text, defined->text);
    std::swap(known->className, defined->className);
}

void Error::undefineError(int code)
{
    if (userErrors == nullptr)
        return;
    const std::unique_ptr<UserError> removed(
        fromSlot(userErrors->remove(detail::absoluteCode(code))));
    // D-192: the set does not count.
    if (removed != nullptr)
        userClasses->remove(removed->className, false);
}

bool Error::getErrorDefinition(int code, String &text, String &className)
{
    const unsigned absolute = detail::absoluteCode(code);
    String foundText(generalText);
    String foundClass(generalClass);
    const UserError *user = findUserError(absolute);
    const bool isOwn = user == nullptr && absolute < detail::errorRows().size();
    if (user != nullptr) {
        foundText = user->text;
        foundClass = user->className;
    } else if (isOwn) {
        foundText = detail::errorRows()[absolute].text;
        foundClass = detail::errorRows()[absolute].className;
    }
    text = std::move(foundText);
    className = std::move(foundClass);
    return user != nullptr || isOwn;
}

bool Error::isErrorClass(const String &name)
{
    return (userClasses != nullptr && userClasses->hasKey(name, false)) ||
           std::ranges::any_of(builtInClasses,
                               [&](const char *className) { return name == className; });
}

namespace detail {

// A text of the library's own comes with the key that a localiser knows it by. D-193: a host's text
// does so only when the caller left none; D-196: its escapes are resolved only then.
void wordError(int code, String &message)
{
    const unsigned absolute = absoluteCode(code);
    const bool wasEmpty = message.length() == 0;
    String text(message);
    if (const UserError *user = findUserError(absolute))
        text = wasEmpty ? keyOf(absolute) + user->text : user->text;
    else if (absolute < errorRows().size())
        text = keyOf(absolute) + errorRows()[absolute].text;
    else if (wasEmpty)
        text = generalKey() + generalText;
    Localizer::getErrorMessage(static_cast<int>(absolute), text);
    message = std::move(text);
}

void stopErrorDefinitions()
{
    if (userErrors != nullptr)
        userErrors->forEach(
            [](std::int64_t, std::int64_t *slot, std::int64_t) {
                delete fromSlot(*slot);
                return true;
            },
            0);
    deleteOnHeap(std::exchange(userErrors, nullptr));
    deleteOnHeap(std::exchange(userClasses, nullptr));
}

} // namespace detail

} // namespace Tavrin

void TvGetErrorMsg(int code, Tavrin::String &message)
{
    Tavrin::detail::wordError(code, message);
}
