// A robot that offers less than programs expect.
//
// "KVMemory" has values for subscribing and no methods, "KVVideo" has the camera "eye" and no
// methods; "KVCalls" has methods of a memory for calling and no values. It reports when it listens,
// and runs until it is killed.
#include "loopback_broker.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_frame_source.h>
#include <robaxi/kv_module.h>
#include <robaxi/kv_value_table.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <thread>
#include <vector>

namespace {

std::shared_ptr<KVModule> valuesAlone() {
    auto module = std::make_shared<KVModule>("KVMemory", "Values without methods");
    auto table = std::make_shared<KVValueTable>();
    for (int i = 0; i < 3; ++i) {
        KVKeyInfo key;
        key.fName = "Joint/" + std::to_string(i);
        key.fUnit = "rad";
        key.fWritable = true;
        table->addKey(key, 0.5 + i);
    }
    KVKeyInfo name;
    name.fName = "Robot/Name";
    table->addKey(name, "lesser");
    module->setValues(table);
    return module;
}

std::shared_ptr<KVModule> framesAlone() {
    auto module = std::make_shared<KVModule>("KVVideo", "A camera without methods");
    module->setFrames(std::make_shared<KVFrameSource>());
    module->getFrames()->addStream("eye");
    return module;
}

/** Sends pictures of one colour for ever. */
[[noreturn]] void sendPictures(KVFrameSource& cameras) {
    const auto bytes = std::make_shared<std::vector<unsigned char>>(4 * 2, 200);
    KVFrame frame;
    frame.fTime = 1700000000000000;
    frame.fWidth = 4;
    frame.fHeight = 2;
    frame.fStride = 4;
    frame.fFormat = KVPixelFormat::Grey8;
    frame.fData = {bytes, bytes->data()};
    frame.fSize = bytes->size();
    for (;;) {
        ++frame.fNumber;
        cameras.publish("eye", frame);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

std::shared_ptr<KVModule> methodsAlone() {
    auto module = std::make_shared<KVModule>("KVCalls", "Methods without values");
    module->bindMethod("getData", [](const std::string& key) { return key + "'s value"; });
    return module;
}

}  // namespace

int main() try {
    const auto broker = obvista_test::createTestBroker("lesser");
    const auto video = framesAlone();
    for (const auto& module : {valuesAlone(), video, methodsAlone()}) {
        broker->addModule(module);
    }
    std::printf("lesser_robot listens on %d\n", broker->getPort());
    std::fflush(stdout);
    sendPictures(*video->getFrames());
} catch (const KVError& error) {
    std::fprintf(stderr, "lesser_robot: %s\n", error.what());
    return 1;
}
