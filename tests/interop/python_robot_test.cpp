// Our client with a robot in Python, which was written from robaxi.proto and docs/protocol.md.
#include "certificates.h"
#include "frame_listener.h"
#include "recording_listener.h"
#include "support/binary_value.h"
#include "support/child_process.h"
#include "support/project_files.h"
#include "test_broker.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_frame_stream.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_subscription.h>

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <limits>
#include <memory>
#include <signal.h>
#include <string>
#include <vector>

using namespace obvista_test;
using namespace robaxi_test;

namespace {

class PythonRobot : public testing::Test {
  protected:
    void startRobot(const std::vector<std::string>& options = {}) {
        std::vector<std::string> command{INTEROP_PYTHON, sourceFile("tests/interop/robot.py")};
        command.insert(command.end(), options.begin(), options.end());
        fProcess = std::make_unique<ChildProcess>(command);
        const std::string word = "port ";
        ASSERT_TRUE(fProcess->waitForOutput("\n")) << fProcess->errors();
        ASSERT_EQ(fProcess->output().find(word), 0U) << fProcess->output();
        fPort = std::stoi(fProcess->output().substr(word.size()));
    }

    std::shared_ptr<KVConnection> connect() {
        return KVConnection::open(fClient, a_loopback, fPort, a_timeOut);
    }

    KVProxy makeProxy(const std::string& module = "Echo") {
        return {module, a_loopback, fPort, fClient, a_timeOut, 0};
    }

    std::unique_ptr<ChildProcess> fProcess;
    int fPort = 0;
    BrokerPtr fClient = makeClient();
};

class SecurePythonRobot : public PythonRobot {
  protected:
    static constexpr const char* a_token = "a secret of the robot";

    void startTlsRobot(std::vector<std::string> options = {}) {
        options.insert(options.end(),
                       {"--certificate", fCertificate.fFile, "--key", fCertificate.fKey});
        startRobot(options);
    }

    KVSettings trusting(const Certificate& certificate) const {
        KVSettings settings;
        settings.fAccess.fUsesTls = true;
        settings.fAccess.fTrust = certificate.fFile;
        return settings;
    }

    KVSettings knowing(const std::string& token, KVSettings settings) {
        settings.fAccess.fTokenFile = fFolder.write("token", token + "\n");
        return settings;
    }

    void connectWith(const KVSettings& settings) {
        fClient = makeClient(settings);
        EXPECT_EQ(makeProxy().call<int>("echo", 1), 1);
    }

    KVError refusalOf(const KVSettings& settings) {
        fClient = makeClient(settings);
        return errorOf([this] { connect(); });
    }

    Folder fFolder;
    Certificate fCertificate = makeCertificate(fFolder, "robot", "IP:127.0.0.1");
};

}  // namespace

TEST_F(PythonRobot, IsConnectedTo) {
    startRobot();
    const auto connection = connect();
    EXPECT_TRUE(connection->isConnected());
    EXPECT_EQ(connection->getPeerName(), "Python");
}

TEST_F(PythonRobot, OfAnotherVersionIsReported) {
    startRobot({"--version", "2"});
    const KVError error = errorOf([this] { connect(); });
    EXPECT_CAUSE(error, ProtocolVersion);
    EXPECT_NE(error.toString().find("it speaks version 2, this program version 1"),
              std::string::npos)
        << error.toString();
}

TEST_F(PythonRobot, ThatRefusesIsReported) {
    startRobot({"--refuse", "TOO_MANY"});
    EXPECT_CAUSE(errorOf([this] { connect(); }), TooMany);
}

TEST_F(PythonRobot, ReturnsValuesOfEveryType) {
    startRobot();
    KVProxy echo = makeProxy();
    const KVValue::List list{KVValue(),           true,           1, 2.5, "three",
                             binaryValue("four"), KVValue::List{}};
    const KVValue::Map map{{"", 1}, {"ü", list}, {"map", KVValue::Map{{"a", -0.0}}}};
    const std::vector<KVValue> values{KVValue(),
                                      false,
                                      true,
                                      std::numeric_limits<std::int64_t>::min(),
                                      std::numeric_limits<std::int64_t>::max(),
                                      std::numeric_limits<double>::quiet_NaN(),
                                      -std::numeric_limits<double>::infinity(),
                                      "",
                                      std::string("Zürich\0", 8),
                                      binaryValue(std::string("\0\xff", 2)),
                                      list,
                                      map};
    for (const KVValue& value : values) {
        EXPECT_EQ(echo.callValue("echo", {value}), value) << KVValue::typeName(value.type());
    }
}

TEST_F(PythonRobot, SaysTheCauseOfAnError) {
    startRobot();
    KVProxy echo = makeProxy();
    EXPECT_CAUSE(errorOf([&] { makeProxy("Nobody"); }), NoSuchModule);
    EXPECT_CAUSE(errorOf([&] { echo.callVoid("nothing"); }), NoSuchMethod);
    EXPECT_CAUSE(errorOf([&] { echo.callVoid("echo"); }), WrongArguments);
    const std::vector<std::pair<std::string, KVError::Cause>> causes{
        {"RAISED_BY_MODULE", KVError::Cause::RaisedByModule},
        {"INVALID_ARGUMENT", KVError::Cause::InvalidArgument},
        {"NOT_AUTHORISED", KVError::Cause::NotAuthorised},
        {"WRONG_TYPE", KVError::Cause::WrongType},
        {"CONNECTION_LOST", KVError::Cause::ConnectionLost},
        {"INTERNAL", KVError::Cause::Internal},
    };
    for (const auto& [name, cause] : causes) {
        const KVError error =
            errorOf([&, name = name] { echo.call<KVValue>("fail", name, "The arm is too hot."); });
        EXPECT_TRUE(hasCause(error, cause));
        EXPECT_EQ(error.toString(), "The arm is too hot.");
    }
}

TEST_F(PythonRobot, TakesLargeMessagesWholeOrInParts) {
    constexpr std::size_t size = std::size_t{3} << 20U;
    const KVValue large = binaryValue(std::string(size, 'x'));
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{}, std::vector<std::string>{"--no-fragments"}}) {
        startRobot(options);
        KVProxy echo = makeProxy();
        EXPECT_EQ(echo.callValue("echo", {large}), large);
    }
}

TEST_F(PythonRobot, AnswersSeveralCallersAtOnce) {
    startRobot();
    constexpr int callers = 8;
    constexpr int calls = 25;
    KVProxy echo = makeProxy();
    std::vector<std::future<void>> ends;
    ends.reserve(callers);
    for (int caller = 0; caller < callers; ++caller) {
        ends.push_back(std::async(std::launch::async, [&echo, caller] {
            for (int call = 0; call < calls; ++call) {
                const int number = caller * calls + call;
                EXPECT_EQ(echo.call<int>("echo", number), number);
            }
        }));
    }
    for (auto& end : ends) {
        end.get();
    }
}

TEST_F(PythonRobot, RunsWhatWasPostedByAProxyThatIsGone) {
    startRobot();
    makeProxy().pCall("say", "hello");
    KVProxy echo = makeProxy();
    const auto deadline = std::chrono::steady_clock::now() + a_patience;
    KVValue::List heard;
    while (heard.empty() && std::chrono::steady_clock::now() < deadline) {
        heard = echo.call<KVValue::List>("heard");
    }
    EXPECT_EQ(heard, KVValue::List{"hello"});
}

TEST_F(PythonRobot, MayTakeLongerThanTheTimeOut) {
    startRobot();
    KVProxy patient = makeProxy();
    KVProxy echo("Echo", a_loopback, fPort, fClient, 1, 0);
    EXPECT_CAUSE(errorOf([&] { echo.callVoid("wait", 3.0); }), TimedOut);
    EXPECT_EQ(patient.call<int>("echo", 5), 5) << "the late result is passed over";
}

TEST_F(PythonRobot, DescribesItsModules) {
    startRobot();
    const std::vector<KVModuleInfo> modules = connect()->getModules(a_timeOut);
    ASSERT_EQ(modules.size(), 3U);
    EXPECT_EQ(modules[0].fName, "Echo");
    EXPECT_FALSE(modules[0].fHasValues);
    ASSERT_EQ(modules[0].fMethods.size(), 5U);
    EXPECT_EQ(modules[0].fMethods[0].fSignature, "echo(value)");
    EXPECT_EQ(modules[1].fName, "Memory");
    EXPECT_TRUE(modules[1].fHasValues);
    EXPECT_FALSE(modules[1].fHasFrames);
    EXPECT_TRUE(modules[2].fHasFrames);
}

TEST_F(PythonRobot, SendsItsValues) {
    startRobot();
    RecordingListener listener;
    const auto subscription = KVSubscription::start(
        connect(), "Memory", KVSubscription::Selection::AllKeys, 100, listener.callbacks());
    ASSERT_TRUE(listener.waitUntil([&] { return listener.fUpdates.size() >= 20; }));
    subscription->stop();

    const std::uint32_t id = listener.idOf("Counter/Float");
    EXPECT_EQ(listener.fKeys[id].fUnit, "rad");
    EXPECT_TRUE(listener.fKeys[listener.idOf("Counter/Text")].fWritable);
    const KVChange number = listener.fValues["Counter/Int"];
    EXPECT_EQ(listener.fValues["Counter/Float"].fValue,
              KVValue(static_cast<double>(number.fValue.toInt()) / 2));
    const KVChange text = listener.fValues["Counter/Text"];
    EXPECT_EQ(text.fValue, KVValue("update " + std::to_string(number.fValue.toInt())));
    constexpr std::int64_t offsetBetween = 2000;
    EXPECT_EQ(text.fTime - number.fTime, offsetBetween) << "microseconds";
}

TEST_F(PythonRobot, RefusesASubscription) {
    startRobot();
    RecordingListener listener;
    const auto subscription = KVSubscription::start(
        connect(), "Nobody", KVSubscription::Selection::AllKeys, 1, listener.callbacks());
    ASSERT_TRUE(listener.waitForEnd());
    EXPECT_CAUSE(*listener.fEnd, NoSuchModule);
}

TEST_F(PythonRobot, SendsItsFrames) {
    startRobot();
    FrameListener listener;
    const auto stream = KVFrameStream::start(connect(), "Video", "left", listener.callbacks());
    constexpr std::size_t wanted = 20;
    ASSERT_TRUE(listener.waitUntil([&] { return listener.fNumbers.size() >= wanted; }));
    stream->stop();
    const KVFrame& frame = *listener.fLast;
    EXPECT_EQ(frame.fWidth, 4U);
    EXPECT_EQ(frame.fHeight, 3U);
    EXPECT_EQ(frame.fStride, 4U);
    EXPECT_EQ(frame.fFormat, KVPixelFormat::Grey8);
    const std::string grey(4 * 3, static_cast<char>(frame.fNumber % 256));
    EXPECT_EQ(std::string(frame.fData.get(), frame.fData.get() + frame.fSize), grey);
}

TEST_F(PythonRobot, HasNoSuchCamera) {
    startRobot();
    FrameListener listener;
    const auto stream = KVFrameStream::start(connect(), "Video", "middle", listener.callbacks());
    ASSERT_TRUE(listener.waitForEnd());
    EXPECT_CAUSE(*listener.fEnd, NoSuchStream);
}

TEST_F(PythonRobot, IsLostWhenItIsKilledOrFallsSilent) {
    for (const int signal : {SIGKILL, SIGSTOP}) {
        startRobot();
        const auto connection = connect();
        std::promise<KVError> lost;
        connection->setLostHandler([&lost](const KVError& error) { lost.set_value(error); });
        fProcess->signal(signal);
        auto loss = lost.get_future();
        ASSERT_EQ(loss.wait_for(a_patience), std::future_status::ready);
        EXPECT_CAUSE(loss.get(), ConnectionLost);
        connection->setLostHandler(nullptr);
    }
}

TEST_F(SecurePythonRobot, CarriesCallsValuesAndFramesInTls) {
    startTlsRobot({"--token", a_token});
    connectWith(knowing(a_token, trusting(fCertificate)));
    RecordingListener values;
    const auto subscription = KVSubscription::start(
        connect(), "Memory", KVSubscription::Selection::AllKeys, 100, values.callbacks());
    EXPECT_TRUE(values.waitUntil([&] { return values.fUpdates.size() >= 3; }));
    subscription->stop();
    FrameListener frames;
    const auto stream = KVFrameStream::start(connect(), "Video", "left", frames.callbacks());
    EXPECT_TRUE(frames.waitUntil([&] { return frames.fNumbers.size() >= 3; }));
    stream->stop();
}

TEST_F(SecurePythonRobot, IsTrustedByItsCertificateAlone) {
    startTlsRobot();
    EXPECT_CAUSE(refusalOf({}), NotAuthorised);
    const Certificate other = makeCertificate(fFolder, "other", "IP:127.0.0.1");
    EXPECT_CAUSE(refusalOf(trusting(other)), NotTrusted);
    connectWith(trusting(fCertificate));
}

TEST_F(SecurePythonRobot, WithoutTlsIsNotReachedByAProgramThatAsksForIt) {
    startRobot();
    EXPECT_CAUSE(refusalOf(trusting(fCertificate)), NotTrusted);
}

TEST_F(SecurePythonRobot, LetsInOnlyThoseWhoKnowItsToken) {
    startTlsRobot({"--token", a_token});
    const KVError missing = refusalOf(trusting(fCertificate));
    EXPECT_CAUSE(missing, NotAuthorised);
    EXPECT_NE(missing.toString().find("it requires a token"), std::string::npos)
        << missing.toString();
    const KVError wrong = refusalOf(knowing("a guess", trusting(fCertificate)));
    EXPECT_CAUSE(wrong, NotAuthorised);
    EXPECT_NE(wrong.toString().find("the token is not the right one"), std::string::npos)
        << wrong.toString();
    connectWith(knowing(a_token, trusting(fCertificate)));
}

TEST_F(SecurePythonRobot, ReceivesNoTokenWithoutTlsUnlessTheUserAllowsIt) {
    startRobot({"--token", a_token});
    KVSettings settings = knowing(a_token, {});
    const KVError error = refusalOf(settings);
    EXPECT_CAUSE(error, NotAuthorised);
    EXPECT_NE(error.toString().find("not sent over a connection without TLS"), std::string::npos)
        << error.toString();
    settings.fAccess.fAllowsPlainToken = true;
    connectWith(settings);
}
