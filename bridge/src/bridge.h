#ifndef OBVISTA_BRIDGE_BRIDGE_H
#define OBVISTA_BRIDGE_BRIDGE_H

#include "key_store.h"
#include "source/source.h"

#include <robaxi/kv_memory_module.h>
#include <robaxi/kv_module.h>
#include <robaxi/kv_video_module.h>

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace bridge {

/**
 * The robot that a source makes: its values in "KVMemory" and its cameras in "KVVideo". All
 * operations may be called from any thread.
 */
class Bridge : public Sink {
  public:
    /** @param complain writes one line for the user; called from any thread */
    explicit Bridge(std::function<void(const std::string& line)> complain);

    /** Returns the modules, for a broker. */
    std::vector<std::shared_ptr<KVModule>> modules() const { return {fMemory, fVideo}; }

    void setValues(const std::string& group, const std::vector<SourceValue>& values) override;
    void replaceValues(const std::string& group, const std::vector<SourceValue>& values) override;
    void addWritable(const std::string& group, const SourceValue& value,
                     std::function<void(const KVValue& value)> write) override;
    void removeGroup(const std::string& group) override;
    void addCamera(const SourceCamera& camera) override;
    void removeCamera(const std::string& name) override;
    void publish(const std::string& camera, const KVFrame& frame) override;
    void complain(const std::string& line) override;

  private:
    void xReportLimit(const std::string& group, bool isComplete);

    const std::function<void(const std::string&)> fComplain;
    std::mutex fLineMutex;  // guards the following members; locked after fMutex
    std::chrono::steady_clock::time_point fLinesBegin;
    int fLines = 0;
    const std::shared_ptr<KVMemoryModule> fMemory;
    const std::shared_ptr<KVVideoModule> fVideo;
    std::mutex fMutex;  // guards the following members
    KeyStore fKeys;
    bool fHasReportedLimit = false;
    std::set<std::string> fCameras;
};

}  // namespace bridge

#endif
