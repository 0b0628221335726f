// SPDX-License-Identifier: MIT
// The locale that stands for the user's system: what the platform says, in one spelling, and with
// the regions that share a language file put together. Pinned by
// tests/containers/LocalizerLocaleTest.cpp.
#include "containers/LocalizerLocale.h"

#include <algorithm>
#include <iterator>

#include "platform/Locale.h"
#include "text/UnicodeTables.h"

namespace Tavrin::detail {

namespace {

constexpr int languageLength = 2;
constexpr int fullLength = 5; // of "en_US"

struct Mapping
{
    const char *from;
    const char *to;
};

// What a language alone stands for.
constexpr Mapping languages[] = {
    {"da", "da_DK"}, {"en", "en_US"}, {"ja", "ja_JP"},
    {"ko", "ko_KR"}, {"fa", "ar_AR"}, {"zh", "zh_CN"},
};

// D-180: the regions of these languages share a file. "zh_CN" has one of its own.
constexpr Mapping regions[] = {
    {"ar_", "ar_AE"}, {"zh_", "zh_TW"}, {"fr_", "fr_FR"}, {"de_", "de_DE"}, {"es_", "es_ES"},
};
constexpr const char *simplifiedChinese = "zh_CN";

String systemLocale()
{
    const auto language = platform::userLanguage();
    if (!language)
        return "en_US";
    String locale(language->data());
    if (const auto country = platform::userCountry())
        locale.append('_').append(country->data());
    return locale == "no_NO" ? String("nb_NO") : locale;
}

void lowerUnit(String &text, int index)
{
    text.set(index, toLowerUnit(text.wstr()[index]));
}

void upperUnit(String &text, int index)
{
    text.set(index, toUpperUnit(text.wstr()[index]));
}

// Whatever the lengths of language and country: the places are fixed.
void normalise(String &locale)
{
    lowerUnit(locale, 0);
    lowerUnit(locale, 1);
    if (locale.length() < fullLength)
        return;
    upperUnit(locale, 3);
    upperUnit(locale, 4);
}

void completeLanguage(String &locale)
{
    const auto *mapping = std::ranges::find_if(
        languages, [&](const Mapping &candidate) { return locale == candidate.from; });
    if (mapping != std::end(languages)) {
        locale = mapping->to;
        return;
    }
    String country(locale);
    country.toUpper();
    locale.append('_').append(country);
}

void mergeRegion(String &locale)
{
    if (locale == simplifiedChinese)
        return;
    const auto *mapping = std::ranges::find_if(regions, [&](const Mapping &candidate) {
        return locale.ncmp(candidate.from, languageLength + 1) == 0;
    });
    if (mapping != std::end(regions))
        locale = mapping->to;
}

} // namespace

// D-183: one step after the other, so that "fa" becomes "ar_AR" and that "ar_AE".
String fittedSystemLocale()
{
    String locale = systemLocale();
    normalise(locale);
    if (locale.length() == languageLength)
        completeLanguage(locale);
    if (locale.length() == fullLength)
        mergeRegion(locale);
    return locale;
}

} // namespace Tavrin::detail
