// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include <tavrin/String.h>

// The fields of a line of a CSV file; one in double quotes may have commas in it, and quotes twice.
inline std::vector<Tavrin::String> fieldsOf(const Tavrin::String &line)
{
    std::vector<Tavrin::String> fields(1);
    bool isQuoted = false;
    for (int at = 0; at < line.length(); ++at) {
        const bool isTwice = line[at] == '"' && at + 1 < line.length() && line[at + 1] == '"';
        if (line[at] == ',' && !isQuoted)
            fields.emplace_back();
        else if (line[at] != '"')
            fields.back() += line[at];
        else if (isQuoted && isTwice)
            fields.back() += line[at++];
        else
            isQuoted = !isQuoted;
    }
    return fields;
}
