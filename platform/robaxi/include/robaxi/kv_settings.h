#ifndef ROBAXI_KV_SETTINGS_H
#define ROBAXI_KV_SETTINGS_H

#include <robaxi/robaxi_export.h>

#include <chrono>
#include <cstddef>
#include <map>
#include <string>

/**
 * What a broker is told about security and limits. Security is off unless it is set here.
 *
 * The files of the server are read when a broker is made with the settings, which is also when the
 * settings are checked; those for reaching a robot whenever it is connected to.
 */
struct ROBAXI_EXPORT KVSettings {
    /** For a broker that listens. */
    struct Server {
        std::string fCertificate;  ///< PEM file, the issuers' certificates after its own; with fKey
                                   ///< the broker speaks TLS and nothing else
        std::string fKey;          ///< PEM file
        std::string fTokenFile;    ///< file whose one line every program must know; readable by its
                                   ///< owner only
        bool fAllowsPlainToken = false;  ///< asks for the token over connections without TLS too
    };

    /** For reaching a robot. */
    struct Access {
        bool fUsesTls = false;
        std::string fTrust;      ///< PEM file of the certificates of which one must have signed the
                                 ///< robot's; needed for TLS
        std::string fName;       ///< name in the robot's certificate; empty: the address as the
                                 ///< program wrote it
        std::string fTokenFile;  ///< as above
        bool fAllowsPlainToken = false;  ///< sends the token over connections without TLS too
    };

    /** All are checked against what is sensible. */
    struct Limits {
        std::size_t fMessage = std::size_t{16} << 20U;  ///< bytes of a call or result; 64 KiB to
                                                        ///< 256 MiB
        std::size_t fFrame = std::size_t{64} << 20U;    ///< bytes of a camera's frame; 64 KiB to
                                                        ///< 64 MiB
        int fDepth = 64;                                ///< lists and maps in one another; 1 to 64
        std::size_t fModules = 256;                     ///< that a broker hosts
        std::size_t fSessions = 256;                    ///< programs connected to a broker
        std::size_t fSessionsOfAddress = 128;           ///< the same, of one address
        std::size_t fSubscriptions = 64;                ///< of a session
        std::size_t fCameras = 16;                      ///< that a session watches
        std::size_t fKeys = 1000000;                    ///< of a subscription, at the program
        std::chrono::milliseconds fHeartbeat{250};      ///< 20 ms to 60 s
        std::chrono::milliseconds fLoss{1500};  ///< silence after which a robot is lost; at least
                                                ///< two heartbeats
    };

    Server fServer;
    Access fAccess;                         ///< for robots that are not in fRobots
    std::map<std::string, Access> fRobots;  ///< by address as the program writes it, or by
                                            ///< address:port
    Limits fLimits;

    /**
     * The user's settings: what stands in the configuration file, outweighed by the environment.
     *
     * The file is "Quorvane Robotics/robaxi.conf" in XDG_CONFIG_HOME (~/.config), or the one that
     * ROBAXI_CONFIG names; that there is none is no error. docs/robaxi.md lists keys and variables.
     *
     * @throws KVError InvalidArgument with a text that names file and line, or the variable
     */
    static KVSettings load();

    /** The settings of a file, without the environment. @throws KVError InvalidArgument */
    static KVSettings load(const std::string& file);

    /** What holds for a robot: the entry in fRobots for its address and port, else the one for its
     *  address, else fAccess. */
    const Access& accessTo(const std::string& address, int port) const;
};

#endif
