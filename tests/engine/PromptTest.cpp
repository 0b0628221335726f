// SPDX-License-Identifier: MIT
// The console at a terminal: a child runs it on a pseudo terminal, and the test types. It waits for
// what it expects to see, and never for a fixed time.
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <tavrin/InitTerm.h>

#include "console/Console.h"
#include "engine/ScriptTest.h"

namespace Tavrin::test {
namespace {

constexpr int longestWait = 20000; // milliseconds, which only a failing test takes

int runConsole()
{
    InitTerm::init();
    int code = 0;
    {
        LiveObject::addFactory(*make<Box>(), 1);
        TvScript::Console console({});
        code = console.runPrompt();
        LiveObject::removeFactory("Box");
    }
    InitTerm::exit();
    return code;
}

// A console in a process of its own, with its user.
class Terminal
{
public:
    explicit Terminal(const std::string &home)
    {
        std::fflush(nullptr); // or the child would show it too
        child = forkpty(&master, nullptr, nullptr, nullptr);
        if (child != 0)
            return;
        setenv("HOME", home.c_str(), 1);
        setenv("TERM", "dumb", 1);
        std::exit(runConsole());
    }
    ~Terminal()
    {
        if (child > 0 && !hasEnded) {
            kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
        }
        close(master);
    }
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    // Types behind a prompt.
    void type(const std::string &keys, const char *prompt = "> ")
    {
        EXPECT_TRUE(shows(prompt)) << seen;
        EXPECT_TRUE(isEdited()) << seen;
        add(keys);
    }
    // Whether the editor takes the keys, which it does from some moment after the prompt; until
    // then the terminal itself edits the line.
    bool isEdited() const
    {
        for (int waited = 0; waited < longestWait; ++waited) {
            termios state{};
            if (tcgetattr(master, &state) == 0 && (state.c_lflag & ICANON) == 0)
                return true;
            usleep(1000);
        }
        return false;
    }
    // Goes on in the line.
    void add(const std::string &keys)
    {
        EXPECT_EQ(write(master, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }
    // Whether the console shows the text, behind what was awaited before.
    bool shows(const std::string &text, int wait = longestWait)
    {
        for (;;) {
            const std::size_t at = seen.find(text, from);
            if (at != std::string::npos) {
                from = at + text.size();
                return true;
            }
            if (!readMore(wait))
                return false;
        }
    }
    // The exit code, once the console has ended; -1 if it does not end by itself.
    int end()
    {
        while (readMore(longestWait))
            ;
        if (isSilent)
            return -1;
        int status = 0;
        waitpid(child, &status, 0);
        hasEnded = true;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    const std::string &text() const { return seen; }

private:
    bool readMore(int wait)
    {
        pollfd waiting{master, POLLIN, 0};
        isSilent = poll(&waiting, 1, wait) != 1;
        if (isSilent)
            return false;
        std::array<char, 4096> bytes;
        const ssize_t count = read(master, bytes.data(), bytes.size());
        if (count <= 0)
            return false;
        seen.append(bytes.data(), static_cast<std::size_t>(count));
        return true;
    }

    pid_t child = -1;
    int master = -1;
    bool hasEnded = false;
    bool isSilent = false; // longer than it may be
    std::string seen;
    std::size_t from = 0;
};

class PromptTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "promptXXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        home = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(home); }

    std::string home;
};

TEST_F(PromptTest, TheTabulatorCompletesNamesOfLiveObjects)
{
    Terminal terminal(home);
    terminal.type("var box = new Box(123)\n");
    terminal.type("box.wi\t\n");
    EXPECT_TRUE(terminal.shows("\n123")) << terminal.text();
    terminal.type("box.gr\t(1)\n");
    EXPECT_TRUE(terminal.shows("\n124")) << terminal.text();
    terminal.type("box.\t\t");
    EXPECT_TRUE(terminal.shows("\n> ")) << terminal.text();
    for (const char *name : {"box.area", "box.label", "box.grow", "box.valueOf"})
        EXPECT_NE(terminal.text().find(name), std::string::npos) << terminal.text();
    EXPECT_EQ(terminal.text().find("box.__"), std::string::npos) << terminal.text();
    terminal.add("label.le\t\n");
    EXPECT_TRUE(terminal.shows("\n0")) << terminal.text();
    terminal.type("\x04");
    EXPECT_EQ(terminal.end(), 0) << terminal.text();
}

TEST_F(PromptTest, ErrorsAreShownWithTheirLineAndTheConsoleGoesOn)
{
    Terminal terminal(home);
    terminal.type("new Box(5000)\n");
    EXPECT_TRUE(terminal.shows("line 1:1: width is out of range")) << terminal.text();
    EXPECT_TRUE(terminal.shows("    new Box(5000)")) << terminal.text();
    terminal.type("6 * 7\n");
    EXPECT_TRUE(terminal.shows("\n42")) << terminal.text();
    terminal.type("exit(3)\n");
    EXPECT_EQ(terminal.end(), 3) << terminal.text();
}

TEST_F(PromptTest, ATextMayGoOnInFurtherLines)
{
    Terminal terminal(home);
    terminal.type("function f() {\n");
    terminal.type("return 'za\u017c' + 7 }\n", "... ");
    terminal.type("f()\n");
    EXPECT_TRUE(terminal.shows("\n\"za\u017c7\"")) << terminal.text();
    terminal.type("1 +\n");
    terminal.type("\n", "... ");
    EXPECT_TRUE(terminal.shows("Syntax error")) << terminal.text();
    terminal.type("\x04");
    EXPECT_EQ(terminal.end(), 0) << terminal.text();
}

TEST_F(PromptTest, AnInterruptGivesUpWhatWasTyped)
{
    Terminal terminal(home);
    terminal.type("if (true) {\n");
    EXPECT_TRUE(terminal.shows("... "));
    // One that comes in the instant before the editor waits is seen with the next key.
    for (int tries = 0; tries < 100 && !terminal.shows("\n> ", 200); ++tries)
        terminal.add("\x03");
    EXPECT_TRUE(terminal.isEdited());
    terminal.add("6 * 7\n");
    EXPECT_TRUE(terminal.shows("\n42")) << terminal.text();
    terminal.type("\x04");
    EXPECT_EQ(terminal.end(), 0) << terminal.text();
}

TEST_F(PromptTest, LinesAreRememberedFromOneRunToTheNext)
{
    for (const char *keys : {"'un' + 'forgotten'\n", "\x1b[A\n", "\x10\n"}) { // up, control-P
        Terminal terminal(home);
        terminal.type(keys);
        EXPECT_TRUE(terminal.shows("\"unforgotten\"")) << terminal.text();
        terminal.type("\x04");
        EXPECT_EQ(terminal.end(), 0) << terminal.text();
    }
}

} // namespace
} // namespace Tavrin::test
