// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <functional>

#include <tavrin/Localizer.h>

namespace Tavrin::test {

// HostLocalizer: a localiser as a host writes it. It answers what it has a function for, and
// counts all questions.
class HostLocalizer : public Localizer
{
public:
    std::function<bool(String &, const String &, const String &)> onGetZString;
    std::function<bool(String &)> onGetLocale;
    std::function<bool(String &)> onLocalizeText;
    std::function<bool(String &, bool)> onCaseConvert;
    std::function<int(const String &, const String &)> onCompare;
    std::function<bool(int, String &)> onGetErrorMsg;
    mutable std::atomic<int> questions = 0;

protected:
    bool getZString(String &text, const String &locale, const String &family) const override
    {
        ++questions;
        return onGetZString ? onGetZString(text, locale, family)
                            : Localizer::getZString(text, locale, family);
    }
    bool getLocale(String &out) const override
    {
        ++questions;
        return onGetLocale ? onGetLocale(out) : Localizer::getLocale(out);
    }
    bool localizeText(String &text) const override
    {
        ++questions;
        return onLocalizeText ? onLocalizeText(text) : Localizer::localizeText(text);
    }
    bool localizedCaseConvert(String &text, bool lower) const override
    {
        ++questions;
        return onCaseConvert ? onCaseConvert(text, lower)
                             : Localizer::localizedCaseConvert(text, lower);
    }
    int localizedCompare(const String &a, const String &b) const override
    {
        ++questions;
        return onCompare ? onCompare(a, b) : Localizer::localizedCompare(a, b);
    }
    bool getErrorMsg(int code, String &out) const override
    {
        ++questions;
        return onGetErrorMsg ? onGetErrorMsg(code, out) : Localizer::getErrorMsg(code, out);
    }
};

// A localiser pushed for the length of a block.
class Pushed
{
public:
    explicit Pushed(const Localizer &localizer) { Localizer::push(localizer); }
    ~Pushed() { Localizer::pop(); }
    Pushed(const Pushed &) = delete;
    Pushed &operator=(const Pushed &) = delete;
};

// A localiser made the current one for the length of a block.
class Current
{
public:
    explicit Current(const Localizer &localizer) { Localizer::set(&localizer); }
    ~Current() { Localizer::set(nullptr); }
    Current(const Current &) = delete;
    Current &operator=(const Current &) = delete;
};

} // namespace Tavrin::test
