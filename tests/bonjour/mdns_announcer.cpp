// Announces services in hand-made multicast DNS packets, so that a lab can have hosts that no
// well-behaved daemon would announce. It repeats them until SIGTERM, and then sends goodbyes.
//
//   mdns_announcer COUNT PTR_TTL SRV_TTL TYPE INSTANCE TARGET PORT [once]
//
// TYPE, INSTANCE and TARGET are complete domain names with escapes like "\." and "\010". A "%" in
// the last two is replaced by the number of the announcement, 1 to COUNT. With "once" there are no
// repetitions and no goodbyes.

#include <arpa/inet.h>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <net/if.h>
#include <netinet/in.h>
#include <signal.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::uint16_t a_mdnsPort = 5353;
constexpr std::uint16_t a_typePointer = 12;
constexpr std::uint16_t a_typeService = 33;
constexpr std::uint16_t a_classShared = 0x0001;
constexpr std::uint16_t a_classUnique = 0x8001;
constexpr std::size_t a_packetSize = 1200;

struct Announcement {
    std::string fType;
    std::string fInstance;
    std::string fTarget;
    std::uint16_t fPort = 0;
    std::uint32_t fPointerTtl = 0;
    std::uint32_t fServiceTtl = 0;
};

std::string number16(std::uint16_t value) {
    return {static_cast<char>(value >> 8), static_cast<char>(value & 0xFF)};
}

std::string number32(std::uint32_t value) {
    return number16(static_cast<std::uint16_t>(value >> 16)) +
           number16(static_cast<std::uint16_t>(value & 0xFFFF));
}

std::string wireName(const std::string& text) {
    std::string wire;
    std::string label;
    const auto endLabel = [&wire, &label] {
        wire += static_cast<char>(label.size());
        wire += label;
        label.clear();
    };
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (text[index] == '.') {
            endLabel();
        } else if (text[index] != '\\') {
            label += text[index];
        } else if (text.at(index + 1) >= '0' && text.at(index + 1) <= '9') {
            label += static_cast<char>(std::stoi(text.substr(index + 1, 3)));
            index += 3;
        } else {
            label += text.at(++index);
        }
    }
    endLabel();
    return wire + '\0';
}

std::string record(const std::string& name, std::uint16_t type, std::uint16_t recordClass,
                   std::uint32_t ttl, const std::string& data) {
    return wireName(name) + number16(type) + number16(recordClass) + number32(ttl) +
           number16(static_cast<std::uint16_t>(data.size())) + data;
}

std::string replaceNumber(std::string text, int number) {
    const std::size_t place = text.find('%');
    if (place != std::string::npos) {
        text.replace(place, 1, std::to_string(number));
    }
    return text;
}

/** Packs the announcements into as few packets as possible. */
class Packets {
  public:
    void add(const Announcement& announcement) {
        xAdd(record(announcement.fType, a_typePointer, a_classShared, announcement.fPointerTtl,
                    wireName(announcement.fInstance)));
        const std::string where = number32(0) + number16(announcement.fPort);
        xAdd(record(announcement.fInstance, a_typeService, a_classUnique, announcement.fServiceTtl,
                    where + wireName(announcement.fTarget)));
    }

    std::vector<std::string> take() {
        xEndPacket();
        return std::move(fPackets);
    }

  private:
    void xAdd(const std::string& record) {
        if (fBody.size() + record.size() > a_packetSize) {
            xEndPacket();
        }
        fBody += record;
        ++fRecords;
    }
    void xEndPacket() {
        constexpr std::uint16_t response = 0x8400;
        fPackets.push_back(number16(0) + number16(response) + number16(0) + number16(fRecords) +
                           number32(0) + fBody);
        fBody.clear();
        fRecords = 0;
    }

    std::vector<std::string> fPackets;
    std::string fBody;
    std::uint16_t fRecords = 0;
};

int openSocket() {
    const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const int yes = 1;
    const int ttl = 255;
    ip_mreqn interface = {};
    interface.imr_ifindex = static_cast<int>(if_nametoindex("eth0"));
    sockaddr_in own = {};
    own.sin_family = AF_INET;
    own.sin_port = htons(a_mdnsPort);
    if (descriptor < 0 || setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes) != 0 ||
        setsockopt(descriptor, SOL_SOCKET, SO_REUSEPORT, &yes, sizeof yes) != 0 ||
        setsockopt(descriptor, IPPROTO_IP, IP_MULTICAST_TTL, &ttl, sizeof ttl) != 0 ||
        setsockopt(descriptor, IPPROTO_IP, IP_MULTICAST_IF, &interface, sizeof interface) != 0 ||
        bind(descriptor, reinterpret_cast<const sockaddr*>(&own), sizeof own) != 0) {
        throw std::runtime_error(std::strerror(errno));
    }
    return descriptor;
}

void send(int descriptor, const std::vector<std::string>& packets) {
    sockaddr_in group = {};
    group.sin_family = AF_INET;
    group.sin_port = htons(a_mdnsPort);
    inet_pton(AF_INET, "224.0.0.251", &group.sin_addr);
    for (const std::string& packet : packets) {
        if (sendto(descriptor, packet.data(), packet.size(), 0,
                   reinterpret_cast<const sockaddr*>(&group), sizeof group) < 0) {
            throw std::runtime_error(std::strerror(errno));
        }
        // More packets at once than the receiver's buffer can take would be lost.
        const timespec pause = {0, 5000000};
        nanosleep(&pause, nullptr);
    }
}

std::vector<std::string> pack(std::vector<Announcement> announcements, bool goodbye) {
    Packets packets;
    for (Announcement& announcement : announcements) {
        if (goodbye) {
            announcement.fPointerTtl = 0;
            announcement.fServiceTtl = 0;
        }
        packets.add(announcement);
    }
    return packets.take();
}

std::vector<Announcement> readArguments(const std::vector<std::string>& arguments) {
    std::vector<Announcement> announcements;
    for (int number = 1; number <= std::stoi(arguments.at(0)); ++number) {
        Announcement announcement;
        announcement.fPointerTtl = static_cast<std::uint32_t>(std::stoul(arguments.at(1)));
        announcement.fServiceTtl = static_cast<std::uint32_t>(std::stoul(arguments.at(2)));
        announcement.fType = arguments.at(3);
        announcement.fInstance = replaceNumber(arguments.at(4), number);
        announcement.fTarget = replaceNumber(arguments.at(5), number);
        announcement.fPort = static_cast<std::uint16_t>(std::stoi(arguments.at(6)));
        announcements.push_back(announcement);
    }
    return announcements;
}

}  // namespace

int main(int argc, char** argv) {
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, SIGTERM);
    sigaddset(&ending, SIGINT);
    sigprocmask(SIG_BLOCK, &ending, nullptr);
    try {
        const std::vector<std::string> arguments(argv + 1, argv + argc);
        const std::vector<Announcement> announcements = readArguments(arguments);
        const int descriptor = openSocket();
        const bool once = arguments.size() > 7 && arguments[7] == "once";
        const timespec second = {1, 0};
        do {
            send(descriptor, pack(announcements, false));
        } while (!once && sigtimedwait(&ending, nullptr, &second) < 0);
        // Some of many packets may still be lost.
        for (int round = 0; !once && round < 3; ++round) {
            send(descriptor, pack(announcements, true));
        }
        close(descriptor);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "mdns_announcer: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
