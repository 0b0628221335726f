// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

// Lines of words, the same for the same length, with now and then what a pattern looks for: a word
// that ends in ing, a word twice, a telephone number, one of ten names, foo.
std::string textOfLength(std::size_t length);

// So many short subjects, one line of such a text each.
std::vector<std::string> shortSubjects(std::size_t count);

} // namespace bench
