// SPDX-License-Identifier: MIT
#include <dlfcn.h>
#include <gtest/gtest.h>

namespace {

using Function = int();

bool isLoaded(const char* library)
{
    void* handle = dlopen(library, RTLD_LAZY | RTLD_NOLOAD);
    if (handle != nullptr) dlclose(handle);
    return handle != nullptr;
}

Function* find(void* plugin, const char* name)
{
    return reinterpret_cast<Function*>(dlsym(plugin, name));
}

// What stays loaded would keep the handler of a plug-in whose code is gone.
TEST(UnloadTest, TheLibraryGoesWithItsPluginAndComesBackFresh)
{
    for (int round = 1; round <= 3; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        void* plugin = dlopen(KNOTWORK_TEST_PLUGIN, RTLD_NOW | RTLD_GLOBAL);
        ASSERT_NE(plugin, nullptr) << dlerror();
        ASSERT_TRUE(isLoaded(KNOTWORK_TEST_LIBRARY));
        EXPECT_EQ(find(plugin, "installHandler")(), 1) << "a handler was there already";
        EXPECT_EQ(find(plugin, "useLibrary")(), 2);
        ASSERT_EQ(dlclose(plugin), 0) << dlerror();
        EXPECT_FALSE(isLoaded(KNOTWORK_TEST_PLUGIN));
        EXPECT_FALSE(isLoaded(KNOTWORK_TEST_LIBRARY));
    }
}

}  // namespace
