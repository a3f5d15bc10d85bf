// Loads a plugin with brokers and exits in one of several ways.
#include <robaxi/kv_error.h>

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <string>

namespace {

void run(void* plugin, const char* name) {
    reinterpret_cast<void (*)()>(::dlsym(plugin, name))();
}

bool catchesWhatThePluginThrows(void* plugin) {
    try {
        run(plugin, "throwError");
    } catch (const KVError& error) {
        return error.cause() == KVError::Cause::InvalidArgument;
    }
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        return EXIT_FAILURE;
    }
    void* plugin = ::dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (plugin == nullptr) {
        std::puts(::dlerror());
        return EXIT_FAILURE;
    }
    const std::string way = argv[2];
    run(plugin, "holdBrokers");
    if (way == "thrown" && !catchesWhatThePluginThrows(plugin)) {
        return EXIT_FAILURE;
    }
    if (way == "unload") {
        ::dlclose(plugin);
    }
    std::puts("main ends");
    if (way == "exit") {
        std::exit(EXIT_SUCCESS);
    }
    return EXIT_SUCCESS;
}
