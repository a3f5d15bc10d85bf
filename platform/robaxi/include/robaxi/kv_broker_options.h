#ifndef ROBAXI_KV_BROKER_OPTIONS_H
#define ROBAXI_KV_BROKER_OPTIONS_H

#include <robaxi/kv_settings.h>

#include <optional>
#include <string>

/**
 * Options of a broker. A program that only reaches robots sets the name alone; a robot also sets
 * the address and the port:
 *
 *     const auto client = KVBroker::createBroker({"my program"});
 *     const auto robot = KVBroker::createBroker({"marvin", "0.0.0.0", KVBroker::a_defaultPort});
 */
struct KVBrokerOptions {
    std::string fName;  ///< shown to the broker's peers and in error texts; not empty

    /** Address to listen on, or a host name; "0.0.0.0" or, with a port, empty: all addresses of the
     *  machine. Empty without a port: the broker does not listen. */
    std::string fAddress = std::string();
    /** Port to listen on, 1 to 65535; 0 with an address: any free port, which
     *  KVBroker::getPort() returns. */
    int fPort = 0;

    /** Security and limits; the user's, KVSettings::load(), if empty. */
    std::optional<KVSettings> fSettings = std::nullopt;

    /** Address and port (1 to 65535) of the broker to which this one belongs, or empty and 0. The
     *  parent is connected before the broker is returned. */
    std::string fParentAddress = std::string();
    int fParentPort = 0;  ///< See fParentAddress
};

#endif
