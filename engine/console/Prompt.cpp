// SPDX-License-Identifier: MIT
#include "console/Prompt.h"

#include <clocale>
#include <csignal>
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

// Lines are UTF-8 in any locale; the editor looks at that of the process.
void useUtf8()
{
    if (std::setlocale(LC_CTYPE, "") == nullptr || MB_CUR_MAX == 1)
        std::setlocale(LC_CTYPE, "C.UTF-8");
}

volatile std::sig_atomic_t isInterrupted = 0;

void onInterrupt(int)
{
    isInterrupted = 1;
}

// While it lives, control-C ends the reading of a line, and not the program.
class Interruptible
{
public:
    Interruptible()
    {
        isInterrupted = 0;
        struct sigaction action = {};
        action.sa_handler = onInterrupt; // and no restart
        sigaction(SIGINT, &action, &before);
    }
    ~Interruptible() { sigaction(SIGINT, &before, nullptr); }
    Interruptible(const Interruptible &) = delete;
    Interruptible &operator=(const Interruptible &) = delete;

private:
    struct sigaction before = {};
};

} // namespace

Prompt::Prompt(Completer completer) : interactive(isatty(STDIN_FILENO) != 0)
{
    if (!interactive)
        return;
    activeCompleter = std::move(completer);
    useUtf8();
    rl_initialize();
    rl_attempted_completion_function = complete;
    rl_basic_word_break_characters = " \t\n\"'`@><=;|&{}()[]+-*/%!?:,~^";
    using_history();
    stifle_history(longestHistory);
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

Prompt::Answer Prompt::read(const char *prompt, std::string &line)
{
    if (interactive)
        return readEdited(prompt, line);
    return std::getline(std::cin, line) ? Answer::line : Answer::end;
}

Prompt::Answer Prompt::readEdited(const char *prompt, std::string &line)
{
    char *typed = nullptr;
    {
        const Interruptible untilHere;
        typed = readline(prompt);
    }
    if (typed == nullptr && isInterrupted != 0) {
        std::puts("");
        return Answer::interrupt;
    }
    if (typed == nullptr)
        return Answer::end;
    line = typed;
    if (!line.empty() && line != lastLine)
        add_history(typed);
    lastLine = line;
    std::free(typed);
    return Answer::line;
}

} // namespace TvScript
