#ifndef OBVISTA_ROBOT_MEMORY_COMPUTER_FIGURES_H
#define OBVISTA_ROBOT_MEMORY_COMPUTER_FIGURES_H

#include <robaxi/kv_value.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace robot {

/** One measured value of the machine. */
struct Figure {
    std::string fName;  ///< path with "/", for instance "Memory/Available"
    std::string fUnit;
    std::string fDescription;
    KVValue fValue;
};

/**
 * Values of the machine, read from /proc and /sys.
 *
 * A value whose source is missing or cannot be read is left out, and rates appear with the second
 * reading. Not to be used from two threads at once.
 */
class ComputerFigures {
  public:
    /** @param root folder that holds "proc" and "sys" */
    explicit ComputerFigures(std::filesystem::path root = "/");

    /** @param time seconds on a monotonic clock, for computing rates */
    std::vector<Figure> read(double time);

  private:
    void xAdd(const std::string& name, const std::string& unit, const std::string& description,
              const KVValue& value);
    void xAddRate(const std::string& name, const std::string& description, std::int64_t count);
    void xReadIdentity();
    void xReadLoad();
    void xReadProcessors();
    void xReadProcessorUsage(const std::string& name, std::int64_t busy, std::int64_t total);
    void xReadFrequencies();
    void xReadMemory();
    void xReadTemperatures();
    void xReadThermalZones();
    void xReadSensors();
    void xReadNetwork();
    void xReadDisks();
    void xReadBatteries();

    struct Sample {
        std::int64_t fCount;
        std::int64_t fTotal;  // the total of which fCount is a part, or 0
        double fTime;
    };

    std::filesystem::path fRoot;
    std::map<std::string, Sample> fLast;     // counters of the previous reading, for the rates
    std::map<std::string, Sample> fPresent;  // counters of this reading
    std::vector<Figure> fFigures;
    double fTime = 0;
};

}  // namespace robot

#endif
