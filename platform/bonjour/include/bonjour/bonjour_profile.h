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

/** One announced service of a host. Two with the same type and port are equal. */
struct BonjourService {
    std::string fType;    ///< for instance "_robaxi._tcp"
    int fPort = 0;        ///< 1 to 65535
    std::string fName{};  ///< name of the service instance, made safe to show; the first one seen

    bool operator==(const BonjourService& other) const {
        return fType == other.fType && fPort == other.fPort;
    }
    bool operator!=(const BonjourService& other) const { return !(*this == other); }
};

/**
 * One announced robot or computer: everything that the announcements of one host name say.
 *
 * The discovery library makes the profiles and keeps fHostName and fServices up to date in place;
 * fIP belongs to the users of the library. All of these are guarded by
 * BonjourDiscovery::fRobaxsMapMutex. The icon has a lock of its own inside the profile, so its
 * three operations may be called from any thread with or without any other lock.
 */
class BONJOUR_EXPORT BonjourProfile {
  public:
    BonjourProfile();
    BonjourProfile(const BonjourProfile&) = delete;
    BonjourProfile& operator=(const BonjourProfile&) = delete;
    ~BonjourProfile();

    /** Key of the profile in the discovery map: the host name, ASCII letters in lower case. */
    std::string fKey;
    /** The mDNS host name, for instance "robot1.local"; at most 255 bytes, made safe to show. */
    std::string fHostName;
    /** Dotted IPv4 address, or empty until it is resolved. */
    std::string fIP;
    /** The announced services, those announced first first. */
    std::vector<BonjourService> fServices;
    /** The profile's own lock, for those who read the icon beside other things. */
    boost::shared_ptr<KVMutexRW> fMutex;

    /** Whether the profile announces a service of the type. The map lock must be held. */
    bool hasService(const std::string& type) const;

    bool hasBitmapBinary() const;
    /** The icon's bytes as they were downloaded, not decoded; nothing when there is no icon. */
    KVValue getBitmapBinary() const;
    void setBitmapBinary(const KVValue& bitmap);

  private:
    mutable std::mutex fBitmapMutex;
    KVValue fBitmap;
};

}  // namespace KV

#endif
