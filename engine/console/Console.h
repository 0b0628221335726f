// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include <tavrin/Array.h>
#include <tavrin/Error.h>
#include <tavrin/String.h>
#include <tavrin/Variant.h>
#include <tvscript/Engine.h>

namespace TvScript {

// The text for the terminal, and of a file, which are UTF-8.
std::string utf8Of(const Tavrin::String &text);
Tavrin::String textOfUtf8(const std::string &bytes);

// Console: an engine with the functions that scripts of the console have: print, describe, exit,
// and the array `args`. Threads: one.
class Console
{
public:
    enum ExitCode
    {
        success = 0,
        scriptFailed = 1,
        cannotStart = 2, // also for a wrong command line
    };

    explicit Console(const std::vector<std::string> &args);

    // Each returns the exit code.
    int runFile(const std::string &path);
    int runText(const std::string &text, const std::string &name);
    int runPrompt();

private:
    // How a text ended.
    enum class Outcome
    {
        done,
        failed,
        unfinished, // it may go on in another line
        exited,
    };

    void defineFunctions();
    Outcome run(const Tavrin::String &text, const Tavrin::String &name, Tavrin::Variant &result,
                Tavrin::Error &error);
    int finish(Outcome outcome, const Tavrin::Error &error);
    bool runLine(std::string &pending, const std::string &line, int number);
    std::vector<std::string> complete(const std::string &before);
    std::string shown(const Tavrin::Variant &value);

    Engine engine;
    Tavrin::Variant show; // the function that makes values readable
    int exitCode = success;
    bool hasExited = false;
};

// What reflection knows of the class of a live object, or of one that is registered under a name;
// empty for anything else.
Tavrin::String descriptionOf(const Tavrin::Variant &value);

} // namespace TvScript
