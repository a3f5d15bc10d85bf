// Bounds of RPCs without a session: for each address, so that one does not keep the others out.
#include "grpc/health/v1/health.grpc.pb.h"
#include "latch.h"
#include "raw_peer.h"
#include "test_broker.h"

#include <base/file_descriptor.h>

#include <grpcpp/create_channel_posix.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <certificates.h>
#include <chrono>
#include <fcntl.h>
#include <future>
#include <memory>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <vector>

using namespace robaxi_test;

namespace {

namespace health = grpc::health::v1;
using Clock = std::chrono::steady_clock;
using ChannelPtr = std::shared_ptr<grpc::Channel>;

// Addresses of the loopback, which represent two computers.
constexpr const char* a_stranger = "127.0.0.1";
constexpr const char* a_other = "127.0.0.2";

constexpr std::size_t a_kibibyte = 1024;
constexpr std::size_t a_rpcsOfAddress = 1024;

sockaddr_in loopback(const char* address, int port) {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_port = htons(static_cast<std::uint16_t>(port));
    ::inet_pton(AF_INET, address, &result.sin_addr);
    return result;
}

class Admission : public testing::Test {
  protected:
    void serve(const KVSettings& settings) {
        fServer = makeServer("Robot", settings);
        fServer->addModule(makeEcho());
        const auto slow = std::make_shared<KVModule>("Slow", "");
        slow->bindMethod("hold", [this](const std::string& /*text*/) { fLatch.enter(); });
        fServer->addModule(slow);
    }

    ~Admission() override { fLatch.open(); }

    ChannelPtr connectFrom(const char* address) const {
        const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const sockaddr_in from = loopback(address, 0);
        const sockaddr_in to = loopback(a_loopback, fServer->getPort());
        EXPECT_EQ(::bind(descriptor, reinterpret_cast<const sockaddr*>(&from), sizeof from), 0);
        EXPECT_EQ(::connect(descriptor, reinterpret_cast<const sockaddr*>(&to), sizeof to), 0);
        ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) | O_NONBLOCK);
        return grpc::CreateInsecureChannelFromFd("robot", descriptor);
    }

    static grpc::Status call(const ChannelPtr& channel, grpc::ClientContext& context,
                             const std::string& module, const std::string& method,
                             const std::string& text = "x") {
        context.set_deadline(std::chrono::system_clock::now() + a_patience);
        v1::Call request;
        request.set_module(module);
        request.set_method(method);
        *request.add_arguments() = textValue(text);
        v1::Result result;
        return v1::Robaxi::NewStub(channel)->Call(&context, request, &result);
    }

    static grpc::Status echo(const ChannelPtr& channel, const std::string& text = "x") {
        grpc::ClientContext context;
        return call(channel, context, "Echo", "echo", text);
    }

    static v1::Error::Cause causeOf(const grpc::ClientContext& context) {
        return detailsOf(context).cause();
    }

    Latch fLatch;
    BrokerPtr fServer;
};

/** An RPC that stays open until it is destroyed. */
class OpenRpc {
  public:
    explicit OpenRpc(health::Health::Stub& stub) : fReader(stub.Watch(&fContext, {})) {}

    ~OpenRpc() {
        fContext.TryCancel();
        if (!fHasEnded) {
            fReader->Finish();
        }
    }

    OpenRpc(const OpenRpc&) = delete;
    OpenRpc& operator=(const OpenRpc&) = delete;

    /** Waits for the answer. Returns false if the RPC is refused. */
    bool isAdmitted() {
        health::HealthCheckResponse response;
        return fReader->Read(&response);
    }

    /** Returns why the RPC was refused. */
    v1::Error::Cause cause() {
        fHasEnded = true;
        EXPECT_EQ(fReader->Finish().error_code(), grpc::StatusCode::RESOURCE_EXHAUSTED);
        return detailsOf(fContext).cause();
    }

  private:
    grpc::ClientContext fContext;
    std::unique_ptr<grpc::ClientReader<health::HealthCheckResponse>> fReader;
    bool fHasEnded = false;
};

/** A robot that requires a token, also without TLS. */
class AdmissionByToken : public Admission {
  protected:
    AdmissionByToken() {
        KVSettings settings;
        settings.fServer.fTokenFile = fFolder.write("token", "sesame\n");
        settings.fServer.fAllowsPlainToken = true;
        serve(settings);
    }

    /** Uses a new connection, since one on which no token is right is closed after 5 s. */
    grpc::StatusCode callWith(const std::string& token, const char* address) const {
        grpc::ClientContext context;
        context.AddMetadata("authorization", "Bearer " + token);
        return call(connectFrom(address), context, "Echo", "echo").error_code();
    }

    double secondsWith(const std::string& token, const char* address, grpc::StatusCode code) const {
        const auto start = Clock::now();
        EXPECT_EQ(callWith(token, address), code);
        return std::chrono::duration<double>(Clock::now() - start).count();
    }

    obvista_test::Folder fFolder;
};

/** A connection that sends frames of HTTP/2 which mean nothing. */
class Babbler {
  public:
    explicit Babbler(int port) : fSocket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        const sockaddr_in to = loopback(a_loopback, port);
        EXPECT_EQ(::connect(fSocket.get(), reinterpret_cast<const sockaddr*>(&to), sizeof to), 0);
        const timeval patience{std::chrono::seconds(a_patience).count(), 0};
        ::setsockopt(fSocket.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        xSend("PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n");
        xSend(std::string(3, '\0') + '\4' + std::string(5, '\0'));  // settings
    }

    void send(std::size_t bytes) {
        constexpr std::size_t size = 16 * a_kibibyte;
        const std::string header{0, size >> 8U, 0, '\x7f', 0, 0, 0, 0, 0};
        for (std::size_t sent = 0; sent < bytes; sent += size) {
            xSend(header + std::string(size, 'x'));
        }
    }

    /** Waits until the robot closes the connection. */
    bool isClosed() {
        ssize_t received = 1;
        while (received > 0) {
            std::array<char, a_kibibyte> ignored{};
            received = ::recv(fSocket.get(), ignored.data(), ignored.size(), 0);
        }
        return received == 0 || errno == ECONNRESET;
    }

  private:
    void xSend(const std::string& bytes) {
        ::send(fSocket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);  // fails when it is closed
    }

    base::FileDescriptor fSocket;
};

}  // namespace

TEST_F(Admission, ClosesTheConnectionThatSendsMostWithoutAHello) {
    KVSettings settings;
    settings.fLimits.fMessage = 64 * a_kibibyte;
    settings.fLimits.fHeartbeat = std::chrono::seconds(30);  // so that no hello is too late
    settings.fLimits.fLoss = std::chrono::seconds(60);
    serve(settings);
    constexpr std::size_t most = 8 * 64 * a_kibibyte;
    const ChannelPtr admitted = connectFrom(a_other);
    EXPECT_TRUE(echo(admitted).ok());
    const ChannelPtr newcomer = connectFrom(a_other);
    Babbler babbler(fServer->getPort());
    babbler.send(most);
    EXPECT_TRUE(babbler.isClosed());
    EXPECT_TRUE(echo(newcomer).ok());
    EXPECT_TRUE(echo(admitted, std::string(40 * a_kibibyte, 'x')).ok());
}

TEST_F(Admission, BoundsTheRpcsOfAnAddressAndLeavesOthersIn) {
    KVSettings settings;
    settings.fLimits.fSubscriptions = a_rpcsOfAddress;  // so many streams fit in a connection
    serve(settings);
    const auto stub = health::Health::NewStub(connectFrom(a_stranger));
    std::vector<std::unique_ptr<OpenRpc>> open;
    while (open.size() < a_rpcsOfAddress) {
        open.push_back(std::make_unique<OpenRpc>(*stub));
    }
    for (const auto& each : open) {
        ASSERT_TRUE(each->isAdmitted());
    }
    OpenRpc refused(*stub);
    EXPECT_FALSE(refused.isAdmitted());
    EXPECT_EQ(refused.cause(), v1::Error::TOO_MANY);
    EXPECT_EQ(echo(connectFrom(a_stranger)).error_code(), grpc::StatusCode::RESOURCE_EXHAUSTED);
    EXPECT_TRUE(echo(connectFrom(a_other)).ok());

    open.pop_back();
    const auto deadline = Clock::now() + a_patience;
    bool isAdmitted = false;
    while (!isAdmitted && Clock::now() < deadline) {
        isAdmitted = OpenRpc(*stub).isAdmitted();  // the robot receives the end a little later
    }
    EXPECT_TRUE(isAdmitted);
}

TEST_F(Admission, BoundsTheBytesOfAnAddressAndLeavesOthersIn) {
    KVSettings settings;
    settings.fLimits.fMessage = 64 * a_kibibyte;  // four of them may wait
    serve(settings);
    const std::string large(60 * a_kibibyte, 'x');
    const ChannelPtr stranger = connectFrom(a_stranger);
    std::vector<std::future<grpc::Status>> held;
    while (held.size() < 4) {
        held.push_back(std::async(std::launch::async, [&] {
            grpc::ClientContext context;
            return call(stranger, context, "Slow", "hold", large);
        }));
    }
    ASSERT_TRUE(fLatch.waitForEntries(4));
    grpc::ClientContext context;
    EXPECT_EQ(call(stranger, context, "Echo", "echo", large).error_code(),
              grpc::StatusCode::RESOURCE_EXHAUSTED);
    EXPECT_EQ(causeOf(context), v1::Error::TOO_MANY);
    EXPECT_TRUE(echo(connectFrom(a_other), large).ok());
    fLatch.open();
    for (auto& each : held) {
        EXPECT_TRUE(each.get().ok());
    }
}

TEST_F(AdmissionByToken, SlowsAnAddressDownAfterFiveWrongTokens) {
    for (int n = 0; n < 5; ++n) {
        secondsWith("barley", a_stranger, grpc::StatusCode::UNAUTHENTICATED);
    }
    EXPECT_GE(secondsWith("barley", a_stranger, grpc::StatusCode::UNAUTHENTICATED), 1);
    EXPECT_GE(secondsWith("sesame", a_stranger, grpc::StatusCode::OK), 1)
        << "a quick answer would reveal the right one";
    double quickest = 1;
    for (int n = 0; n < 5; ++n) {
        quickest = std::min(quickest, secondsWith("sesame", a_stranger, grpc::StatusCode::OK));
    }
    EXPECT_LT(quickest, 1) << "the right one ends the delay";
}

TEST_F(AdmissionByToken, DoesNotSlowOtherAddressesDown) {
    for (int n = 0; n < 5; ++n) {
        callWith("barley", a_stranger);
    }
    double quickest = 1;
    for (int n = 0; n < 5; ++n) {
        quickest = std::min(quickest, secondsWith("sesame", a_other, grpc::StatusCode::OK));
    }
    EXPECT_LT(quickest, 1);
    EXPECT_GE(secondsWith("sesame", a_stranger, grpc::StatusCode::OK), 1);
}
