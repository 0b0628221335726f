// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace TvScript {

// Prompt: reads lines: from a terminal with editing, history and completion, from anything else as
// they are. The history is kept in the user's folder. There is one at a time.
class Prompt
{
public:
    // From the text before the cursor, what its last word may become.
    using Completer = std::function<std::vector<std::string>(const std::string &before)>;

    explicit Prompt(Completer completer);
    ~Prompt();
    Prompt(const Prompt &) = delete;
    Prompt &operator=(const Prompt &) = delete;

    bool isInteractive() const { return interactive; }
    // False at the end of the input.
    bool read(const char *prompt, std::string &line);

private:
    bool interactive;
    std::string historyFile;
};

} // namespace TvScript
