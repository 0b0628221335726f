// SPDX-License-Identifier: MIT
#include "OneGlobals.h"

extern "C" __attribute__((visibility("default"))) const char *disagreementOfPlugin()
{
    return Tavrin::link::disagreement();
}
