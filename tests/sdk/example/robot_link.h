#ifndef ROBOT_LINK_H
#define ROBOT_LINK_H

#include <robaxi/kv_subscription.h>

#include <QObject>

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

class KVConnection;

/**
 * A connection to one robot that follows its battery.
 *
 * Made, closed and destroyed on the GUI thread; the signals are emitted on threads of the Robaxi
 * library.
 */
class RobotLink : public QObject, private KVSubscription::Listener {
    Q_OBJECT

  public:
    /**
     * Connects.
     *
     * @param brokerPort the port of the link's own broker, see WidgetInterface::brokerPort
     * @throws KVError within two seconds when the robot cannot be reached
     */
    RobotLink(const std::string& ip, int port, int brokerPort);
    ~RobotLink() override;

    /** Begins to emit the signals: to be called when they are connected. */
    void start();

    /** Ends the connection. Nothing is emitted afterwards; what is queued may still arrive. */
    void close();
    bool isOpen() const { return fConnection != nullptr; }

    /** Closes every link of this library. May be called after main(), and touches no window. */
    static void closeAll();

    const QString& robotName() const { return fRobotName; }

  Q_SIGNALS:
    void batteryChanged(double percent);
    void lost();

  private:
    void keysAdded(const std::vector<KVKeyInfo>& keys) override;
    void keysRemoved(const std::vector<std::uint32_t>& ids) override;
    void valuesChanged(const std::vector<KVChange>& changes) override;
    void ended(const KVError& error) override;

    QString fRobotName;
    boost::shared_ptr<KVConnection> fConnection;
    boost::shared_ptr<KVSubscription> fSubscription;
    std::optional<std::uint32_t> fBattery;  // used by the listener's operations only
};

#endif
