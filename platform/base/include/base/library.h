#ifndef BASE_LIBRARY_H
#define BASE_LIBRARY_H

#include <stdexcept>
#include <string>

namespace base {

/** A shared library, or its function, that cannot be used. The text gives the reason. */
class LibraryError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/**
 * Loads a shared library of the installation and returns a function that it exports.
 *
 * For libraries with many dependencies, which are loaded on first use. They are given by their
 * path, since the sanitizers' dlopen() does not search the run path of the caller. The library is
 * never unloaded, since it may have started threads. Functions are bound when they are first called
 * unless the library itself requests otherwise. May be called on any thread.
 *
 * @throws LibraryError
 */
void* functionOfLibrary(const std::string& file, const char* name);

/** The same with the function's type: `functionOfLibrary<decltype(entry)>(file, "entry")`. */
template <class Function>
Function* functionOfLibrary(const std::string& file, const char* name) {
    return reinterpret_cast<Function*>(functionOfLibrary(file, name));
}

}  // namespace base

#endif
