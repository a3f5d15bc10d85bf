#include <base/library.h>

#include <dlfcn.h>

namespace base {

namespace {

/** Returns the dynamic linker's last message without the file's name at its beginning. */
std::string reason(const std::string& file) {
    const std::string message = ::dlerror();
    const std::string prefix = file + ": ";
    return message.rfind(prefix, 0) == 0 ? message.substr(prefix.size()) : message;
}

}  // namespace

void* functionOfLibrary(const std::string& file, const char* name) {
    void* const library = ::dlopen(file.c_str(), RTLD_LAZY | RTLD_LOCAL | RTLD_NODELETE);
    void* const function = library == nullptr ? nullptr : ::dlsym(library, name);
    if (function == nullptr) {
        throw LibraryError(reason(file));
    }
    return function;
}

}  // namespace base
