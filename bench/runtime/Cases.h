// SPDX-License-Identifier: MIT
#pragma once

namespace bench {

void registerHeapCases();
void registerInitTermCases();
void registerHandOverCases();

} // namespace bench
