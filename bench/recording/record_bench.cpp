// Measures `robaxi record` with a robot of 10,000 keys, 1000 of which change 50 times a second, and
// a camera that sends 30 JPEGs of 1280x720 a second: what is recorded and dropped, the processor
// time and the memory of the recorder over time. The lower bound is the processor time in which the
// same messages are compressed with zstd in pieces of a chunk's size and passed to write(2).
//
//   recording_record_bench [SECONDS [FOLDER]]
//
// The robot runs in this process and the recorder in another one.
#include "bench/figures.h"
#include "child_process.h"
#include "key_names.h"

#include <picture/jpeg.h>
#include <robaxi/kv_broker.h>
#include <robaxi/kv_memory_module.h>
#include <robaxi/kv_video_module.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <recording/reader.h>
#include <string>
#include <string_view>
#include <thread>
#include <unistd.h>
#include <vector>
#include <zstd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t a_keys = bench::a_keys;
constexpr std::size_t a_changing = 1000;
constexpr std::chrono::milliseconds a_changeInterval(20);
constexpr std::chrono::microseconds a_frameInterval(33'333);
constexpr std::uint32_t a_width = 1280;
constexpr std::uint32_t a_height = 720;
constexpr std::size_t a_chunk = std::size_t{1} << 20U;

/** Pictures of a bright, noisy room, which differ from each other. */
std::vector<picture::JpegFile> pictures() {
    constexpr int count = 30;
    constexpr int quality = 80;
    std::mt19937 random(1);
    picture::JpegWriter writer;
    std::vector<picture::JpegFile> files;
    for (int number = 0; number < count; ++number) {
        std::vector<unsigned char> pixels(std::size_t{a_width} * a_height * 3);
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            const std::size_t column = i / 3 % a_width + 10 * static_cast<std::size_t>(number);
            const std::size_t row = i / 3 / a_width;
            pixels[i] =
                static_cast<unsigned char>((column / 40 + row / 30) % 8 * 28 + random() % 12);
        }
        const picture::PixelRows rows{pixels.data(), a_width, a_height, std::size_t{a_width} * 3};
        std::shared_ptr<unsigned char> data(
            new unsigned char[picture::JpegWriter::maxSize(rows, picture::JpegDetail::Quarter)],
            std::default_delete<unsigned char[]>());
        const std::size_t size =
            writer.write(rows, picture::JpegDetail::Quarter, quality, data.get());
        files.push_back({data, size});
    }
    return files;
}

/** A robot whose values and pictures change until it is destroyed. */
class Robot {
  public:
    Robot() : fBroker(KVBroker::createBroker({"robot1", "127.0.0.1", 0})) {
        for (const std::string& name : bench::keyNames()) {
            fIds.push_back(fMemory->addKey({name, "rad", "", 0.0}));
        }
        fVideo->addCamera({{"head", "", {}, {a_width, a_height, "jpeg", 30}}});
        fBroker->addModule(fMemory);
        fBroker->addModule(fVideo);
    }
    ~Robot() { stop(); }
    Robot(const Robot&) = delete;
    Robot& operator=(const Robot&) = delete;

    std::string place() const { return "127.0.0.1:" + std::to_string(fBroker->getPort()); }

    void start() {
        fThreads.emplace_back([this] { xChange(); });
        fThreads.emplace_back([this] { xSend(); });
    }
    void stop() {
        fIsOver = true;
        for (std::thread& thread : fThreads) {
            thread.join();
        }
        fThreads.clear();
    }

    std::uint64_t changes() const { return fChanges; }
    std::uint64_t frames() const { return fFrames; }

  private:
    void xChange() {
        std::mt19937 random(1);
        Clock::time_point next = Clock::now();
        std::vector<std::pair<std::uint32_t, KVValue>> values(a_changing);
        while (!fIsOver) {
            for (std::size_t i = 0; i < a_changing; ++i) {
                values[i] = {fIds[i * (a_keys / a_changing)], static_cast<double>(random()) / 4e9};
            }
            fMemory->getValues()->setValues(values);
            fChanges += a_changing;
            next += a_changeInterval;
            std::this_thread::sleep_until(next);
        }
    }

    void xSend() {
        const std::vector<picture::JpegFile> files = pictures();
        Clock::time_point next = Clock::now();
        while (!fIsOver) {
            const picture::JpegFile& file = files[fFrames % files.size()];
            KVFrame frame;
            frame.fFormat = KVPixelFormat::Jpeg;
            frame.fWidth = a_width;
            frame.fHeight = a_height;
            frame.fData = file.fData;
            frame.fSize = file.fSize;
            frame.fNumber = ++fFrames;
            frame.fTime = std::chrono::duration_cast<std::chrono::microseconds>(
                              std::chrono::system_clock::now().time_since_epoch())
                              .count();
            fVideo->publish("head", frame);
            next += a_frameInterval;
            std::this_thread::sleep_until(next);
        }
    }

    boost::shared_ptr<KVBroker> fBroker;
    std::shared_ptr<KVMemoryModule> fMemory = std::make_shared<KVMemoryModule>();
    std::shared_ptr<KVVideoModule> fVideo = std::make_shared<KVVideoModule>();
    std::vector<std::uint32_t> fIds;
    std::atomic<bool> fIsOver{false};
    std::atomic<std::uint64_t> fChanges{0};
    std::atomic<std::uint64_t> fFrames{0};
    std::vector<std::thread> fThreads;
};

/** Returns a figure of a process, for instance "VmRSS:", in megabytes. */
double memoryOf(pid_t process, const char* figure) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    std::string word;
    while (status >> word && word != figure) {
    }
    double kibibytes = 0;
    status >> kibibytes;
    return kibibytes * 1024 / 1e6;
}

struct Contents {
    std::uint64_t fValues = 0;
    std::uint64_t fFrames = 0;
    std::uint64_t fDropped = 0;
    std::uint64_t fPassedOver = 0;
    double fSeconds = 0;
    double fFloor = 0;  ///< processor seconds of zstd and write(2)
};

/** Returns the number of values that an event reports as passed over. */
std::uint64_t passedOver(std::string_view message) {
    constexpr std::string_view name = "\"values\":";
    const std::size_t found = message.find(name);
    return found == std::string::npos || message.find("\"passed over\"") == std::string::npos
               ? 0
               : std::strtoull(std::string(message.substr(found + name.size())).c_str(), nullptr,
                               10);
}

/** Counts the messages, and repeats the work that no recorder can avoid. */
Contents readBack(const std::string& path) {
    recording::Reader reader(path);
    Contents contents;
    const recording::Statistics& statistics = reader.statistics();
    contents.fSeconds = static_cast<double>(statistics.fEnd - statistics.fStart) * 1e-9;
    const std::string copy = path + ".floor";
    const int file = ::open(copy.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    std::string piece;
    std::string compressed(ZSTD_compressBound(2 * a_chunk), '\0');
    ZSTD_CCtx* const context = ZSTD_createCCtx();
    const auto write = [&] {
        const std::clock_t start = std::clock();
        const std::size_t size = ZSTD_compressCCtx(context, compressed.data(), compressed.size(),
                                                   piece.data(), piece.size(), 1);
        if (ZSTD_isError(size) != 0 || ::write(file, compressed.data(), size) < 0) {
            std::perror("write");
            std::exit(EXIT_FAILURE);
        }
        contents.fFloor += static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
        piece.clear();
    };
    recording::Selection selection;
    selection.fOrder = recording::Order::File;
    recording::Messages messages = reader.messages(selection);
    while (const auto message = messages.next()) {
        const std::string& topic = reader.channels().at(message->fChannelId).fTopic;
        contents.fValues += topic.find("/memory") != std::string::npos ? 1 : 0;
        contents.fFrames += topic.find("/camera/") != std::string::npos ? 1 : 0;
        contents.fPassedOver += passedOver(message->fData);
        contents.fDropped += topic.find("/events") != std::string::npos &&
                                     message->fData.find("\"dropped\"") != std::string::npos
                                 ? 1
                                 : 0;
        piece += message->fData;
        if (piece.size() >= a_chunk) {
            write();
        }
    }
    write();
    ZSTD_freeCCtx(context);
    ::close(file);
    std::filesystem::remove(copy);
    return contents;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int usual = 60;
    constexpr int steps = 20;
    const int seconds = argc > 1 ? std::atoi(argv[1]) : usual;
    const std::string folder = argc > 2 ? argv[2] : std::filesystem::temp_directory_path().string();
    const std::string path = folder + "/recording_record_bench.mcap";
    std::filesystem::remove(path);
    const std::string tool =
        std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path() / "bin/robaxi";

    Robot robot;
    obvista_test::ChildProcess recorder({tool, "record", robot.place(), "--all-cameras", "--rate",
                                         "1000", "--json", "--interval", "1", "-o", path});
    if (!recorder.waitForOutput("\"frames\":", std::chrono::minutes(1))) {
        std::fprintf(stderr, "%s", recorder.errors().c_str());
        return EXIT_FAILURE;
    }
    robot.start();
    std::printf("%10s %16s %14s %16s\n", "seconds", "% of a core", "memory, MB", "without files");
    const Clock::time_point start = Clock::now();
    const double processorBefore = bench::processorSeconds(recorder.pid());
    double processor = processorBefore;
    Clock::time_point before = start;
    for (int step = 1; step <= steps; ++step) {
        std::this_thread::sleep_until(start + std::chrono::seconds(seconds) * step / steps);
        const double now = bench::processorSeconds(recorder.pid());
        const Clock::time_point time = Clock::now();
        const double length = std::chrono::duration<double>(time - before).count();
        std::printf("%10.0f %16.1f %14.1f %16.1f\n",
                    std::chrono::duration<double>(time - start).count(),
                    100 * (now - processor) / length, memoryOf(recorder.pid(), "VmRSS:"),
                    memoryOf(recorder.pid(), "RssAnon:"));
        std::fflush(stdout);
        processor = now;
        before = time;
    }
    robot.stop();
    const double used = processor - processorBefore;
    const double length = std::chrono::duration<double>(before - start).count();
    recorder.signal(SIGINT);
    recorder.waitForEnd();

    const Contents contents = readBack(path);
    const auto size = static_cast<double>(std::filesystem::file_size(path));
    std::printf("recorder:          %5.1f %% of a core\n", 100 * used / length);
    std::printf("zstd and write(2): %5.1f %%\n", 100 * contents.fFloor / contents.fSeconds);
    std::printf(
        "values: %llu of %llu (%llu passed over), frames: %llu of %llu, events of drops: %llu, "
        "%.2f MB/s\n",
        static_cast<unsigned long long>(contents.fValues - a_keys),
        static_cast<unsigned long long>(robot.changes()),
        static_cast<unsigned long long>(contents.fPassedOver),
        static_cast<unsigned long long>(contents.fFrames),
        static_cast<unsigned long long>(robot.frames()),
        static_cast<unsigned long long>(contents.fDropped), size / contents.fSeconds / 1e6);
    std::filesystem::remove(path);
    return EXIT_SUCCESS;
}
