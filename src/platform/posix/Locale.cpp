// SPDX-License-Identifier: MIT
#include "platform/Locale.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace Tavrin::platform {

namespace {

// "language_country" of the variable that decides in which language messages are; the codeset and
// the modifier, which may follow as in "de_DE.UTF-8@euro", are cut off.
std::string_view messageLocale()
{
    for (const char *name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char *value = std::getenv(name);
        if (value == nullptr || *value == '\0')
            continue;
        const std::string_view locale(value);
        return locale.substr(0, locale.find_first_of(".@"));
    }
    return {};
}

bool isCodeCharacter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9');
}

// Turns away "C" and "POSIX", which name no language, and what is no code at all.
std::optional<LocaleCode> codeOf(std::string_view text)
{
    if (text.size() < 2 || text.size() > 3 || !std::ranges::all_of(text, isCodeCharacter))
        return {};
    LocaleCode code{};
    std::ranges::copy(text, code.begin());
    return code;
}

} // namespace

std::optional<LocaleCode> userLanguage()
{
    const std::string_view locale = messageLocale();
    return codeOf(locale.substr(0, locale.find('_')));
}

std::optional<LocaleCode> userCountry()
{
    const std::string_view locale = messageLocale();
    const std::size_t underscore = locale.find('_');
    if (underscore == std::string_view::npos)
        return {};
    return codeOf(locale.substr(underscore + 1));
}

} // namespace Tavrin::platform
