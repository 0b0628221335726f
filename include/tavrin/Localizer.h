// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/Export.h>
#include <tavrin/Heap.h>
#include <tavrin/String.h>

namespace Tavrin {

class Array;

// Localizer: one link of the chain that answers questions of language, and the questions. Hosts
// derive from it, override what they can answer, and set or push their object. Each question goes
// to the thread's current localiser first, then to the pushed ones from the newest to the oldest;
// the first that answers ends the search. When none answers there is a fixed answer for each.
//
// A text that begins with "$$$" is a key with its built-in text, as "$$$/Menu/Open=Open %1".
//
// Owns:    nothing. What a host sets or pushes stays the host's, and has to live as long.
// Threads: the chain is the calling thread's; a new thread begins with the built-in answers. A host
//          may put one object into the chains of several threads, which may then ask it at the same
//          time.
// Cost:    a walk of the chain; linear in the text.
// Failure: no error results. std::bad_alloc from Heap, and whatever a host's answer throws; the
//          arguments are as before then.
class TAVRIN_API Localizer : public Root
{
public:
    constexpr Localizer() = default;
    ~Localizer() override;

    // The current localiser of the calling thread. While the library comes up for the first time it
    // is the built-in one, which answers nothing.
    static const Localizer &get();
    // The built-in one.
    static const Localizer &getDefault();
    // Makes `localizer` the current one of the calling thread; null means the built-in one.
    static void set(const Localizer *localizer);

    // The calling thread's stack. pop returns what it removed, or null from an empty stack. remove
    // takes the oldest occurrence away, wherever it stands; false if there is none.
    static void push(const Localizer &localizer);
    static const Localizer *pop();
    static bool remove(const Localizer &localizer);

    // The user's locale, as "en_US". Without an answer from the chain it is that of the system,
    // which is read once between InitTerm::init and exit; D-180: it is made to fit the language
    // files that hosts ship, so that all of French is "fr_FR".
    static String getLocale();
    // Replaces a key by its text, which is the one behind the first "=" when nobody knows better.
    // D-181: then, for any text, turns escapes such as "\n" and "^T" into what they stand for.
    static void getZString(String &text);
    // Resolves a key, or has the chain translate plain text, and then fills in the arguments: "%1"
    // becomes the first, "%%" a "%". A number without an argument gives nothing; null is an empty
    // list. D-182: a "%" at the very end keeps a 0 unit behind it.
    static String localize(const String &text, const Array *args);
    // Words an error: `out` may come with a default text, which may be a key. True when the chain
    // had an answer.
    static bool getErrorMessage(int code, String &out);
    // Case by the rules of the user's language, or else by String::toLower and toUpper.
    static String caseConvert(const String &text, bool lower);
    // Below 0, 0 or above 0 by the order of the user's language, or else by String::cmp.
    static int compare(const String &a, const String &b);

protected:
    // What localizedCompare returns when it has no answer.
    static constexpr int noOrder = 0x7FFFFFFF;

    // The questions, in the order that hosts were compiled with. The defaults have no answer. One
    // that returns false is passed over, and leaves its last argument as it was.
    virtual bool getZString(String &text, const String &locale, const String &family) const;
    virtual bool getLocale(String &out) const;
    virtual bool localizeText(String &text) const;
    virtual bool localizedCaseConvert(String &text, bool lower) const;
    virtual int localizedCompare(const String &a, const String &b) const;
    virtual bool getErrorMsg(int code, String &out) const;
};

} // namespace Tavrin
