#include "server/descriptor_index.h"

#include "descriptor_outline.pb.h"

#include <algorithm>

namespace robaxi {

namespace {

constexpr unsigned char a_descriptors[] = {
#include "descriptors.inc"
};

const std::string* at(const std::vector<std::string>& files,
                      const std::map<std::string, std::size_t>& index, const std::string& name) {
    const auto found = index.find(name);
    return found == index.end() ? nullptr : &files[found->second];
}

/** Adds the names in a message, and in those nested in it. */
void addMessage(const std::string& scope, const outline::Message& message,
                std::vector<std::string>& names) {
    const std::string name = scope + "." + message.name();
    names.push_back(name);
    for (const outline::Named& nested : message.enum_type()) {
        names.push_back(name + "." + nested.name());
    }
    for (const outline::Message& nested : message.nested_type()) {
        addMessage(name, nested, names);
    }
}

}  // namespace

const DescriptorIndex& DescriptorIndex::instance() {
    static const DescriptorIndex index;
    return index;
}

DescriptorIndex::DescriptorIndex() {
    outline::FileSet set;
    set.ParseFromArray(std::data(a_descriptors), static_cast<int>(std::size(a_descriptors)));
    for (const std::string& bytes : set.file()) {
        xAddFile(bytes);
    }
}

void DescriptorIndex::xAddFile(const std::string& bytes) {
    outline::File file;
    file.ParseFromString(bytes);
    std::vector<std::string> names;
    for (const outline::Message& message : file.message_type()) {
        addMessage(file.package(), message, names);
    }
    for (const outline::Named& each : file.enum_type()) {
        names.push_back(file.package() + "." + each.name());
    }
    for (const outline::Service& service : file.service()) {
        fServices.push_back(file.package() + "." + service.name());
        names.push_back(fServices.back());
        for (const outline::Named& method : service.method()) {
            names.push_back(fServices.back() + "." + method.name());
        }
    }
    fFileOfName[file.name()] = fFiles.size();
    for (const std::string& name : names) {
        fFileOfSymbol[name] = fFiles.size();
    }
    fFiles.push_back(bytes);
}

bool DescriptorIndex::hasService(const std::string& name) const {
    return std::find(fServices.begin(), fServices.end(), name) != fServices.end();
}

const std::string* DescriptorIndex::fileNamed(const std::string& name) const {
    return at(fFiles, fFileOfName, name);
}

const std::string* DescriptorIndex::fileWithSymbol(const std::string& symbol) const {
    return at(fFiles, fFileOfSymbol, symbol);
}

}  // namespace robaxi
