// SPDX-License-Identifier: MIT
#include <type_traits>

#include <gtest/gtest.h>

#include <tavrin/Context.h>
#include <tavrin/InitTerm.h>

#include "support/VirtualSlot.h"

using namespace Tavrin;

namespace {

static_assert(std::is_abstract_v<Callbacks> && std::has_virtual_destructor_v<Callbacks>);
static_assert(sizeof(Callbacks) == sizeof(void *));

class HostCallbacks : public Callbacks
{
public:
    HostCallbacks() = default;
    HostCallbacks(const HostCallbacks &) = default;
    HostCallbacks &operator=(const HostCallbacks &) = default;
    ~HostCallbacks() override { ++destroyed; }

    void getLocale(String &, String &) override {}
    Dictionary *getDictionary() override { return nullptr; }
    void hook3() override {}
    Dictionary *getHostDictionary() override { return nullptr; }
    void hook5() override {}
    void hook6() override {}
    void hook7() override {}
    void hook8() override {}

    static inline int destroyed = 0;
};

// Leaves none registered.
class CallbacksTest : public testing::Test
{
protected:
    ~CallbacksTest() override { Callbacks::set(nullptr); }
};

} // namespace

TEST_F(CallbacksTest, NoneAreRegisteredAtFirst)
{
    EXPECT_EQ(Callbacks::get(), nullptr);
}

TEST_F(CallbacksTest, TheOnesSetLastAreRegistered)
{
    HostCallbacks first, second;
    Callbacks::set(&first);
    EXPECT_EQ(Callbacks::get(), &first);
    Callbacks::set(&second);
    EXPECT_EQ(Callbacks::get(), &second);
    Callbacks::set(nullptr);
    EXPECT_EQ(Callbacks::get(), nullptr);
}

TEST_F(CallbacksTest, TheHostStaysTheirOwner)
{
    HostCallbacks::destroyed = 0;
    {
        HostCallbacks first, second;
        Callbacks::set(&first);
        Callbacks::set(&second);
        InitTerm::init();
        InitTerm::exit();
        Callbacks::set(nullptr);
        EXPECT_EQ(HostCallbacks::destroyed, 0);
    }
    EXPECT_EQ(HostCallbacks::destroyed, 2);
}

TEST_F(CallbacksTest, StayRegisteredAcrossInitAndExit)
{
    HostCallbacks callbacks;
    Callbacks::set(&callbacks);
    InitTerm::init();
    EXPECT_EQ(Callbacks::get(), &callbacks);
    InitTerm::exit();
    EXPECT_EQ(Callbacks::get(), &callbacks);
}

TEST_F(CallbacksTest, ACopyIsNotRegistered)
{
    HostCallbacks callbacks;
    Callbacks::set(&callbacks);
    HostCallbacks copy(callbacks);
    copy = callbacks;
    EXPECT_EQ(Callbacks::get(), &callbacks);
    Callbacks::set(&copy);
    EXPECT_EQ(Callbacks::get(), &copy);
}

#if defined(TAVRIN_HAS_VIRTUAL_SLOTS)
TEST_F(CallbacksTest, HooksStandInTheirOrder)
{
    using test::virtualSlot;
    EXPECT_EQ(virtualSlot(&Callbacks::getLocale), 2u);
    EXPECT_EQ(virtualSlot(&Callbacks::getDictionary), 3u);
    EXPECT_EQ(virtualSlot(&Callbacks::hook3), 4u);
    EXPECT_EQ(virtualSlot(&Callbacks::getHostDictionary), 5u);
    EXPECT_EQ(virtualSlot(&Callbacks::hook5), 6u);
    EXPECT_EQ(virtualSlot(&Callbacks::hook6), 7u);
    EXPECT_EQ(virtualSlot(&Callbacks::hook7), 8u);
    EXPECT_EQ(virtualSlot(&Callbacks::hook8), 9u);
}
#endif
