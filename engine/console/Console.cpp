// SPDX-License-Identifier: MIT
#include "console/Console.h"

#include <cstdio>
#include <fstream>
#include <iterator>

#include <tavrin/Encoder.h>
#include <tavrin/InitTerm.h>

#include "console/Prompt.h"

using Tavrin::Array;
using Tavrin::Encoder;
using Tavrin::Error;
using Tavrin::ErrorInfo;
using Tavrin::String;
using Tavrin::Variant;

namespace TvScript {

namespace {

constexpr int executionHalted = -34;
constexpr int badArgument = 19;
constexpr int syntaxError = 8;

// Written in the language of the scripts: it sees everything as they do. Objects are shown to a
// depth of two, lists up to a hundred elements.
constexpr const char *showSource = R"script(
(function () {
  function quoted(text) { return JSON.stringify(text); }
  function key(name) { return /^[A-Za-z_$][\w$]*$/.test(name) ? name : quoted(name); }
  function nameOf(value) {
    var made = value.constructor;
    return typeof made === 'function' && made.name && made !== Object ? made.name + ' ' : '';
  }
  function list(value, depth, seen) {
    var parts = [];
    var count = Math.min(value.length, 100);
    for (var i = 0; i < count; ++i) parts.push(show(value[i], depth + 1, seen));
    if (value.length > count) parts.push('... ' + (value.length - count) + ' more');
    return '[' + parts.join(', ') + ']';
  }
  function object(value, depth, seen) {
    var parts = [];
    for (var name in value) {
      if (!Object.prototype.hasOwnProperty.call(value, name)) continue;
      if (parts.length === 40) { parts.push('...'); break; }
      parts.push(key(name) + ': ' + show(value[name], depth + 1, seen));
    }
    return parts.length ? '{' + parts.join(', ') + '}' : '{}';
  }
  function isLive(value) { return typeof value.callMethod === 'function'; }
  function isList(value) {
    return Array.isArray(value) || (isLive(value) && typeof value.map === 'function');
  }
  function text(value) {
    var words = String(value);
    return words === '[object Object]' ? null : words;
  }
  function show(value, depth, seen) {
    if (typeof value === 'string') return quoted(value);
    if (typeof value === 'function' && !isLive(value)) return '[function ' + (value.name || '') + ']';
    if (typeof value !== 'object' && typeof value !== 'function' || value === null)
      return typeof value === 'symbol' ? 'Symbol()' : 1 / value === -Infinity ? '-0' : String(value);
    try {
      if (value instanceof Error || value instanceof Date || value instanceof RegExp)
        return String(value);
      if (seen.indexOf(value) >= 0) return '[circular]';
      seen = seen.concat([value]);
      var deep = depth > 1;
      if (isList(value)) return deep ? '[...]' : list(value, depth, seen);
      if (deep) return text(value) || '{...}';
      if (isLive(value)) return text(value) + ' ' + object(value, depth, seen);
      return nameOf(value) + object(value, depth, seen);
    } catch (error) {
      return '[' + error.message + ']';
    }
  }
  return function (value) { return show(value, 0, []); };
})()
)script";

bool endsInput(const Error &error)
{
    const ErrorInfo *info = error.getError();
    return info != nullptr && info->getCode() == syntaxError &&
           (info->getText().find("the end of the text") >= 0 ||
            info->getText().find("unterminated") >= 0 || info->getText().find("eof") >= 0);
}

bool readFile(const std::string &path, std::string &bytes)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return false;
    bytes.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    return !file.bad();
}

// What stands before the last dot is an expression, what follows the beginning of a name. False if
// there is no telling: only plain names and dots are.
bool splitPath(const std::string &before, std::string &path, std::string &start)
{
    std::size_t begin = before.size();
    const auto isPart = [](char unit) {
        return std::isalnum(static_cast<unsigned char>(unit)) != 0 || unit == '_' || unit == '$' ||
               unit == '.' || (unit & 0x80) != 0;
    };
    while (begin > 0 && isPart(before[begin - 1]))
        --begin;
    const std::string word = before.substr(begin);
    const std::size_t dot = word.rfind('.');
    path = dot == std::string::npos ? "this" : word.substr(0, dot);
    start = dot == std::string::npos ? word : word.substr(dot + 1);
    return !path.empty() && std::isdigit(static_cast<unsigned char>(path[0])) == 0;
}

} // namespace

std::string utf8Of(const String &text)
{
    std::string bytes(Tavrin::detail::utf8Length(text), char());
    Tavrin::detail::copyUtf8(text, bytes.data());
    return bytes;
}

String textOfUtf8(const std::string &bytes)
{
    String text;
    text.decode(bytes.data(), static_cast<int>(bytes.size()), &Encoder::getUtf8());
    return text;
}

Console::Console(const std::vector<std::string> &args)
{
    Array list;
    for (const std::string &argument : args)
        list += textOfUtf8(argument);
    engine.setGlobal("args", list);
    defineFunctions();
    engine.evaluate(showSource, "show", show);
}

void Console::defineFunctions()
{
    engine.setFunction("print", [](const Array &args, Variant &, Error *) {
        String line;
        for (unsigned at = 0; at < args.length(); ++at)
            line += (at == 0 ? String() : String(" ")) + args[at].toString();
        std::printf("%s\n", utf8Of(line).c_str());
        return 0;
    });
    engine.setFunction("describe", [](const Array &args, Variant &, Error *error) {
        const String text = descriptionOf(args[0]);
        if (text.length() == 0) {
            error->push(badArgument, "1: describe takes a live object or the name of a class",
                        nullptr, true);
            return badArgument;
        }
        std::printf("%s", utf8Of(text).c_str());
        return 0;
    });
    engine.setFunction("exit", [this](const Array &args, Variant &, Error *) {
        exitCode = args[0].isDefined() ? args[0].getInteger() & 0xFF : success;
        hasExited = true;
        return executionHalted;
    });
}

Console::Outcome Console::run(const String &text, const String &name, Variant &result, Error &error)
{
    const int code = engine.evaluate(text, name, result, &error);
    std::fflush(stdout);
    if (hasExited)
        return Outcome::exited;
    if (code == 0)
        return Outcome::done;
    return endsInput(error) ? Outcome::unfinished : Outcome::failed;
}

int Console::finish(Outcome outcome, const Error &error)
{
    if (outcome == Outcome::exited)
        return exitCode;
    if (outcome == Outcome::done)
        return success;
    std::fprintf(stderr, "%s", utf8Of(Engine::report(error)).c_str());
    return scriptFailed;
}

int Console::runFile(const std::string &path)
{
    std::string bytes;
    if (!readFile(path, bytes)) {
        std::fprintf(stderr, "tavrin: cannot read %s\n", path.c_str());
        return cannotStart;
    }
    if (bytes.rfind("\xEF\xBB\xBF", 0) == 0)
        bytes.erase(0, 3);
    String text;
    if (text.decode(bytes.data(), static_cast<int>(bytes.size()), &Encoder::getUtf8()) != 0) {
        std::fprintf(stderr, "tavrin: %s is not UTF-8\n", path.c_str());
        return cannotStart;
    }
    Variant result;
    Error error;
    const Outcome outcome = run(text, textOfUtf8(path), result, error);
    return finish(outcome, error);
}

int Console::runText(const std::string &text, const std::string &name)
{
    Variant result;
    Error error;
    const Outcome outcome = run(textOfUtf8(text), textOfUtf8(name), result, error);
    if (outcome == Outcome::done && result.isDefined())
        std::printf("%s\n", shown(result).c_str());
    return finish(outcome, error);
}

int Console::runPrompt()
{
    Prompt prompt([this](const std::string &before) { return complete(before); });
    if (prompt.isInteractive())
        std::printf("Tavrin %d.%d.%d. Ctrl-D or exit() leaves.\n", Tavrin::getVersion() >> 16,
                    Tavrin::getVersion() >> 8 & 0xFF, Tavrin::getVersion() & 0xFF);
    std::string pending;
    std::string line;
    int number = 0;
    while (!hasExited) {
        const Prompt::Answer answer = prompt.read(pending.empty() ? "> " : "... ", line);
        if (answer == Prompt::Answer::end)
            break;
        if (answer == Prompt::Answer::interrupt)
            pending.clear();
        else if (!runLine(pending, line, ++number) && !prompt.isInteractive())
            exitCode = scriptFailed; // a script that is piped in
    }
    if (prompt.isInteractive() && !hasExited)
        std::printf("\n");
    if (!pending.empty()) {
        std::fprintf(stderr, "tavrin: the text ends too early\n");
        return scriptFailed;
    }
    return exitCode;
}

// Adds a line to what is waiting, and runs all of it if it is complete. An empty line gives up.
bool Console::runLine(std::string &pending, const std::string &line, int number)
{
    const bool isLast = !pending.empty() && line.empty();
    pending += line + "\n";
    Variant result;
    Error error;
    const Outcome outcome =
        run(textOfUtf8(pending), textOfUtf8("line " + std::to_string(number)), result, error);
    if (outcome == Outcome::unfinished && !isLast)
        return true;
    pending.clear();
    if (outcome == Outcome::done && result.isDefined())
        std::printf("%s\n", shown(result).c_str());
    if (outcome == Outcome::failed || outcome == Outcome::unfinished)
        std::fprintf(stderr, "%s", utf8Of(Engine::report(error)).c_str());
    std::fflush(stdout);
    return outcome == Outcome::done || outcome == Outcome::exited;
}

// The names that an unfinished word may become, each with what stands before it in the word. The
// value before the dot is read, which is what a user is about to do.
std::vector<std::string> Console::complete(const std::string &before)
{
    std::string path;
    std::string start;
    std::vector<std::string> found;
    if (!splitPath(before, path, start))
        return found;
    Variant object;
    Array names;
    if (engine.evaluate(textOfUtf8(path), "completion", object) != 0 ||
        engine.getNames(object, names) != 0)
        return found;
    const std::string prefix =
        path == "this" && before.find("this.") == std::string::npos ? std::string() : path + ".";
    for (unsigned at = 0; at < names.length(); ++at) {
        const std::string name = utf8Of(names[at].getString());
        const bool isInternal = name.rfind("__", 0) == 0 && start.empty();
        if (name.rfind(start, 0) == 0 && !isInternal)
            found.push_back(prefix + name);
    }
    return found;
}

std::string Console::shown(const Variant &value)
{
    Array args;
    args += value;
    Variant text;
    return Engine::call(show, args, text) == 0 ? utf8Of(text.getString())
                                               : utf8Of(value.toString());
}

} // namespace TvScript
