#ifndef ROBAXI_KV_SETTINGS_H
#define ROBAXI_KV_SETTINGS_H

#include <robaxi/robaxi_export.h>

#include <chrono>
#include <cstddef>
#include <map>
#include <string>

/**
 * Security and limits of a broker. Security is off unless it is configured here.
 *
 * The settings are checked, and the server's files read, when a broker is created with them; the
 * files for reaching a robot are read whenever it connects to one.
 */
struct ROBAXI_EXPORT KVSettings {
    /** Settings of a broker that listens. */
    struct Server {
        std::string fCertificate;  ///< PEM file, the issuers' certificates after its own; with fKey
                                   ///< the broker accepts only TLS
        std::string fKey;          ///< PEM file
        std::string fTokenFile;    ///< file with one line, the token that every program must know;
                                   ///< readable by its owner only
        bool fAllowsPlainToken = false;  ///< requires the token without TLS, too
    };

    /** Settings for connecting to a robot. */
    struct Access {
        bool fUsesTls = false;   ///< True: connects with TLS only
        std::string fTrust;      ///< PEM file of the certificates of which one must have signed the
                                 ///< robot's; needed for TLS
        std::string fName;       ///< name in the robot's certificate; empty: the address as the
                                 ///< program wrote it
        std::string fTokenFile;  ///< as above
        bool fAllowsPlainToken = false;  ///< sends the token without TLS, too
    };

    /** Limits; values out of range are refused. */
    struct Limits {
        std::size_t fMessage = std::size_t{16} << 20U;  ///< bytes of a call or result; 64 KiB to
                                                        ///< 256 MiB
        std::size_t fFrame = std::size_t{64} << 20U;    ///< bytes of a camera's frame; 64 KiB to
                                                        ///< 64 MiB
        int fDepth = 64;                                ///< nesting of lists and maps; 1 to 64
        std::size_t fModules = 256;                     ///< modules hosted by a broker
        std::size_t fSessions = 256;                    ///< programs connected to a broker
        std::size_t fSessionsOfAddress = 128;           ///< the same, from one address
        std::size_t fSubscriptions = 64;                ///< of a session
        std::size_t fCameras = 16;                      ///< watched by a session
        std::size_t fKeys = 1000000;                    ///< of a subscription, at the program
        std::chrono::milliseconds fHeartbeat{250};      ///< 20 ms to 60 s
        std::chrono::milliseconds fLoss{1500};      ///< after this a robot is silent; at least two
                                                    ///< heartbeats
        std::chrono::milliseconds fSilence{10000};  ///< silence after which the other end is lost;
                                                    ///< 2 to 120 s
    };

    Server fServer;                         ///< For brokers that listen
    Access fAccess;                         ///< for robots that are not in fRobots
    std::map<std::string, Access> fRobots;  ///< by address as the program writes it, or by
                                            ///< address:port
    Limits fLimits;                         ///< Of sizes, numbers and times

    /**
     * Loads the user's settings: the configuration file, overridden by the environment.
     *
     * The file is "Quorvane Robotics/robaxi.conf" in XDG_CONFIG_HOME (~/.config), or the one that
     * ROBAXI_CONFIG names; it may be missing. docs/settings.md lists keys and variables.
     *
     * @throws KVError InvalidArgument with a text that names file and line, or the variable
     */
    static KVSettings load();

    /** Loads the settings of a file, without the environment. @throws KVError InvalidArgument */
    static KVSettings load(const std::string& file);

    /** Returns the settings for a robot: the entry in fRobots for its address and port, otherwise
     *  the one for its address, otherwise fAccess. */
    const Access& accessTo(const std::string& address, int port) const;
};

#endif
