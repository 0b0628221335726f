// SPDX-License-Identifier: MIT
#pragma once

namespace Tavrin {
class String;
}

namespace Tavrin::detail {

// What TvGetErrorMsg does.
void wordError(int code, String &message);

// Gives up what hosts have defined.
void stopErrorDefinitions();

} // namespace Tavrin::detail
