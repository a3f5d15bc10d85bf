#ifndef OBVISTA_MEMORYVIEWER_ROBOT_WRITER_H
#define OBVISTA_MEMORYVIEWER_ROBOT_WRITER_H

#include <robaxi/kv_value.h>

#include <memory>
#include <mutex>
#include <string>

class KVConnection;
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

/** Writes values to a robot's memory over an open connection, which it does not keep open. */
class RobotWriter : public ValueWriter {
  public:
    /** @param timeOut seconds for each write */
    RobotWriter(const std::shared_ptr<KVConnection>& connection, double timeOut);
    ~RobotWriter() override;

    void write(const std::string& key, const KVValue& value) override;
    void cancel() override;

  private:
    std::shared_ptr<KVProxy> xProxy();

    const std::weak_ptr<KVConnection> fConnection;
    const double fTimeOut;
    std::mutex fMutex;              // guards the members below
    std::weak_ptr<KVProxy> fProxy;  // of the write in progress
    bool fIsCancelled = false;
};

}  // namespace memoryviewer

#endif
