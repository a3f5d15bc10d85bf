// A complete robot: announced, with an icon, ten values and a camera.

#include <bonjour/bonjour_announcer.h>
#include <bonjour/bonjour_discovery.h>
#include <bonjour/icon_server.h>
#include <robaxi/kv_broker.h>
#include <robaxi/kv_memory_module.h>
#include <robaxi/kv_video_module.h>

#include <chrono>
#include <fstream>
#include <iostream>
#include <memory>
#include <numeric>
#include <thread>

int main(int argc, char** argv) try {
    const std::string name = argc > 1 ? argv[1] : "example";
    const auto memory = std::make_shared<KVMemoryModule>();
    const auto accept = [](const KVValue&) {};
    const auto turn = [&](const KVValue& angle) { memory->setValue("Head/Angle", angle); };
    memory->addKey({"Battery/Charge", "%", "Charge of the battery", 100.0});
    memory->addKey({"Battery/Charging", "", "True while the charger is plugged in", false});
    memory->addKey({"Battery/Temperature", "°C", "Temperature of the cells", 31.5});
    memory->addKey({"Head/Angle", "rad", "Measured angle", 0.0});
    memory->addKey({"Head/Target", "rad", "Target angle", 0.0, turn, KVRange{-2, 2}});
    memory->addKey({"Head/Touched", "", "True while the head is touched", false});
    memory->addKey({"Audio/Volume", "%", "Volume", 60, accept, KVRange{0, 100}});
    memory->addKey({"Robot/Name", "", "Name under which it is announced", name});
    memory->addKey({"Robot/Note", "", "A free text", "", accept, KVRange{0, 80}});
    memory->addKey({"Robot/Uptime", "s", "Time since it was started", 0});

    const auto takePicture = [](const KVCameraSettings&, KVFrame& frame) {
        auto bytes = std::make_shared<std::vector<unsigned char>>(frame.fWidth * frame.fHeight);
        std::iota(bytes->begin(), bytes->end(), static_cast<unsigned char>(frame.fNumber));
        frame.fFormat = KVPixelFormat::Grey8;
        frame.fStride = frame.fWidth;
        frame.fSize = bytes->size();
        frame.fData = {bytes, bytes->data()};
    };
    const auto video = std::make_shared<KVVideoModule>();
    video->addCamera({{"head", "Between the eyes", {}, {320, 240, "grey", 15}}, takePicture});

    const auto broker = KVBroker::createBroker({name, "0.0.0.0", 9559});
    broker->addModule(memory);
    broker->addModule(video);
    std::ifstream file(argc > 2 ? argv[2] : "icon.png", std::ios::binary);
    const KV::IconServer icon("0.0.0.0", 80, {std::istreambuf_iterator<char>(file), {}});
    KV::BonjourAnnouncer announcer(name, [](const std::string& line) { std::cerr << line + '\n'; });
    announcer.announce({{KV::BonjourDiscovery::fRobaxServiceType, KV::IconServer::a_defaultPort},
                        {KV::BonjourDiscovery::fRobaxiServiceType, broker->getPort()}});
    for (int seconds = 1;; ++seconds, std::this_thread::sleep_for(std::chrono::seconds(1))) {
        memory->setValue("Robot/Uptime", seconds);
    }
} catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
}
