#ifndef BASE_FREE_WITH_H
#define BASE_FREE_WITH_H

namespace base {

/** Frees an object of a C library with its function:
 *  std::unique_ptr<CURL, FreeWith<curl_easy_cleanup>>. */
template <auto Free>
struct FreeWith {
    template <class Object>
    void operator()(Object* object) const {
        Free(object);
    }
};

}  // namespace base

#endif
