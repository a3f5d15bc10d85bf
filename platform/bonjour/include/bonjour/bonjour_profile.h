#ifndef BONJOUR_BONJOUR_PROFILE_H
#define BONJOUR_BONJOUR_PROFILE_H

#include <bonjour/bonjour_export.h>
#include <robaxi/kv_mutex.h>
#include <robaxi/kv_value.h>

#include <boost/shared_ptr.hpp>

#include <mutex>
#include <string>
#include <vector>

namespace KV {

/** One announced service of a host. Services with the same type and port are equal. */
struct BonjourService {
    std::string fType;    ///< for instance "_robaxi._tcp"
    int fPort = 0;        ///< 1 to 65535
    std::string fName{};  ///< name of the service instance, safe to show; the first one seen
    /** Returns true if type and port are equal. */
    bool operator==(const BonjourService& other) const {
        return fType == other.fType && fPort == other.fPort;
    }
    bool operator!=(const BonjourService& other) const { return !(*this == other); }  ///< Not ==
};

/**
 * One announced robot or computer: all announcements of one host name.
 *
 * The discovery library creates the profiles and updates fHostName and fServices in place; fIP
 * belongs to the users of the library. BonjourDiscovery::fRobaxsMapMutex guards these members. The
 * icon has a separate lock inside the profile, so its operations may be called from any
 * thread, with or without another lock.
 */
class BONJOUR_EXPORT BonjourProfile {
  public:
    BonjourProfile();
    BonjourProfile(const BonjourProfile&) = delete;
    BonjourProfile& operator=(const BonjourProfile&) = delete;
    ~BonjourProfile();

    /** Key of the profile in the discovery map: the host name with ASCII letters in lower case. */
    std::string fKey;
    /** The mDNS host name, for instance "robot1.local"; at most 255 bytes, safe to show. */
    std::string fHostName;
    /**
     * An IPv4 address of the host in dotted notation ("10.0.0.5"), at which its icon is downloaded
     * and connections are opened; the first one of the lookup if there are several, and never an
     * IPv6 address. Empty until a user of the library has resolved the name, and for a host without
     * IPv4.
     */
    std::string fIP;
    /** The announced services, in the order of their announcement. */
    std::vector<BonjourService> fServices;
    /** The profile's lock, for reading the icon together with other data. */
    boost::shared_ptr<KVMutexRW> fMutex;

    /** Returns true if the profile announces a service of the type. Hold the map lock. */
    bool hasService(const std::string& type) const;

    bool hasBitmapBinary() const;  ///< Returns true if there is an icon.
    /** Returns the size of the icon in bytes, without copying it; 0 if there is no icon. */
    int bitmapSize() const;
    /** Returns a copy of the icon's bytes as downloaded, not decoded; Nothing if there is no icon.
     */
    KVValue getBitmapBinary() const;
    void setBitmapBinary(const KVValue& bitmap);  ///< Sets the icon's bytes; nothing removes it.

  private:
    mutable std::mutex fBitmapMutex;
    KVValue fBitmap;
};

}  // namespace KV

#endif
