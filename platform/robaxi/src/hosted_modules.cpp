#include "hosted_modules.h"

#include "failure.h"

#include <algorithm>
#include <memory>

namespace robaxi {

/** Marks a method of a module as running on this thread. */
class HostedModules::Run {
  public:
    Run(HostedModules& modules, const std::string& name) : fModules(modules) {
        const std::lock_guard lock(fModules.fMutex);
        const auto found = fModules.fModules.find(name);
        if (found == fModules.fModules.end()) {
            throw Failure{KVError::Cause::NoSuchModule, {}};
        }
        fHosted = found->second;
        fHosted->fRunners.push_back(std::this_thread::get_id());
    }

    ~Run() {
        const std::lock_guard lock(fModules.fMutex);
        auto& runners = fHosted->fRunners;
        runners.erase(std::find(runners.begin(), runners.end(), std::this_thread::get_id()));
        fModules.fRunEnded.notify_all();
    }

    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    const KVModule& module() const { return *fHosted->fModule; }

  private:
    HostedModules& fModules;
    std::shared_ptr<Hosted> fHosted;
};

void HostedModules::add(std::shared_ptr<KVModule> module) {
    if (!module) {
        throw KVError(KVError::Cause::InvalidArgument, "There is no module to host.");
    }
    const std::string name = module->getName();
    auto hosted = std::make_shared<Hosted>();
    hosted->fModule = std::move(module);
    const std::lock_guard lock(fMutex);
    if (fModules.size() >= fMost && fModules.count(name) == 0) {
        throw KVError(KVError::Cause::TooMany,
                      "The module " + name + " cannot be hosted: there are " +
                          std::to_string(fMost) + " already, which is the limit.");
    }
    if (!fModules.emplace(name, std::move(hosted)).second) {
        throw KVError(KVError::Cause::InvalidArgument,
                      "A module named " + name + " is already hosted.");
    }
}

void HostedModules::remove(const std::string& name) {
    std::shared_ptr<Hosted> hosted;
    std::unique_lock lock(fMutex);
    const auto found = fModules.find(name);
    if (found == fModules.end()) {
        return;
    }
    hosted = std::move(found->second);
    fModules.erase(found);
    fRunEnded.wait(lock, [&hosted] {
        return std::all_of(hosted->fRunners.begin(), hosted->fRunners.end(),
                           [](std::thread::id id) { return id == std::this_thread::get_id(); });
    });
    lock.unlock();  // before the module is destroyed
}

std::shared_ptr<KVModule> HostedModules::find(const std::string& name) const {
    const std::lock_guard lock(fMutex);
    const auto found = fModules.find(name);
    return found == fModules.end() ? nullptr : found->second->fModule;
}

std::vector<KVModuleInfo> HostedModules::getInfos() const {
    const std::lock_guard lock(fMutex);
    std::vector<KVModuleInfo> infos;
    for (const auto& [name, hosted] : fModules) {
        infos.push_back(hosted->fModule->getInfo());
    }
    return infos;
}

KVValue HostedModules::invoke(const std::string& module, const std::string& method,
                              const KVValue::List& arguments) {
    const Run run(*this, module);
    return run.module().invoke(method, arguments);
}

}  // namespace robaxi
