#ifndef OBVISTA_BRIDGE_ROS2_DOMAIN_H
#define OBVISTA_BRIDGE_ROS2_DOMAIN_H

#include <dds/dds.h>
#include <functional>
#include <string>

namespace bridge {

/** Highest number of a domain: the ports of higher ones are above 65535. */
constexpr int a_highestDomain = 232;

/** An object of Cyclone DDS, deleted with everything that it has. */
class Entity {
  public:
    Entity() = default;
    explicit Entity(dds_entity_t entity) : fEntity(entity) {}
    ~Entity() { reset(); }
    Entity(Entity&& other) noexcept : fEntity(other.fEntity) { other.fEntity = 0; }
    Entity& operator=(Entity&& other) noexcept {
        if (this != &other) {
            reset();
            fEntity = other.fEntity;
            other.fEntity = 0;
        }
        return *this;
    }
    Entity(const Entity&) = delete;
    Entity& operator=(const Entity&) = delete;

    void reset() {
        if (fEntity > 0) {
            dds_delete(fEntity);
        }
        fEntity = 0;
    }
    explicit operator bool() const { return fEntity > 0; }
    dds_entity_t get() const { return fEntity; }

  private:
    dds_entity_t fEntity = 0;
};

/** Passes the warnings and errors of Cyclone DDS on, as long as it lives. One in a process. */
class DdsLog {
  public:
    /** @param say writes one line; called from any thread */
    explicit DdsLog(std::function<void(const std::string& line)> say);
    ~DdsLog();
    DdsLog(const DdsLog&) = delete;
    DdsLog& operator=(const DdsLog&) = delete;

    void write(const std::string& line) const;

  private:
    const std::function<void(const std::string& line)> fSay;
};

/** Returns a new object, or throws std::runtime_error. @param what the object, for the message */
Entity created(dds_entity_t entity, const std::string& what);

/**
 * Creates a domain, with the limits of the bridge, the user's configuration from the environment's
 * CYCLONEDDS_URI behind them, and the interface last.
 *
 * @param interface name, or empty for the one that Cyclone DDS chooses
 * @throws std::runtime_error with a sentence for the user
 */
Entity createDomain(int domain, const std::string& interface);

}  // namespace bridge

#endif
