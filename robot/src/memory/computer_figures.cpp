#include "memory/computer_figures.h"

#include "rounded.h"

#include <base/safe_text.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <numeric>
#include <optional>
#include <set>
#include <sstream>
#include <sys/statvfs.h>
#include <utility>

namespace robot {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t a_longestFile = 1048576;

std::string contents(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::string text(a_longestFile, '\0');
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(stream.gcount()));
    return text;
}

std::vector<std::string> lines(const fs::path& file) {
    std::istringstream stream(contents(file));
    std::vector<std::string> result;
    for (std::string line; std::getline(stream, line);) {
        result.push_back(line);
    }
    return result;
}

std::string firstLine(const fs::path& file) {
    const std::vector<std::string> all = lines(file);
    return all.empty() ? std::string() : base::oneLine(all.front());
}

template <class Number>
std::optional<Number> firstNumber(const fs::path& file) {
    std::istringstream stream(contents(file));
    Number number{};
    if (stream >> number) {
        return number;
    }
    return std::nullopt;
}

/** Returns the entries of a folder sorted by name; none if it cannot be read. */
std::vector<fs::path> entries(const fs::path& folder) {
    std::error_code error;
    std::vector<fs::path> result;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        result.push_back(it->path());
    }
    std::sort(result.begin(), result.end());
    return result;
}

/** Converts a name from the system into one part of a key. */
std::string keyPart(std::string name) {
    std::replace(name.begin(), name.end(), '/', '_');
    return base::oneLine(name);
}

/** Returns a name that no figure uses yet: sensors of one kind often have the same name. */
std::string uniqueName(const std::string& wanted, std::set<std::string>& taken) {
    std::string name = wanted;
    for (int number = 2; !taken.insert(name).second; ++number) {
        name = wanted + " " + std::to_string(number);
    }
    return name;
}

/** Decodes the octal escapes that the kernel writes for blanks in mount points. */
std::string unescapedMountPoint(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool escape = text[i] == '\\' && i + 3 < text.size() &&
                            std::all_of(text.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                                        text.begin() + static_cast<std::ptrdiff_t>(i) + 4,
                                        [](char c) { return c >= '0' && c <= '7'; });
        if (!escape) {
            result += text[i];
            continue;
        }
        result += static_cast<char>(std::stoi(text.substr(i + 1, 3), nullptr, 8));
        i += 3;
    }
    return result;
}

}  // namespace

ComputerFigures::ComputerFigures(fs::path root) : fRoot(std::move(root)) {
}

std::vector<Figure> ComputerFigures::read(double time) {
    fTime = time;
    fFigures.clear();
    fLast = std::exchange(fPresent, {});
    xReadIdentity();
    xReadLoad();
    xReadProcessors();
    xReadFrequencies();
    xReadMemory();
    xReadTemperatures();
    xReadNetwork();
    xReadDisks();
    xReadBatteries();
    return std::move(fFigures);
}

void ComputerFigures::xAdd(const std::string& name, const std::string& unit,
                           const std::string& description, const KVValue& value) {
    fFigures.push_back({name, unit, description, value});
}

void ComputerFigures::xAddRate(const std::string& name, const std::string& description,
                               std::int64_t count) {
    const auto last = fLast.find(name);
    if (last != fLast.end() && fTime > last->second.fTime && count >= last->second.fCount) {
        const double rate =
            static_cast<double>(count - last->second.fCount) / (fTime - last->second.fTime);
        xAdd(name, "B/s", description, rounded(rate, 1));
    }
    fPresent[name] = {count, 0, fTime};
}

void ComputerFigures::xReadIdentity() {
    const auto addText = [this](const char* name, const char* description, const fs::path& file) {
        if (const std::string text = firstLine(fRoot / file); !text.empty()) {
            xAdd(name, "", description, text);
        }
    };
    addText("System/HostName", "Name of the machine", "proc/sys/kernel/hostname");
    addText("System/Kernel", "Version of the kernel", "proc/sys/kernel/osrelease");
    if (const auto uptime = firstNumber<double>(fRoot / "proc/uptime")) {
        xAdd("System/Uptime", "s", "Time since the machine started",
             static_cast<std::int64_t>(*uptime));
    }
}

void ComputerFigures::xReadLoad() {
    std::istringstream stream(contents(fRoot / "proc/loadavg"));
    for (const char* minutes : {"1", "5", "15"}) {
        double load = 0;
        if (!(stream >> load)) {
            return;
        }
        xAdd(std::string("System/Load/") + minutes, "", "Load average of the last minutes", load);
    }
    std::int64_t running = 0;
    std::int64_t all = 0;
    char slash = 0;
    if (stream >> running >> slash >> all && slash == '/') {
        xAdd("System/Tasks/Running", "", "Tasks that run or wait for a processor", running);
        xAdd("System/Tasks/All", "", "Tasks that exist", all);
    }
}

void ComputerFigures::xReadProcessors() {
    for (const std::string& line : lines(fRoot / "proc/stat")) {
        std::istringstream stream(line);
        std::string name;
        stream >> name;
        if (name.rfind("cpu", 0) != 0) {
            continue;
        }
        // user nice system idle iowait irq softirq steal; the guest times that follow are included
        // in the first two.
        std::vector<std::int64_t> times;
        for (std::int64_t time = 0; times.size() < 8 && stream >> time;) {
            times.push_back(time);
        }
        if (times.size() < 5) {
            continue;
        }
        const std::int64_t total = std::accumulate(times.begin(), times.end(), std::int64_t{0});
        const std::string core = name.substr(3);
        xReadProcessorUsage(core.empty() ? "Cpu/Usage" : "Cpu/" + core + "/Usage",
                            total - times[3] - times[4], total);
    }
}

void ComputerFigures::xReadProcessorUsage(const std::string& name, std::int64_t busy,
                                          std::int64_t total) {
    const auto last = fLast.find(name);
    if (last != fLast.end() && total > last->second.fTotal && busy >= last->second.fCount) {
        const double share = static_cast<double>(busy - last->second.fCount) /
                             static_cast<double>(total - last->second.fTotal);
        xAdd(name, "%", "Share of time that the processor is busy",
             rounded(100 * std::min(share, 1.0), 10));
    }
    fPresent[name] = {busy, total, fTime};
}

void ComputerFigures::xReadFrequencies() {
    for (const fs::path& core : entries(fRoot / "sys/devices/system/cpu")) {
        const std::string name = core.filename().string();
        const bool isCore = name.size() > 3 && name.rfind("cpu", 0) == 0 &&
                            std::all_of(name.begin() + 3, name.end(),
                                        [](unsigned char c) { return std::isdigit(c) != 0; });
        if (!isCore) {
            continue;
        }
        if (const auto kilohertz = firstNumber<std::int64_t>(core / "cpufreq/scaling_cur_freq")) {
            xAdd("Cpu/" + name.substr(3) + "/Frequency", "MHz",
                 "Current clock rate of the processor", *kilohertz / 1000);
        }
    }
}

void ComputerFigures::xReadMemory() {
    static const std::map<std::string, std::pair<const char*, const char*>> wanted{
        {"MemTotal:", {"Memory/Total", "Memory of the machine"}},
        {"MemFree:", {"Memory/Free", "Unused memory"}},
        {"MemAvailable:", {"Memory/Available", "Memory available to programs"}},
        {"Buffers:", {"Memory/Buffers", "Memory used for buffers of block devices"}},
        {"Cached:", {"Memory/Cached", "Memory used as a cache of files"}},
        {"SwapTotal:", {"Memory/SwapTotal", "Swap space"}},
        {"SwapFree:", {"Memory/SwapFree", "Free swap space"}}};
    for (const std::string& line : lines(fRoot / "proc/meminfo")) {
        std::istringstream stream(line);
        std::string name;
        std::int64_t kibibytes = 0;
        if (!(stream >> name >> kibibytes)) {
            continue;
        }
        const auto figure = wanted.find(name);
        if (figure != wanted.end()) {
            xAdd(figure->second.first, "B", figure->second.second, kibibytes * 1024);
        }
    }
}

void ComputerFigures::xReadTemperatures() {
    xReadThermalZones();
    xReadSensors();
}

void ComputerFigures::xReadThermalZones() {
    std::set<std::string> taken;
    for (const fs::path& zone : entries(fRoot / "sys/class/thermal")) {
        const auto millidegrees = firstNumber<std::int64_t>(zone / "temp");
        const std::string type = firstLine(zone / "type");
        if (millidegrees && !type.empty()) {
            xAdd(uniqueName("Temperature/Zone/" + keyPart(type), taken), "°C",
                 "Temperature of a part of the machine",
                 rounded(static_cast<double>(*millidegrees) / 1000, 10));
        }
    }
}

void ComputerFigures::xReadSensors() {
    std::set<std::string> taken;
    for (const fs::path& chip : entries(fRoot / "sys/class/hwmon")) {
        const std::string chipName = firstLine(chip / "name");
        for (const fs::path& file : entries(chip)) {
            const std::string name = file.filename().string();
            const std::size_t end = name.find("_input");
            if (name.rfind("temp", 0) != 0 || end == std::string::npos || chipName.empty()) {
                continue;
            }
            const auto millidegrees = firstNumber<std::int64_t>(file);
            if (!millidegrees) {
                continue;
            }
            const std::string label = firstLine(chip / (name.substr(0, end) + "_label"));
            const std::string sensor = label.empty() ? name.substr(0, end) : label;
            xAdd(uniqueName("Temperature/" + keyPart(chipName) + "/" + keyPart(sensor), taken),
                 "°C", "Temperature measured by a sensor",
                 rounded(static_cast<double>(*millidegrees) / 1000, 10));
        }
    }
}

void ComputerFigures::xReadNetwork() {
    for (const std::string& line : lines(fRoot / "proc/net/dev")) {
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos) {
            continue;  // the two heading lines
        }
        const std::size_t start = line.find_first_not_of(' ');
        const std::string card = "Network/" + keyPart(line.substr(start, colon - start));
        std::istringstream stream(line.substr(colon + 1));
        std::vector<std::int64_t> counts;
        for (std::int64_t count = 0; stream >> count;) {
            counts.push_back(count);
        }
        // Eight columns of received data, bytes first, then eight of sent data.
        if (counts.size() < 16) {
            continue;
        }
        xAdd(card + "/Received", "B", "Bytes received since the machine started", counts[0]);
        xAdd(card + "/ReceiveErrors", "", "Packets received with an error", counts[2]);
        xAdd(card + "/Sent", "B", "Bytes sent since the machine started", counts[8]);
        xAdd(card + "/SendErrors", "", "Packets that could not be sent", counts[10]);
        xAddRate(card + "/ReceiveRate", "Bytes received in one second", counts[0]);
        xAddRate(card + "/SendRate", "Bytes sent in one second", counts[8]);
    }
    for (const fs::path& card : entries(fRoot / "sys/class/net")) {
        if (const std::string state = firstLine(card / "operstate"); !state.empty()) {
            xAdd("Network/" + keyPart(card.filename().string()) + "/State", "",
                 "State of the network card: \"up\", \"down\" or another one of Linux", state);
        }
    }
}

void ComputerFigures::xReadDisks() {
    std::set<std::string> seen;
    for (const std::string& line : lines(fRoot / "proc/self/mounts")) {
        std::istringstream stream(line);
        std::string device;
        std::string escaped;
        stream >> device >> escaped;
        const std::string mountPoint = unescapedMountPoint(escaped);
        // Only file systems on a device, each once, and the root on any device.
        if (mountPoint.empty() || (device.rfind("/dev/", 0) != 0 && mountPoint != "/") ||
            !seen.insert(device).second) {
            continue;
        }
        const fs::path place = fRoot / fs::path(mountPoint).relative_path();
        struct statvfs room {};
        std::error_code error;
        if (!fs::is_directory(place, error) || ::statvfs(place.c_str(), &room) != 0) {
            continue;
        }
        const auto bytes = [&room](auto blocks) {
            return static_cast<std::int64_t>(blocks) * static_cast<std::int64_t>(room.f_frsize);
        };
        const std::string disk =
            "Disk/" + (mountPoint == "/" ? std::string("root") : keyPart(mountPoint.substr(1)));
        xAdd(disk + "/Total", "B", "Size of the file system", bytes(room.f_blocks));
        xAdd(disk + "/Available", "B", "Space available to programs", bytes(room.f_bavail));
    }
}

void ComputerFigures::xReadBatteries() {
    for (const fs::path& supply : entries(fRoot / "sys/class/power_supply")) {
        if (const auto percent = firstNumber<std::int64_t>(supply / "capacity")) {
            xAdd("Battery/" + keyPart(supply.filename().string()) + "/Charge", "%",
                 "Charge of the battery", *percent);
        }
    }
}

}  // namespace robot
