// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include <tavrin/String.h>

namespace Tavrin::detail {

// What a name says about a code page of the system.
struct CodePageName
{
    unsigned codePage;
    int mapping;       // bytes of every character, or 0
    const char *names; // other names, separated by commas
};

// The code page behind a normalised name: "CP" or "WINDOWS-" with a number, or a name of the table.
// The system may not know it.
std::optional<CodePageName> findCodePage(const String &name);

// All names of an encoder for the code page.
String aliasesOf(const CodePageName &page);

} // namespace Tavrin::detail
