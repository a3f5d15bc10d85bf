#include "engine.h"

#include <base/library.h>

#include <atomic>
#include <cstdlib>
#include <dlfcn.h>

namespace robaxi {

namespace {

/** An address in this library, for the lookup of its file. */
const char a_thisLibrary = 0;

[[noreturn]] void throwUnusable(const std::string& file, const std::string& reason) {
    throw KVError(KVError::Cause::Internal, "The middleware's library " + file +
                                                " cannot be loaded: " + reason +
                                                ". Install the program again.");
}

/** Returns the engine's path: in a folder beside this library's file, with links resolved. */
std::string engineFile() {
    Dl_info self{};
    ::dladdr(&a_thisLibrary, &self);
    const std::unique_ptr<char, decltype(&std::free)> path(::realpath(self.dli_fname, nullptr),
                                                           &std::free);
    const std::string library = path ? path.get() : self.dli_fname;
    return library.substr(0, library.rfind('/') + 1) + ROBAXI_ENGINE_FILE;
}

const Engine* load() {
    const std::string file = engineFile();
    try {
        // Bound function by function: binding all functions of gRPC at once takes nearly twice the
        // time.
        const auto entry = base::functionOfLibrary<decltype(robaxiEngine)>(file, "robaxiEngine");
        if (const Engine* const found = entry(ROBAXI_VERSION)) {
            return found;
        }
    } catch (const base::LibraryError& error) {
        throwUnusable(file, error.what());
    }
    throwUnusable(file, "it is not of version " ROBAXI_VERSION);
}

}  // namespace

const Engine& engine() {
    static std::atomic<const Engine*> loaded{nullptr};
    // Without a lock, which could deadlock with that of the dynamic linker: a library may make a
    // broker while it is being loaded. Loading twice does no harm.
    if (loaded == nullptr) {
        loaded = load();
    }
    return *loaded;
}

}  // namespace robaxi
