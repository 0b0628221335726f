// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/Export.h>

namespace Tavrin {

// InitTerm: the one entry and exit of the library.
// Threads: init, exit and setMT run while one thread uses the library; the rest on any thread.
// Cost:    the first init and the last exit take some microseconds; nested ones are a count.
// Failure: std::bad_alloc out of init and setMT. D-006: a failed init still counts; exit then takes
//          down what came up.
class TAVRIN_API InitTerm
{
public:
    // Counted: the first call brings the library up.
    static void init();
    // Balances one init; the last one runs the exit handlers and takes the library down. From then
    // on allocations throw and releases are ignored. Without init it does nothing.
    static void exit();
    static bool isInitialized();

    // Switches to multi-threaded operation, before a second thread uses the library. Only the last
    // exit switches back.
    static void setMT();
    static bool isMT();

    // Silences the dialogs when false; true at first.
    static void enableUI(bool enable);
    static bool isUIEnabled();

    // Has the last exit call `handler`; handlers run in the order of registration, and those that a
    // handler adds run too. Null is ignored, and so is a call outside init and exit.
    static void atExit(void (*handler)());
};

// The version, a byte each for major, minor and patch: 0x4050C is 4.5.12.
TAVRIN_API int getVersion();

// A hook for assertion-like checks, with a message, a file and a line. It does nothing.
TAVRIN_API void DebugAlert(const char *message, const char *file, int line);

} // namespace Tavrin
