// SPDX-License-Identifier: MIT
#pragma once

#include <type_traits>

namespace Tavrin::test {

// Whether an operation exists in that form, as in
//   EXPECT_TRUE(has<int (String::*)(int) const>(&String::length));
// What is missing does not link, and what has another form does not compile.
template <class Form>
bool has(std::type_identity_t<Form> operation)
{
    return operation != nullptr;
}

} // namespace Tavrin::test
