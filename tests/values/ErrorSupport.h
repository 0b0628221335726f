// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <tavrin/Error.h>
#include <tavrin/Refcountable.h>

#include "text/StringSupport.h"

namespace Tavrin::test {

// Note: data as a host attaches it to a record. It counts the living notes, and its clones behave
// as they are told.
class Note : public Cloneable
{
public:
    struct Behaviour
    {
        int living = 0;
        int clones = 0;
        bool lastFlag = false;
        int cloneCode = 0;             // what clone returns; with another code than 0 it clones not
        std::function<void()> onClone; // runs first
        std::function<void()> onDestroy; // runs last
    };

    Note(Behaviour &ofAll, int number = 0) : value(number), behaviour(ofAll) { ++behaviour.living; }
    ~Note() override
    {
        --behaviour.living;
        if (behaviour.onDestroy)
            behaviour.onDestroy();
    }

    int clone(Cloneable **out, bool flag) const override
    {
        if (behaviour.onClone)
            behaviour.onClone();
        behaviour.lastFlag = flag;
        if (behaviour.cloneCode != 0)
            return behaviour.cloneCode;
        *out = new Note(behaviour, value);
        ++behaviour.clones;
        return 0;
    }

    const int value;

private:
    Behaviour &behaviour;
};

// The texts of all records, the newest first.
inline std::vector<std::u16string> textsOf(const Error &error)
{
    std::vector<std::u16string> texts;
    for (const ErrorInfo *record = error.getError(); record != nullptr; record = record->getNext())
        texts.push_back(unitsOf(record->getText()));
    return texts;
}

inline std::vector<std::u16string> texts(std::initializer_list<const char16_t *> list)
{
    return {list.begin(), list.end()};
}

inline void pushText(Error &error, const char *text)
{
    error.push(1, String(text), nullptr, false);
}

} // namespace Tavrin::test
