// SPDX-License-Identifier: MIT
#pragma once

namespace bench {

void registerSparseArrayCases();
void registerHashTableCases();

} // namespace bench
