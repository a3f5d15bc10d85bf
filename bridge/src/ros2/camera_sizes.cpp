#include "ros2/camera_sizes.h"

#include "ros2/names.h"

#include <cstddef>

namespace bridge {

namespace {

constexpr std::size_t a_mostFolders = 4096;
constexpr int a_largestSide = 65535;  // pixels

}  // namespace

bool CameraSizes::note(const std::string& topic, const std::string& keys,
                       const std::vector<SourceValue>& values) {
    int width = 0;
    int height = 0;
    for (const SourceValue& value : values) {
        const bool isSize = value.fValue.type() == KVValue::Type::Int && value.fValue.toInt() > 0 &&
                            value.fValue.toInt() <= a_largestSide;
        if (isSize && value.fName == keys + "/width") {
            width = value.fValue.to<int>();
        } else if (isSize && value.fName == keys + "/height") {
            height = value.fValue.to<int>();
        }
    }
    if (width == 0 || height == 0) {
        return false;
    }
    const std::string folder = folderOf(topic);
    if (fSizes.size() >= a_mostFolders && fSizes.count(folder) == 0) {
        fSizes.clear();  // those of topics that are gone pile up
    }
    const Size size(width, height);
    return std::exchange(fSizes[folder], size) != size;
}

std::optional<CameraSizes::Size> CameraSizes::sizeOf(const std::string& topic) const {
    const auto known = fSizes.find(folderOf(topic));
    return known == fSizes.end() ? std::nullopt : std::optional(known->second);
}

}  // namespace bridge
