#ifndef OBVISTA_MEMORYVIEWER_ROBOT_WRITER_H
#define OBVISTA_MEMORYVIEWER_ROBOT_WRITER_H

#include <robaxi/kv_value.h>

#include <boost/shared_ptr.hpp>

#include <memory>
#include <mutex>
#include <string>

class KVBroker;
class KVProxy;

namespace memoryviewer {

/** Writes values of keys, one at a time. */
class ValueWriter {
  public:
    virtual ~ValueWriter() = default;

    /** Writes and waits until the robot has accepted the value. @throws KVError if it has not */
    virtual void write(const std::string& key, const KVValue& value) = 0;
    /** Ends a write that waits on another thread, and every later one, with KVError. */
    virtual void cancel() = 0;
};

/** Writes values to a robot's memory. It connects for the first write. */
class RobotWriter : public ValueWriter {
  public:
    /** @param timeOut seconds, at least 1, for each write */
    RobotWriter(boost::shared_ptr<KVBroker> broker, std::string address, int port, int timeOut);
    ~RobotWriter() override;

    void write(const std::string& key, const KVValue& value) override;
    void cancel() override;

  private:
    std::shared_ptr<KVProxy> xProxy();

    boost::shared_ptr<KVBroker> fBroker;
    std::string fAddress;
    int fPort;
    int fTimeOut;
    std::mutex fMutex;
    std::shared_ptr<KVProxy> fProxy;
    bool fIsCancelled = false;
};

}  // namespace memoryviewer

#endif
