// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace bench {

// The name under which bench/report finds a measurement: case, who, size.
inline std::string caseName(const std::string &name, const char *who, std::size_t size)
{
    return name + '/' + who + '/' + std::to_string(size);
}

} // namespace bench
