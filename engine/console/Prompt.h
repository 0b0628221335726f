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

    // What a user has done.
    enum class Answer
    {
        line,
        interrupt, // control-C: whatever was typed is given up
        end,       // of the input, control-D
    };

    bool isInteractive() const { return interactive; }
    Answer read(const char *prompt, std::string &line);

private:
    Answer readEdited(const char *prompt, std::string &line);

    static constexpr int longestHistory = 1000;

    bool interactive;
    std::string historyFile;
    std::string lastLine; // of the history
};

} // namespace TvScript
