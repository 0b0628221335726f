// SPDX-License-Identifier: MIT
#include "console/Prompt.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <utility>

#include <editline/readline.h>
#include <unistd.h>

namespace TvScript {

namespace {

// The line editor calls functions without an argument of ours.
Prompt::Completer activeCompleter;
std::vector<std::string> candidates;
std::size_t nextCandidate = 0;

char *giveCandidate(const char *, int isFurther)
{
    if (isFurther == 0)
        nextCandidate = 0;
    if (nextCandidate == candidates.size())
        return nullptr;
    return strdup(candidates[nextCandidate++].c_str());
}

char **complete(const char *word, int, int end)
{
    rl_attempted_completion_over = 1; // no file names
    rl_completion_append_character = 0;
    candidates = activeCompleter(std::string(rl_line_buffer, static_cast<std::size_t>(end)));
    return candidates.empty() ? nullptr : rl_completion_matches(word, giveCandidate);
}

} // namespace

Prompt::Prompt(Completer completer) : interactive(isatty(STDIN_FILENO) != 0)
{
    if (!interactive)
        return;
    activeCompleter = std::move(completer);
    rl_initialize();
    rl_attempted_completion_function = complete;
    rl_basic_word_break_characters = " \t\n\"'`@><=;|&{}()[]+-*/%!?:,~^";
    using_history();
    const char *home = std::getenv("HOME");
    if (home == nullptr)
        return;
    historyFile = std::string(home) + "/.tavrin_history";
    read_history(historyFile.c_str());
}

Prompt::~Prompt()
{
    activeCompleter = nullptr;
    if (!historyFile.empty())
        write_history(historyFile.c_str());
}

bool Prompt::read(const char *prompt, std::string &line)
{
    if (!interactive)
        return static_cast<bool>(std::getline(std::cin, line));
    char *typed = readline(prompt);
    if (typed == nullptr)
        return false;
    line = typed;
    if (!line.empty())
        add_history(typed);
    std::free(typed);
    return true;
}

} // namespace TvScript
