#include "memory/computer_figures.h"

#include "memory/computer_memory.h"

#include <robaxi/kv_error.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <sys/sysinfo.h>
#include <unistd.h>

namespace fs = std::filesystem;
using robot::ComputerFigures;
using robot::ComputerMemory;
using robot::Figure;

namespace {

std::map<std::string, Figure> byName(const std::vector<Figure>& figures) {
    std::map<std::string, Figure> result;
    for (const Figure& figure : figures) {
        EXPECT_TRUE(result.emplace(figure.fName, figure).second) << figure.fName << " twice";
    }
    return result;
}

/** A tree of /proc and /sys files created by the test. */
class MadeUpMachine : public testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "machine.XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        fRoot = pattern;
    }

    void TearDown() override { fs::remove_all(fRoot); }

    void file(const std::string& path, const std::string& contents) {
        fs::create_directories((fRoot / path).parent_path());
        std::ofstream(fRoot / path) << contents;
    }

    void network(std::int64_t received, std::int64_t sent) {
        std::ostringstream text;
        text << "Inter-|   Receive  |  Transmit\n face |bytes packets|bytes packets\n"
             << "  eth0: " << received << " 10 3 0 0 0 0 0 " << sent << " 9 4 0 0 0 0 0\n";
        file("proc/net/dev", text.str());
    }

    fs::path fRoot;
};

TEST_F(MadeUpMachine, withoutAnySourceThereIsNoFigure) {
    EXPECT_TRUE(ComputerFigures(fRoot).read(1).empty());
}

TEST_F(MadeUpMachine, readsLoadAndTasks) {
    file("proc/loadavg", "0.52 1.00 2.25 3/456 7890\n");
    auto figures = byName(ComputerFigures(fRoot).read(1));
    EXPECT_EQ(figures.at("System/Load/1").fValue, KVValue(0.52));
    EXPECT_EQ(figures.at("System/Load/15").fValue, KVValue(2.25));
    EXPECT_EQ(figures.at("System/Tasks/Running").fValue, KVValue(3));
    EXPECT_EQ(figures.at("System/Tasks/All").fValue, KVValue(456));
}

TEST_F(MadeUpMachine, processorUsageIsTheShareOfTimeSinceTheLastReading) {
    ComputerFigures machine(fRoot);
    file("proc/stat", "cpu  100 0 100 800 0 0 0 0\ncpu0 100 0 100 800 0 0 0 0\nintr 5\n");
    EXPECT_TRUE(machine.read(1).empty());
    file("proc/stat", "cpu  120 0 110 870 0 0 0 0\ncpu0 150 0 150 800 0 0 0 0\nintr 9\n");
    auto figures = byName(machine.read(2));
    EXPECT_EQ(figures.at("Cpu/Usage").fValue, KVValue(30.0));
    EXPECT_EQ(figures.at("Cpu/0/Usage").fValue, KVValue(100.0));
}

TEST_F(MadeUpMachine, networkRatesComeWithTheSecondReading) {
    ComputerFigures machine(fRoot);
    network(1000, 500);
    auto figures = byName(machine.read(10));
    EXPECT_EQ(figures.at("Network/eth0/Received").fValue, KVValue(1000));
    EXPECT_EQ(figures.at("Network/eth0/SendErrors").fValue, KVValue(4));
    EXPECT_EQ(figures.count("Network/eth0/ReceiveRate"), 0U);
    network(3000, 500);
    figures = byName(machine.read(12));
    EXPECT_EQ(figures.at("Network/eth0/ReceiveRate").fValue, KVValue(1000.0));
    EXPECT_EQ(figures.at("Network/eth0/SendRate").fValue, KVValue(0.0));
}

TEST_F(MadeUpMachine, aCounterThatWasResetGivesNoRate) {
    ComputerFigures machine(fRoot);
    network(1000, 500);
    machine.read(1);
    network(10, 5);
    EXPECT_EQ(byName(machine.read(2)).count("Network/eth0/ReceiveRate"), 0U);
}

TEST_F(MadeUpMachine, stateOfANetworkCardIsAText) {
    file("sys/class/net/eth0/operstate", "up\n");
    auto figures = byName(ComputerFigures(fRoot).read(1));
    EXPECT_EQ(figures.at("Network/eth0/State").fValue, KVValue("up"));
    EXPECT_EQ(figures.at("Network/eth0/State").fDescription.find("State of the network card"), 0U);
}

TEST_F(MadeUpMachine, sensorsOfOneNameAreToldApart) {
    for (const std::string zone : {"thermal_zone0", "thermal_zone1"}) {
        file("sys/class/thermal/" + zone + "/type", "acpi\n");
        file("sys/class/thermal/" + zone + "/temp", zone.back() == '0' ? "41500\n" : "52000\n");
    }
    file("sys/class/hwmon/hwmon0/name", "core\n");
    file("sys/class/hwmon/hwmon0/temp1_input", "61000\n");
    file("sys/class/hwmon/hwmon0/temp1_label", "Package a/b\n");
    file("sys/class/hwmon/hwmon0/temp2_input", "60000\n");
    auto figures = byName(ComputerFigures(fRoot).read(1));
    EXPECT_EQ(figures.at("Temperature/Zone/acpi").fValue, KVValue(41.5));
    EXPECT_EQ(figures.at("Temperature/Zone/acpi 2").fValue, KVValue(52.0));
    EXPECT_EQ(figures.at("Temperature/core/Package a_b").fValue, KVValue(61.0));
    EXPECT_EQ(figures.at("Temperature/core/temp2").fValue, KVValue(60.0));
}

TEST_F(MadeUpMachine, damagedSourcesAreLeftOut) {
    file("proc/loadavg", "busy\n");
    file("proc/stat", "cpu\ncpu0 a b\n");
    file("proc/meminfo", "MemTotal: lots\n");
    file("proc/net/dev", "no colon\n eth0: 1 2 3\n");
    file("proc/self/mounts", "/dev/x\n");
    file("sys/class/thermal/thermal_zone0/temp", "");
    EXPECT_TRUE(ComputerFigures(fRoot).read(1).empty());
}

TEST_F(MadeUpMachine, diskIsReadWhereItIsMountedEvenWithABlankInItsName) {
    fs::create_directories(fRoot / "media/my disk");
    file("proc/self/mounts", "/dev/sdb1 /media/my\\040disk ext4 rw 0 0\nproc /proc proc rw 0 0\n");
    auto figures = byName(ComputerFigures(fRoot).read(1));
    EXPECT_GT(figures.at("Disk/media_my disk/Total").fValue.toInt(), 0);
    EXPECT_EQ(figures.size(), 2U);
}

TEST_F(MadeUpMachine, keysOfTheTableComeAndGoWithTheirSources) {
    const auto module = std::make_shared<KVMemoryModule>();
    const auto table = module->getValues();
    file("proc/uptime", "100.5 20.0\n");
    ComputerMemory memory(ComputerFigures(fRoot), module);
    EXPECT_EQ(table->getValue("System/Uptime").fValue, KVValue(100));
    file("proc/uptime", "101.5 20.0\n");
    memory.update(1);
    EXPECT_EQ(table->getValue("System/Uptime").fValue, KVValue(101));
    fs::remove(fRoot / "proc/uptime");
    memory.update(2);
    EXPECT_THROW(table->getValue("System/Uptime"), KVError);
    file("proc/uptime", "103 20\n");
    memory.update(3);
    EXPECT_EQ(table->getValue("System/Uptime").fValue, KVValue(103));
}

TEST(ThisMachine, figuresAgreeWithTheSystem) {
    struct sysinfo expected {};
    ASSERT_EQ(sysinfo(&expected), 0);
    auto figures = byName(ComputerFigures().read(1));
    EXPECT_NEAR(static_cast<double>(figures.at("System/Uptime").fValue.toInt()),
                static_cast<double>(expected.uptime), 2);
    EXPECT_EQ(figures.at("Memory/Total").fValue.toInt(),
              static_cast<std::int64_t>(expected.totalram) * expected.mem_unit);
    EXPECT_NEAR(figures.at("System/Load/1").fValue.toFloat(),
                static_cast<double>(expected.loads[0]) / 65536, 1);
    std::string name(256, '\0');
    ASSERT_EQ(gethostname(name.data(), name.size()), 0);
    EXPECT_EQ(figures.at("System/HostName").fValue, KVValue(name.c_str()));
    // A container, or a changed root, may have no disk at its root.
    const auto disk = figures.find("Disk/root/Total");
    if (disk != figures.end()) {
        EXPECT_GT(disk->second.fValue.toInt(), 0);
    }
}

TEST(ThisMachine, usageStaysBetweenNothingAndAll) {
    ComputerFigures machine;
    machine.read(1);
    std::vector<Figure> figures;
    do {  // until the kernel's clock ticked
        figures = machine.read(2);
    } while (byName(figures).count("Cpu/Usage") == 0);
    for (const Figure& figure : figures) {
        if (figure.fUnit == "%") {
            EXPECT_GE(figure.fValue.toFloat(), 0) << figure.fName;
            EXPECT_LE(figure.fValue.toFloat(), 100) << figure.fName;
        }
    }
}

}  // namespace
