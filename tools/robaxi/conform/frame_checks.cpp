#include "conform/subject.h"

namespace robaxi_tool {

namespace {

constexpr const char* a_none = "robaxi conform/none";
constexpr std::size_t a_largestPart = std::size_t{1} << 20U;
constexpr std::uint64_t a_largestFrame = std::uint64_t{64} << 20U;
constexpr int a_frames = 4;
/** Tag of WatchUpdate.header in a message: field 1, with a length. */
constexpr char a_headerTag = 0x0a;

v1::WatchRequest startRequest(std::uint64_t session, const std::string& module,
                              const std::string& camera) {
    v1::WatchRequest request;
    request.mutable_start()->set_session_id(session);
    request.mutable_start()->set_module(module);
    request.mutable_start()->set_stream(camera);
    return request;
}

/** A frame as it came. */
struct Frame {
    v1::FrameHeader fHeader;
    std::uint64_t fBytes = 0;
    bool fIsHeaderFirst = true;
    std::size_t fLargestPart = 0;
};

/** A Watch stream. */
class Watching {
  public:
    explicit Watching(Subject& robot)
        : fRobot(robot), fRpc(robot.wire(), "/robaxi.v1.Robaxi/Watch") {}
    Watching(Subject& robot, Session& session) : Watching(robot) {
        fRpc.send(startRequest(session.id(), a_video, robot.camera()));
    }

    Rpc& rpc() { return fRpc; }

    void report(std::uint64_t received) {
        v1::WatchRequest request;
        request.set_received(received);
        fRpc.send(request);
    }

    /** Returns the next whole frame; nothing at the deadline. @throws Fault */
    std::optional<Frame> next(Clock::time_point deadline) {
        while (const auto bytes = fRpc.next(deadline)) {
            const auto update = parse<v1::WatchUpdate>(*bytes);
            if (update.has_header()) {
                require(!fFrame, "A frame begins before the previous one is complete.");
                fFrame.emplace();
                fFrame->fHeader = update.header();
                fFrame->fIsHeaderFirst = bytes->front() == a_headerTag;
            }
            require(fFrame.has_value(), "The first update of a frame has no header.");
            fFrame->fBytes += update.data().size();
            fFrame->fLargestPart = std::max(fFrame->fLargestPart, update.data().size());
            require(fFrame->fBytes <= fFrame->fHeader.size(),
                    "A frame has more bytes than its header says.");
            if (fFrame->fBytes == fFrame->fHeader.size()) {
                return std::exchange(fFrame, std::nullopt);
            }
        }
        require(!fFrame || fRpc.end(Clock::now()) == nullptr,
                "The stream ended in the middle of a frame.");
        return std::nullopt;
    }

    /** Returns that many frames and reports them. @throws Fault */
    std::vector<Frame> receive(int count) {
        std::vector<Frame> frames;
        while (static_cast<int>(frames.size()) < count) {
            const auto frame = next(fRobot.deadline());
            require(frame.has_value(), "The camera sent " + std::to_string(frames.size()) +
                                           " whole frames, and no further one in time.");
            frames.push_back(*frame);
            report(frames.size());
        }
        return frames;
    }

  private:
    Subject& fRobot;
    Rpc fRpc;
    std::optional<Frame> fFrame;
};

void checkNoStart(Subject& robot) {
    robot.camera();
    Watching watching(robot);
    watching.report(1);
    requireRefusal(robot, watching.rpc(), v1::Error::INVALID_ARGUMENT);
}

void checkRefused(Subject& robot, std::uint64_t sessionMask, const std::string& module,
                  const std::string& camera, v1::Error::Cause cause) {
    Session session(robot);
    Watching watching(robot);
    watching.rpc().send(startRequest(session.id() ^ sessionMask, module, camera));
    requireRefusal(robot, watching.rpc(), cause);
}

void checkNoSession(Subject& robot) {
    checkRefused(robot, ~std::uint64_t{0}, a_video, robot.camera(), v1::Error::NOT_AUTHORISED);
}

void checkNoModule(Subject& robot) {
    checkRefused(robot, 0, a_none, robot.camera(), v1::Error::NO_SUCH_MODULE);
}

void checkNoCamera(Subject& robot) {
    robot.camera();
    checkRefused(robot, 0, a_video, a_none, v1::Error::NO_SUCH_STREAM);
}

void checkStartTwice(Subject& robot) {
    Session session(robot);
    Watching watching(robot, session);
    watching.rpc().send(startRequest(session.id(), a_video, robot.camera()));
    requireRefusal(robot, watching.rpc(), v1::Error::INVALID_ARGUMENT);
}

void checkFrames(Subject& robot) {
    Session session(robot);
    Watching(robot, session).receive(a_frames);
}

void checkOrder(Subject& robot) {
    Session session(robot);
    std::uint64_t last = 0;
    for (const Frame& frame : Watching(robot, session).receive(a_frames)) {
        require(frame.fHeader.number() > last, "Frame " + std::to_string(frame.fHeader.number()) +
                                                   " follows frame " + std::to_string(last) + ".");
        last = frame.fHeader.number();
    }
}

void checkParts(Subject& robot) {
    Session session(robot);
    for (const Frame& frame : Watching(robot, session).receive(a_frames)) {
        require(frame.fLargestPart <= a_largestPart,
                "A part of a frame has " + std::to_string(frame.fLargestPart) + " bytes.");
    }
}

void checkHeaderFirst(Subject& robot) {
    Session session(robot);
    for (const Frame& frame : Watching(robot, session).receive(a_frames)) {
        require(frame.fIsHeaderFirst, "The header does not precede the data.");
    }
}

void checkWindow(Subject& robot) {
    Session session(robot);
    Watching watching(robot, session);
    int frames = 0;
    Clock::time_point deadline = robot.deadline();
    while (const auto frame = watching.next(deadline)) {
        const int most = frame->fHeader.format() == v1::FrameHeader::H264 ? 6 : 2;
        require(++frames <= most,
                "The robot sent " + std::to_string(most + 1) + " frames before one was reported.");
        // A camera with a low rate has the time to send a further frame, too.
        deadline = Clock::now() + 3 * a_quiet;
    }
    require(frames > 0, "The camera sent no frame in time.");
}

void checkWindowMoves(Subject& robot) {
    Session session(robot);
    Watching watching(robot, session);
    for (std::uint64_t received = 1; received <= 2; ++received) {
        require(watching.next(robot.deadline()).has_value(),
                "The camera sent less than two frames in time.");
    }
    watching.report(2);
    require(watching.next(robot.deadline()).has_value(),
            "The robot sent no frame after two were reported.");
}

/** Returns the reason why a frame contradicts itself, or an empty text. */
std::string faultOf(const v1::FrameHeader& header) {
    if (!v1::FrameHeader::Format_IsValid(header.format()) ||
        header.format() == v1::FrameHeader::UNKNOWN) {
        return "its format is unknown";
    }
    if (header.size() == 0 || header.size() > a_largestFrame) {
        return "it has " + std::to_string(header.size()) + " bytes";
    }
    if (header.width() < 1 || header.width() > 65535 || header.height() < 1 ||
        header.height() > 65535) {
        return "its width and height are not 1 to 65535";
    }
    if (header.format() == v1::FrameHeader::JPEG || header.format() == v1::FrameHeader::H264) {
        return header.stride() == 0 ? "" : "its stride is not 0";
    }
    const bool isYuv = header.format() == v1::FrameHeader::YUV422;
    if (isYuv && header.width() % 2 != 0) {
        return "its width is odd";
    }
    const std::uint64_t pixel = header.format() == v1::FrameHeader::RGB888 ? 3 : isYuv ? 2 : 1;
    const std::uint64_t row = header.width() * pixel;
    if (header.stride() < row) {
        return "its rows are longer than its stride";
    }
    return header.size() >= std::uint64_t{header.stride()} * (header.height() - 1) + row
               ? ""
               : "it has too few bytes for its size";
}

void checkFields(Subject& robot) {
    Session session(robot);
    for (const Frame& frame : Watching(robot, session).receive(a_frames)) {
        const std::string fault = faultOf(frame.fHeader);
        require(fault.empty(),
                "Frame " + std::to_string(frame.fHeader.number()) + ": " + fault + ".");
    }
}

void checkEndWithSession(Subject& robot) {
    Session session(robot);
    Watching watching(robot, session);
    watching.receive(1);
    session.rpc().halfClose();
    requireEnd(robot, session.rpc());
    requireEnd(robot, watching.rpc());
}

void checkHalfClose(Subject& robot) {
    Session session(robot);
    Watching watching(robot, session);
    watching.receive(1);
    watching.rpc().halfClose();
    require(requireEnd(robot, watching.rpc()).fCode == grpc::StatusCode::OK,
            "The robot ended the stream with another status than OK.");
}

// --- The methods ---

bool isText(const v1::Value* value, std::size_t longest) {
    return value != nullptr && value->type() == v1::Value::STRING &&
           value->string_value().size() <= longest;
}

bool isSize(const v1::Value* value) {
    return value != nullptr && value->type() == v1::Value::INT && value->int_value() >= 1 &&
           value->int_value() <= 65535;
}

void checkDescriptions(Subject& robot) {
    const v1::Value cameras = robot.cameras();
    require(cameras.type() == v1::Value::LIST, "getCameras did not return a list.");
    std::set<std::string> names;
    for (const v1::Value& camera : cameras.elements()) {
        const v1::Value* const name = elementOf(camera, "name");
        if (!isText(name, 200) || name->string_value().empty() ||
            !names.insert(name->string_value()).second) {
            throw Fault("A name is missing, too long or used twice.");
        }
        require(isText(elementOf(camera, "description"), 1000),
                "The description of " + name->string_value() + " is missing or too long.");
        const v1::Value* const modes = elementOf(camera, "modes");
        if (modes == nullptr || modes->type() != v1::Value::LIST) {
            throw Fault("The modes of " + name->string_value() + " are not a list.");
        }
        for (const v1::Value& mode : modes->elements()) {
            require(isSize(elementOf(mode, "width")) && isSize(elementOf(mode, "height")) &&
                        elementOf(mode, "formats") != nullptr &&
                        elementOf(mode, "rates") != nullptr,
                    "A mode of " + name->string_value() + " is incomplete.");
        }
    }
}

void requireSettings(const v1::Value* settings) {
    require(settings != nullptr && settings->type() == v1::Value::MAP &&
                isSize(elementOf(*settings, "width")) && isSize(elementOf(*settings, "height")) &&
                isText(elementOf(*settings, "format"), 100) &&
                elementOf(*settings, "rate") != nullptr &&
                elementOf(*settings, "rate")->type() == v1::Value::FLOAT,
            "The settings of a camera are incomplete or of other types.");
}

void checkSettings(Subject& robot) {
    robot.needMethod(a_video, "getSettings");
    const std::string camera = robot.camera();
    requireSettings(elementOf(robot.cameras().elements(0), "settings"));
    Session session(robot);
    const v1::Result result = session.call(makeCall(a_video, "getSettings", {textValue(camera)}));
    requireSettings(&requireValue(result));
}

void checkUnknownCamera(Subject& robot) {
    robot.needMethod(a_video, "getSettings");
    Session session(robot);
    requireError(session.call(makeCall(a_video, "getSettings", {textValue(a_none)})),
                 v1::Error::INVALID_ARGUMENT);
}

}  // namespace

const std::vector<ConformCheck>& frameChecks() {
    static const std::vector<ConformCheck> checks = {
        {"frames.cameras", "video",
         "identifies the camera in calls; also the name of its stream. Unique, not empty, at most "
         "200 bytes",
         &checkDescriptions},
        {"frames.settings", "video",
         "Settings are a map of width and height (int, pixels), format (string) and rate (float, "
         "frames a second).",
         &checkSettings},
        {"frames.unknown-camera", "video", "there is no such camera (getSettings, setSettings)",
         &checkUnknownCamera},
        {"frames.no-start", "C1", "The robot ends a stream without it as in U1.", &checkNoStart},
        {"frames.no-session", "C2",
         "It ends the stream with NOT_AUTHORISED if there is no such session", &checkNoSession},
        {"frames.no-module", "C2", "NO_SUCH_MODULE", &checkNoModule},
        {"frames.no-camera", "C2", "NO_SUCH_STREAM if there is no such camera", &checkNoCamera},
        {"frames.start-twice", "C2", "INVALID_ARGUMENT if start is sent twice", &checkStartTwice},
        {"frames.whole", "C4",
         "its data and that of the following ones form the frame, header.size bytes in total.",
         &checkFrames},
        {"frames.newer", "C3",
         "The robot sends the newest frame it has, if any, then newer ones as they arrive.",
         &checkOrder},
        {"frames.parts", "C5", "A sender splits a frame after at most 1 MiB", &checkParts},
        {"frames.header-first", "C5", "In a serialised update header precedes data",
         &checkHeaderFirst},
        {"frames.window", "C6", "The robot begins at most two beyond it, of H264 at most six.",
         &checkWindow},
        {"frames.window-moves", "C6",
         "After each whole frame the client reports in received how many it has received on this "
         "stream.",
         &checkWindowMoves},
        {"frames.fields", "video", "a frame whose fields contradict each other is reported",
         &checkFields},
        {"frames.ends-with-session", "C7", "The stream ends with the session",
         &checkEndWithSession},
        {"frames.half-close", "C7",
         "or, with the status OK, when the client closes its sending side.", &checkHalfClose},
    };
    return checks;
}

}  // namespace robaxi_tool
