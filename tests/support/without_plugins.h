#ifndef OBVISTA_TESTS_SUPPORT_WITHOUT_PLUGINS_H
#define OBVISTA_TESTS_SUPPORT_WITHOUT_PLUGINS_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace obvista_test {

/** While it lives, programs that are started find no plugins of GStreamer. */
class WithoutPlugins {
  public:
    WithoutPlugins() {
        const char* const registry = std::getenv(a_registry);
        fRegistry = registry != nullptr ? registry : "";
        setenv(a_plugins, "/nonexistent", 1);
        setenv(a_registry, (testing::TempDir() + "registry.bin").c_str(), 1);
    }
    ~WithoutPlugins() {
        unsetenv(a_plugins);
        setenv(a_registry, fRegistry.c_str(), 1);
    }
    WithoutPlugins(const WithoutPlugins&) = delete;
    WithoutPlugins& operator=(const WithoutPlugins&) = delete;

  private:
    static constexpr const char* a_plugins = "GST_PLUGIN_SYSTEM_PATH_1_0";
    static constexpr const char* a_registry = "GST_REGISTRY_1_0";
    std::string fRegistry;
};

}  // namespace obvista_test

#endif
