#ifndef ROBAXI_HOSTED_MODULES_H
#define ROBAXI_HOSTED_MODULES_H

#include <robaxi/kv_module.h>
#include <robaxi/robaxi_export.h>

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace robaxi {

/** The modules that a broker hosts. */
class ROBAXI_EXPORT HostedModules {
  public:
    explicit HostedModules(std::size_t most) : fMost(most) {}
    HostedModules(const HostedModules&) = delete;
    HostedModules& operator=(const HostedModules&) = delete;

    /** @throws KVError InvalidArgument if the name is taken; TooMany */
    void add(std::shared_ptr<KVModule> module);

    /** Returns when no method of the module is running, except one from which it is called. */
    void remove(const std::string& name);

    /** Returns the module of that name, or null. */
    std::shared_ptr<KVModule> find(const std::string& name) const;
    std::vector<KVModuleInfo> getInfos() const;

    /**
     * Runs a method on the calling thread.
     *
     * @throws Failure NoSuchModule
     * @throws KVError what KVModule::invoke() throws
     */
    KVValue invoke(const std::string& module, const std::string& method,
                   const KVValue::List& arguments);

  private:
    struct Hosted {
        std::shared_ptr<KVModule> fModule;
        std::vector<std::thread::id> fRunners;  // threads inside a method, guarded by fMutex
    };
    class Run;

    const std::size_t fMost;
    mutable std::mutex fMutex;
    std::condition_variable fRunEnded;
    std::map<std::string, std::shared_ptr<Hosted>> fModules;
};

}  // namespace robaxi

#endif
