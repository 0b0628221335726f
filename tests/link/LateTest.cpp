// SPDX-License-Identifier: MIT
// A host that knows nothing of the library when it starts.
#include <gtest/gtest.h>

#include <dlfcn.h>

#include <thread>

namespace {

struct Module
{
    void *handle;

    explicit Module(const char *path) : handle(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {}
    ~Module()
    {
        if (handle != nullptr)
            dlclose(handle);
    }

    template <class Function>
    Function *find(const char *name) const
    {
        return reinterpret_cast<Function *>(dlsym(handle, name));
    }
};

} // namespace

TEST(LateLoading, PluginSharesOneGlobalsWithTheLibrary)
{
    for (int round = 0; round < 3; ++round) {
        Module plugin(TAVRIN_LINK_PLUGIN);
        ASSERT_NE(plugin.handle, nullptr) << dlerror();
        auto *disagreement = plugin.find<const char *()>("disagreementOfPlugin");
        ASSERT_NE(disagreement, nullptr) << dlerror();
        EXPECT_STREQ(disagreement(), nullptr);
    }
}

TEST(LateLoading, LibraryServesThreadsThatAreOlderThanIt)
{
    bool isLoaded = false;
    std::thread old([&] {
        Module library(TAVRIN_LINK_LIBRARY);
        if (library.handle == nullptr)
            return;
        auto *init = library.find<void()>("_ZN6Tavrin8InitTerm4initEv");
        auto *exit = library.find<void()>("_ZN6Tavrin8InitTerm4exitEv");
        auto *isUp = library.find<bool()>("_ZN6Tavrin8InitTerm13isInitializedEv");
        if (init == nullptr || exit == nullptr || isUp == nullptr)
            return;
        init();
        isLoaded = isUp();
        exit();
        isLoaded = isLoaded && !isUp();
    });
    old.join();
    EXPECT_TRUE(isLoaded);
}
