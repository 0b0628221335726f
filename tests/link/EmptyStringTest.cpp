// SPDX-License-Identifier: MIT
// The record of the empty string is data that programs refer to directly, so a linker may copy it
// into the program. Both sides have to mean the one copy.
#include <tavrin/String.h>

#include <gtest/gtest.h>

#include <tavrin/InitTerm.h>

using namespace Tavrin;

namespace {

class EmptyStringTest : public testing::Test
{
protected:
    EmptyStringTest() { InitTerm::init(); }
    ~EmptyStringTest() override { InitTerm::exit(); }
};

} // namespace

TEST_F(EmptyStringTest, TheProgramAndTheLibraryShareOneEmptyRecord)
{
    const unsigned short *ofProgram = String().wstr();
    EXPECT_EQ(ofProgram, detail::emptyBuffer->text);
    EXPECT_EQ(String::emptyString().wstr(), ofProgram) << "made by the library";
    String text("abc");
    text.erase();
    EXPECT_EQ(text.wstr(), ofProgram) << "emptied by the library";
    EXPECT_EQ(text.substr(0).wstr(), ofProgram);
    EXPECT_EQ(String("").wstr(), ofProgram);
}

TEST_F(EmptyStringTest, EmptyStringsOfEitherSideAreNeverFreedOrWritten)
{
    for (int round = 0; round < 3; ++round) {
        String text(String::emptyString());
        text.append('x');
        text = String();
        text.clear();
        text = String::emptyString();
        EXPECT_EQ(text.length(), 0);
    }
    EXPECT_EQ(detail::emptyBuffer->length, 0);
    EXPECT_EQ(detail::emptyBuffer->capacityWord, 0U);
    EXPECT_EQ(detail::emptyBuffer->text[0], 0);
}
