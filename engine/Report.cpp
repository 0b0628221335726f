// SPDX-License-Identifier: MIT
// An error in words. Pinned by tests/engine/EngineErrorTest.cpp.
#include <tvscript/Engine.h>

#include <tavrin/Error.h>

using Tavrin::Error;
using Tavrin::ErrorInfo;
using Tavrin::String;

namespace TvScript {

namespace {

// A line of a text, counted from 1, without the blanks around it.
String lineOf(const String &text, int number)
{
    int begin = 0;
    for (; number > 1; --number) {
        const int end = text.find('\n', begin);
        if (end < 0)
            return {};
        begin = end + 1;
    }
    const int end = text.find('\n', begin);
    String line = text.substr(begin, end < 0 ? -1 : end - begin);
    line.strip();
    return line;
}

void addPlace(String &report, const ErrorInfo &info)
{
    String line;
    line.print(":%d: ", info.getLine());
    report += info.getFile().length() != 0 ? info.getFile() : String("script");
    report += line;
}

void addSource(String &report, const ErrorInfo &info)
{
    constexpr int longest = 160;
    String line = lineOf(info.getSource(), info.getLine());
    if (line.length() == 0)
        return;
    if (line.length() > longest) {
        line.erase(longest, -1);
        line += "...";
    }
    report += "    ";
    report += line;
    report += '\n';
}

} // namespace

String Engine::report(const Error &error)
{
    String report;
    const ErrorInfo *newest = error.getError();
    for (const ErrorInfo *info = newest; info != nullptr; info = info->getNext()) {
        const bool isPlaced = info->getLine() > 0;
        if (info != newest)
            report += "- ";
        if (isPlaced)
            addPlace(report, *info);
        report += info->getText();
        report += '\n';
        if (isPlaced)
            addSource(report, *info);
    }
    return report;
}

} // namespace TvScript
