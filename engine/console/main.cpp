// SPDX-License-Identifier: MIT
// The console: runs a script file or a text, or reads lines.
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include <tavrin/InitTerm.h>

#include "console/Console.h"

namespace {

using TvScript::Console;

struct Options
{
    std::string file;
    std::string text;
    std::vector<std::string> args;
    bool hasText = false;
};

int run(const Options &options)
{
    Console console(options.args);
    if (options.hasText)
        return console.runText(options.text, "-e");
    if (!options.file.empty())
        return console.runFile(options.file);
    return console.runPrompt();
}

std::string version()
{
    const int number = Tavrin::getVersion();
    return "tavrin " + std::to_string(number >> 16) + "." + std::to_string(number >> 8 & 0xFF) +
           "." + std::to_string(number & 0xFF);
}

int start(int argc, char **argv)
{
    Options options;
    CLI::App app("Runs a script; without one, reads lines from the terminal.", "tavrin");
    app.footer("Scripts have print(...), describe(object), exit(code) and the array args.\n"
               "The exit code is 0, 1 after an error of the script, 2 if it could not start.");
    app.set_version_flag("-v,--version", version());
    const CLI::Option *text =
        app.add_option("-e,--evaluate", options.text, "Run this text and show its value");
    app.add_option("file", options.file, "The script, in UTF-8");
    app.add_option("args", options.args, "The arguments of the script");
    app.positionals_at_end();
    app.prefix_command(false);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? Console::success : Console::cannotStart;
    }
    options.hasText = text->count() != 0;
    if (options.hasText && !options.file.empty())
        options.args.insert(options.args.begin(), options.file);

    Tavrin::InitTerm::init();
    const int exitCode = run(options);
    Tavrin::InitTerm::exit();
    return exitCode;
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return start(argc, argv);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "tavrin: %s\n", error.what());
        return Console::cannotStart;
    }
}
