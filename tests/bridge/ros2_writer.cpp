// A robot as ROS 2's default middleware publishes it: topics, names, QoS and CDR, with Fast DDS. It
// prints "ready" when its writers exist, and runs until its standard input ends or a signal ends
// it.
//
// clang-format off
//   robot DOMAIN [JOINTS RATE [CAMERA-RATE]]
//                      joints, sensors, a camera, a node; the joints' velocity is the time of
//                      their stamp in seconds, the camera's pictures have theirs drawn into them
//   flood DOMAIN RATE  a number on /flood, so many times a second
//   many DOMAIN COUNT  /many/t0 and so on, a number each second
//   nodes DOMAIN PARTICIPANTS COUNT
//                      /part0/node0 and so on, so many of each participant
//   restart DOMAIN     two participants with the node /twin; the first one ends on SIGUSR1
//   churn DOMAIN TIMES a publisher on /churn that comes and goes
//   wrong DOMAIN       messages that are not of their type
//   trouble DOMAIN     topics whose type is not known, or whose QoS does not match
//   listen DOMAIN      prints what is published on /volume
// clang-format on

#include "fast_message.h"
#include "video/canvas.h"
#include "video/stamp.h"

#include <chrono>
#include <cmath>
#include <csignal>
#include <cstring>
#include <fastdds/dds/domain/DomainParticipant.hpp>
#include <fastdds/dds/domain/DomainParticipantFactory.hpp>
#include <fastdds/dds/publisher/DataWriter.hpp>
#include <fastdds/dds/publisher/Publisher.hpp>
#include <fastdds/dds/publisher/qos/DataWriterQos.hpp>
#include <fastdds/dds/subscriber/DataReader.hpp>
#include <fastdds/dds/subscriber/SampleInfo.hpp>
#include <fastdds/dds/subscriber/Subscriber.hpp>
#include <fastdds/dds/topic/TopicDataType.hpp>
#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace fastdds = eprosima::fastdds::dds;
using obvista_test::FastMessage;
using Message = std::vector<unsigned char>;
using Clock = std::chrono::system_clock;

namespace {

constexpr unsigned a_longestMessage = 4U << 20U;

/** A type whose messages are encoded already. */
class RawType : public fastdds::TopicDataType {
  public:
    explicit RawType(const std::string& name) {
        setName(name.c_str());
        m_typeSize = a_longestMessage;
        m_isGetKeyDefined = false;
        auto_fill_type_information(false);
        auto_fill_type_object(false);
    }
    bool serialize(void* data, eprosima::fastrtps::rtps::SerializedPayload_t* payload) override {
        const Message& message = *static_cast<const Message*>(data);
        payload->length = static_cast<std::uint32_t>(message.size());
        payload->encapsulation = CDR_LE;
        std::memcpy(payload->data, message.data(), message.size());
        return true;
    }
    bool deserialize(eprosima::fastrtps::rtps::SerializedPayload_t* payload, void* data) override {
        static_cast<Message*>(data)->assign(payload->data, payload->data + payload->length);
        return true;
    }
    std::function<std::uint32_t()> getSerializedSizeProvider(void* data) override {
        return [size = static_cast<const Message*>(data)->size()] {
            return static_cast<std::uint32_t>(size);
        };
    }
    void* createData() override { return new Message; }
    void deleteData(void* data) override { delete static_cast<Message*>(data); }
    bool getKey(void*, eprosima::fastrtps::rtps::InstanceHandle_t*, bool) override { return false; }
};

enum class Kind { Sensor, Reliable, Latched, LatchedSensor };

/** One participant, as a program of ROS 2 has it. */
class Program {
  public:
    explicit Program(int domain) {
        fastdds::DomainParticipantQos qos = fastdds::PARTICIPANT_QOS_DEFAULT;
        qos.name("ros2_writer");
        fParticipant = fastdds::DomainParticipantFactory::get_instance()->create_participant(
            static_cast<std::uint32_t>(domain), qos);
        if (fParticipant == nullptr) {
            throw std::runtime_error("no participant");
        }
        fPublisher = fParticipant->create_publisher(fastdds::PUBLISHER_QOS_DEFAULT);
    }
    ~Program() {
        fParticipant->delete_contained_entities();
        fastdds::DomainParticipantFactory::get_instance()->delete_participant(fParticipant);
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    fastdds::DataWriter* writer(const std::string& topic, const std::string& type, Kind kind,
                                int depth = 5) {
        fastdds::DataWriterQos qos = fastdds::DATAWRITER_QOS_DEFAULT;
        qos.history().kind = fastdds::KEEP_LAST_HISTORY_QOS;
        qos.history().depth = depth;
        const bool isSensor = kind == Kind::Sensor || kind == Kind::LatchedSensor;
        const bool isLatched = kind == Kind::Latched || kind == Kind::LatchedSensor;
        qos.reliability().kind =
            isSensor ? fastdds::BEST_EFFORT_RELIABILITY_QOS : fastdds::RELIABLE_RELIABILITY_QOS;
        qos.durability().kind =
            isLatched ? fastdds::TRANSIENT_LOCAL_DURABILITY_QOS : fastdds::VOLATILE_DURABILITY_QOS;
        qos.publish_mode().kind = fastdds::ASYNCHRONOUS_PUBLISH_MODE;
        qos.endpoint().history_memory_policy =
            eprosima::fastrtps::rtps::PREALLOCATED_WITH_REALLOC_MEMORY_MODE;
        return fPublisher->create_datawriter(xTopic(topic, type), qos);
    }

    /** @param isDemanding it requires latched samples, and one every second */
    fastdds::DataReader* reader(const std::string& topic, const std::string& type,
                                bool isDemanding = false) {
        auto* const subscriber = fParticipant->create_subscriber(fastdds::SUBSCRIBER_QOS_DEFAULT);
        fastdds::DataReaderQos qos = fastdds::DATAREADER_QOS_DEFAULT;
        qos.reliability().kind = fastdds::RELIABLE_RELIABILITY_QOS;
        if (isDemanding) {
            qos.durability().kind = fastdds::TRANSIENT_LOCAL_DURABILITY_QOS;
            qos.deadline().period = eprosima::fastrtps::Duration_t(1, 0);
        }
        return subscriber->create_datareader(xTopic(topic, type), qos);
    }

    /** A writer that only readers with exclusive ownership in the same partition match. */
    void addExclusiveWriter(const std::string& topic, const std::string& type) {
        fastdds::PublisherQos publisherQos = fastdds::PUBLISHER_QOS_DEFAULT;
        publisherQos.partition().push_back("left");
        fastdds::DataWriterQos qos = fastdds::DATAWRITER_QOS_DEFAULT;
        qos.ownership().kind = fastdds::EXCLUSIVE_OWNERSHIP_QOS;
        fParticipant->create_publisher(publisherQos)->create_datawriter(xTopic(topic, type), qos);
    }

    void remove(fastdds::DataWriter* writer) { fPublisher->delete_datawriter(writer); }

    static void waitForReaders(fastdds::DataWriter* writer) {
        fastdds::PublicationMatchedStatus status;
        do {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            writer->get_publication_matched_status(status);
        } while (status.current_count == 0);
    }

    /** Returns the identifier of the participant or of a writer. */
    static std::vector<std::uint8_t> idOf(const eprosima::fastrtps::rtps::GUID_t& guid) {
        std::vector<std::uint8_t> id(guid.guidPrefix.value, guid.guidPrefix.value + 12);
        id.insert(id.end(), guid.entityId.value, guid.entityId.value + 4);
        return id;
    }
    std::vector<std::uint8_t> id() const { return idOf(fParticipant->guid()); }

  private:
    fastdds::Topic* xTopic(const std::string& name, const std::string& type) {
        fastdds::Topic*& topic = fTopics[name];
        if (topic == nullptr) {
            fastdds::TypeSupport support(new RawType(type));
            support.register_type(fParticipant);
            topic = fParticipant->create_topic(name, type, fastdds::TOPIC_QOS_DEFAULT);
        }
        return topic;
    }

    fastdds::DomainParticipant* fParticipant = nullptr;
    fastdds::Publisher* fPublisher = nullptr;
    std::map<std::string, fastdds::Topic*> fTopics;
};

void publish(fastdds::DataWriter* writer, const FastMessage& message) {
    Message bytes = message.bytes();
    writer->write(&bytes);
}

std::string ddsType(const std::string& package, const std::string& name) {
    return package + "::msg::dds_::" + name + '_';
}

FastMessage& stamped(FastMessage& message, Clock::time_point time, const std::string& frame) {
    const auto nanoseconds =
        std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
    return message.header(frame, static_cast<std::int32_t>(nanoseconds / 1'000'000'000),
                          static_cast<std::uint32_t>(nanoseconds % 1'000'000'000));
}

/** Calls a function at a rate until the end. */
template <class Function>
[[noreturn]] void repeat(double rate, Function function) {
    const auto start = std::chrono::steady_clock::now();
    const std::chrono::duration<double> period(1 / rate);
    for (long step = 0;; ++step) {
        function(step);
        std::this_thread::sleep_until(
            start + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                        period * static_cast<double>(step + 1)));
    }
}

void ready() {
    std::cout << "ready" << std::endl;
}

/** A picture whose colours move, with its number and time, like those of the simulated robot. */
Message picture(int width, int height, long step, Clock::time_point time) {
    robot::Canvas canvas;
    canvas.resize(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            canvas.row(y)[x] = {static_cast<std::uint8_t>(x * 255 / width),
                                static_cast<std::uint8_t>(y * 255 / height),
                                static_cast<std::uint8_t>(step * 8)};
        }
    }
    robot::drawStamp(
        canvas, static_cast<std::uint64_t>(step),
        std::chrono::duration_cast<std::chrono::microseconds>(time.time_since_epoch()).count());
    Message bytes(std::size_t{3} * static_cast<std::size_t>(width * height));
    unsigned char* byte = bytes.data();
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const robot::Colour& pixel = canvas.row(y)[x];
            *byte++ = pixel.fRed;
            *byte++ = pixel.fGreen;
            *byte++ = pixel.fBlue;
        }
    }
    return bytes;
}

void addId(FastMessage& message, const std::vector<std::uint8_t>& id) {
    for (const std::uint8_t byte : id) {
        message << byte;
    }
}

fastdds::DataWriter* makeNodeWriter(Program& program) {
    return program.writer("ros_discovery_info",
                          ddsType("rmw_dds_common", "ParticipantEntitiesInfo"), Kind::Latched, 1);
}

void runRobot(int domain, int joints, double rate, double cameraRate) {
    Program program(domain);
    auto* const jointWriter =
        program.writer("rt/joint_states", ddsType("sensor_msgs", "JointState"), Kind::Reliable);
    auto* const batteryWriter =
        program.writer("rt/battery", ddsType("sensor_msgs", "BatteryState"), Kind::Sensor);
    auto* const nameWriter =
        program.writer("rt/robot_name", ddsType("std_msgs", "String"), Kind::Latched, 1);
    auto* const strangeWriter =
        program.writer("rt/strange", ddsType("my_msgs", "Unheard"), Kind::Reliable);
    auto* const imageWriter =
        program.writer("rt/camera/image_raw", ddsType("sensor_msgs", "Image"), Kind::Reliable);
    auto* const nodeWriter = makeNodeWriter(program);
    publish(nameWriter, FastMessage() << "marvin of ROS 2");

    FastMessage node;
    addId(node, program.id());
    node << std::uint32_t{1} << "/"
         << "body" << std::uint32_t{0} << std::uint32_t{1};
    addId(node, Program::idOf(jointWriter->guid()));
    publish(nodeWriter, node);

    std::vector<std::string> names{"HeadYaw", "LeftKnee", "RightKnee"};
    for (int i = 3; i < joints; ++i) {
        names.push_back("Joint" + std::to_string(i));
    }
    ready();
    const long every = std::max(1L, std::lround(rate));
    std::thread camera;
    if (cameraRate > 0) {
        camera = std::thread([&] {
            repeat(cameraRate, [&](long step) {
                const auto now = Clock::now();
                FastMessage image;
                stamped(image, now, "eye")
                    << std::uint32_t{480} << std::uint32_t{640} << "rgb8" << std::uint8_t{0}
                    << std::uint32_t{1920} << picture(640, 480, step, now);
                publish(imageWriter, image);
            });
        });
    }
    repeat(rate, [&](long step) {
        const auto now = Clock::now();
        const double time = static_cast<double>(step) / rate;
        std::vector<double> positions;
        for (std::size_t i = 0; i < names.size(); ++i) {
            positions.push_back(std::sin(time + static_cast<double>(i)));
        }
        FastMessage message;
        const std::chrono::duration<double> sinceEpoch = now.time_since_epoch();
        stamped(message, now, "base")
            << names << positions << std::vector<double>(names.size(), sinceEpoch.count())
            << std::vector<double>(names.size(), 0.5);
        publish(jointWriter, message);
        if (step % every == 0) {
            FastMessage battery;
            stamped(battery, now, "") << 24.5F << 31.0F << -1.5F << 2.0F << 2.5F << 3.0F << 0.75F
                                      << std::uint8_t{2} << std::uint8_t{1} << std::uint8_t{3}
                                      << true << std::vector<float>{} << std::vector<float>{} << ""
                                      << "";
            publish(batteryWriter, battery);
            publish(strangeWriter, FastMessage() << 1.5 << "x");
        }
    });
}

void runFlood(int domain, double rate) {
    Program program(domain);
    auto* const writer = program.writer("rt/flood", ddsType("std_msgs", "Int64"), Kind::Sensor, 1);
    ready();
    // Ten at once, since a thread does not wake up more often.
    std::int64_t number = 0;
    repeat(rate / 10, [&](long) {
        for (int i = 0; i < 10; ++i) {
            publish(writer, FastMessage() << ++number);
        }
    });
}

void runMany(int domain, int count) {
    Program program(domain);
    std::vector<fastdds::DataWriter*> writers;
    for (int i = 0; i < count; ++i) {
        writers.push_back(program.writer("rt/many/t" + std::to_string(i),
                                         ddsType("std_msgs", "Int32"), Kind::Reliable, 1));
    }
    ready();
    repeat(1, [&](long step) {
        for (auto* const writer : writers) {
            publish(writer, FastMessage() << static_cast<std::int32_t>(step));
        }
    });
}

void runNodes(int domain, int participants, int count) {
    std::vector<std::unique_ptr<Program>> programs;
    for (int i = 0; i < participants; ++i) {
        programs.push_back(std::make_unique<Program>(domain));
        FastMessage nodes;
        addId(nodes, programs.back()->id());
        nodes << static_cast<std::uint32_t>(count);
        for (int node = 0; node < count; ++node) {
            nodes << "/part" + std::to_string(i) << "node" + std::to_string(node)
                  << std::uint32_t{0} << std::uint32_t{0};
        }
        publish(makeNodeWriter(*programs.back()), nodes);
    }
    ready();
    pause();
}

void runRestart(int domain) {
    // Blocked before other threads start, so that only sigwait() receives it.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    const auto start = [&] {
        auto program = std::make_unique<Program>(domain);
        FastMessage nodes;
        addId(nodes, program->id());
        nodes << std::uint32_t{1} << "/"
              << "twin" << std::uint32_t{0} << std::uint32_t{0};
        auto* const writer = makeNodeWriter(*program);
        publish(writer, nodes);
        Program::waitForReaders(writer);
        return program;
    };
    auto former = start();
    const auto current = start();
    ready();
    int signal = 0;
    sigwait(&signals, &signal);
    former.reset();
    pause();
}

void runChurn(int domain, int times) {
    Program program(domain);
    ready();
    for (int i = 0; i < times; ++i) {
        auto* const writer =
            program.writer("rt/churn", ddsType("std_msgs", "Int32"), Kind::Latched, 1);
        publish(writer, FastMessage() << static_cast<std::int32_t>(i));
        Program::waitForReaders(writer);  // goes when somebody reads it
        program.remove(writer);
    }
    std::cout << "done" << std::endl;
    pause();
}

void runWrong(int domain) {
    Program program(domain);
    auto* const imu = program.writer("rt/imu", ddsType("sensor_msgs", "Imu"), Kind::Reliable);
    auto* const image = program.writer("rt/image", ddsType("sensor_msgs", "Image"), Kind::Reliable);
    auto* const text = program.writer("rt/text", ddsType("std_msgs", "String"), Kind::Reliable);
    ready();
    repeat(20, [&](long) {
        publish(imu, FastMessage() << 1.0);
        publish(image, FastMessage() << 1.0);
        publish(text, FastMessage() << std::uint32_t{0xFFFFFFFF});
    });
}

void runTrouble(int domain) {
    Program program(domain);
    Program other(domain);
    auto* const strange =
        program.writer("rt/strange", ddsType("my_msgs", "Unheard"), Kind::Reliable);
    auto* const scan = program.writer("rt/scan", ddsType("std_msgs", "Float64"), Kind::Sensor, 1);
    auto* const level =
        program.writer("rt/level", ddsType("std_msgs", "Float64"), Kind::LatchedSensor, 1);
    auto* const angle = program.writer("rt/angle", ddsType("std_msgs", "Float32"), Kind::Reliable);
    program.addExclusiveWriter("rt/exclusive", ddsType("std_msgs", "Float64"));
    other.reader("rt/scan", ddsType("std_msgs", "Float64"), true);
    other.reader("rt/angle", ddsType("std_msgs", "Float64"));
    other.reader("rt/volume", ddsType("std_msgs", "Float64"), true);
    ready();
    repeat(20, [&](long step) {
        publish(strange, FastMessage() << 1.5);
        publish(scan, FastMessage() << static_cast<double>(step + 1));
        publish(level, FastMessage() << static_cast<double>(step + 1));
        publish(angle, FastMessage() << 1.5F);
    });
}

void runListener(int domain) {
    Program program(domain);
    auto* const reader = program.reader("rt/volume", ddsType("std_msgs", "Float64"));
    ready();
    for (;;) {
        reader->wait_for_unread_message(eprosima::fastrtps::Duration_t(1, 0));
        Message message;
        fastdds::SampleInfo info;
        while (reader->take_next_sample(&message, &info) == ReturnCode_t::RETCODE_OK) {
            double value = 0;
            if (info.valid_data && message.size() >= 12) {
                std::memcpy(&value, message.data() + 4, sizeof(value));
                std::cout << "volume " << value << std::endl;
            }
        }
    }
}

}  // namespace

// Fast DDS deletes its statistics' writers as objects of another size. Called by the sanitizer's
// runtime library, if there is one.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
    return "new_delete_type_mismatch=0";
}

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    const auto number = [&](std::size_t index, double otherwise) {
        return index < words.size() ? std::stod(words[index]) : otherwise;
    };
    if (words.size() < 2) {
        std::cerr << "usage: ros2_writer robot|flood|many|nodes|restart|churn|wrong|trouble|listen "
                     "DOMAIN ...\n";
        return 2;
    }
    const int domain = std::stoi(words[1]);
    if (words[0] == "robot") {
        runRobot(domain, static_cast<int>(number(2, 3)), number(3, 50), number(4, 15));
    } else if (words[0] == "flood") {
        runFlood(domain, number(2, 10'000));
    } else if (words[0] == "many") {
        runMany(domain, static_cast<int>(number(2, 500)));
    } else if (words[0] == "nodes") {
        runNodes(domain, static_cast<int>(number(2, 1)), static_cast<int>(number(3, 1)));
    } else if (words[0] == "restart") {
        runRestart(domain);
    } else if (words[0] == "churn") {
        runChurn(domain, static_cast<int>(number(2, 100)));
    } else if (words[0] == "wrong") {
        runWrong(domain);
    } else if (words[0] == "trouble") {
        runTrouble(domain);
    } else if (words[0] == "listen") {
        runListener(domain);
    }
    return 0;
}
