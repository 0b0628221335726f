// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include <gtest/gtest.h>

namespace Tavrin::test {

// LibrarySession: the library from init to exit, with the shared TestAllocator in force and an
// empty block cache. Its end reports, as a test failure, every block that was made meanwhile and
// that exit has not brought back.
class LibrarySession
{
public:
    enum class Mode
    {
        singleThreaded,
        multiThreaded, // with setMT
    };

    explicit LibrarySession(Mode mode = Mode::singleThreaded);
    ~LibrarySession();
    LibrarySession(const LibrarySession &) = delete;
    LibrarySession &operator=(const LibrarySession &) = delete;

    // Takes the library down and checks; the destructor does it too.
    void end();

private:
    std::int64_t blocksBefore;
    bool isOpen = true;
};

// LibraryTest: a fixture whose tests run with the library up. Use it as it is, or derive:
//
//   using StringTest = test::LibraryTest;              // or a class of its own
//   TEST_F(StringTest, CopiesShareTheirBuffer) { ... }
//
// What a test makes has to be gone when its body ends. Data members of a derived fixture outlive
// exit: give them back in an overridden TearDown before calling this one's.
class LibraryTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    // Takes the library down and checks that nothing is left; TearDown does it too.
    void endLibrary();

    virtual LibrarySession::Mode mode() const { return LibrarySession::Mode::singleThreaded; }

private:
    LibrarySession *session = nullptr;
};

// The same after InitTerm::setMT.
class MultiThreadedLibraryTest : public LibraryTest
{
protected:
    LibrarySession::Mode mode() const override { return LibrarySession::Mode::multiThreaded; }
};

} // namespace Tavrin::test
