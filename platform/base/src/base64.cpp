#include <base/base64.h>

#include <boost/archive/iterators/base64_from_binary.hpp>
#include <boost/archive/iterators/transform_width.hpp>

namespace base {

std::string base64(std::string_view bytes) {
    namespace it = boost::archive::iterators;
    using Encoder = it::base64_from_binary<it::transform_width<const char*, 6, 8>>;
    std::string text(Encoder(bytes.data()), Encoder(bytes.data() + bytes.size()));
    text.append((3 - bytes.size() % 3) % 3, '=');
    return text;
}

}  // namespace base
