#ifndef ROBAXI_DESCRIPTOR_INDEX_H
#define ROBAXI_DESCRIPTOR_INDEX_H

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace robaxi {

/**
 * The descriptors of the services that a broker offers, as the build has made them. Read when they
 * are first asked for; may be used from any thread.
 */
class DescriptorIndex {
  public:
    static const DescriptorIndex& instance();

    const std::vector<std::string>& services() const { return fServices; }
    bool hasService(const std::string& name) const;

    /** @name Return the serialised FileDescriptorProto, or null if there is none */
    ///@{
    const std::string* fileNamed(const std::string& name) const;
    /** @param symbol full name of a message, enumeration, service or method */
    const std::string* fileWithSymbol(const std::string& symbol) const;
    ///@}

  private:
    DescriptorIndex();

    void xAddFile(const std::string& bytes);

    std::vector<std::string> fFiles;
    std::vector<std::string> fServices;
    std::map<std::string, std::size_t> fFileOfName;
    std::map<std::string, std::size_t> fFileOfSymbol;
};

}  // namespace robaxi

#endif
