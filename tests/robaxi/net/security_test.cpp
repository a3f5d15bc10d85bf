// TLS and tokens, between brokers of this process and with programs that use neither.
#include "certificates.h"
#include "frame_listener.h"
#include "recording_listener.h"
#include "test_broker.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_frame_source.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_value_table.h>

#include <gtest/gtest.h>

#include <memory>
#include <sys/stat.h>

using namespace obvista_test;
using namespace robaxi_test;

namespace {

class Security : public testing::Test {
  protected:
    static KVSettings serverOf(const Certificate& certificate) {
        KVSettings settings;
        settings.fServer.fCertificate = certificate.fFile;
        settings.fServer.fKey = certificate.fKey;
        return settings;
    }

    static KVSettings clientOf(const Certificate& trusted) {
        KVSettings settings;
        settings.fAccess.fUsesTls = true;
        settings.fAccess.fTrust = trusted.fFile;
        return settings;
    }

    BrokerPtr serve(const KVSettings& settings) {
        auto server = makeServer("Robot", settings);
        server->addModule(makeEcho());
        fPlace = "127.0.0.1 port " + std::to_string(server->getPort());
        return server;
    }

    static int call(const BrokerPtr& client, const BrokerPtr& server,
                    const std::string& address = a_loopback) {
        KVProxy echo("Echo", address, server->getPort(), client, a_timeOut, 0);
        return echo.call<int>("echo", 42);
    }

    KVError refusal(const KVSettings& client, const BrokerPtr& server) {
        const auto broker = makeClient(client);
        return errorOf([&] { call(broker, server); });
    }

    std::string attempt() const { return "Cannot reach the module Echo at " + fPlace + ": "; }

    Folder fFolder;
    Certificate fCertificate = makeCertificate(fFolder, "robot", "IP:127.0.0.1,DNS:localhost");
    std::string fPlace;
};

}  // namespace

TEST_F(Security, WithTlsCarriesCallsValuesAndFrames) {
    const auto server = makeServer("Robot", serverOf(fCertificate));
    const auto module = makeEcho();
    const auto table = std::make_shared<KVValueTable>();
    const auto source = std::make_shared<KVFrameSource>();
    KVKeyInfo key;
    key.fName = "a";
    table->addKey(key, 1);
    source->addStream("head");
    source->publish("head", makeFrame(1, std::size_t{3} << 20U));
    module->setValues(table);
    module->setFrames(source);
    server->addModule(module);

    const auto client = makeClient(clientOf(fCertificate));
    EXPECT_EQ(call(client, server), 42);
    const auto connection = KVConnection::open(client, a_loopback, server->getPort(), a_timeOut);
    RecordingListener values;
    const auto subscription = KVSubscription::start(
        connection, "Echo", KVSubscription::Selection::AllKeys, 50, values.callbacks());
    EXPECT_TRUE(values.waitForValue("a", 1));
    FrameListener frames;
    const auto stream = KVFrameStream::start(connection, "Echo", "head", frames.callbacks());
    ASSERT_TRUE(frames.waitForFrame(1));
    EXPECT_TRUE(hasBytesOf(frames.last(), 1));
}

TEST_F(Security, TakesTheNameAsTheProgramWroteIt) {
    const auto server = serve(serverOf(fCertificate));
    EXPECT_EQ(call(makeClient(clientOf(fCertificate)), server, "localhost"), 42);
}

TEST_F(Security, WithTlsRefusesAProgramWithout) {
    const auto server = serve(serverOf(fCertificate));
    const KVError error = refusal({}, server);
    EXPECT_CAUSE(error, NotAuthorised);
    EXPECT_EQ(error.toString(),
              attempt() +
                  "the robot refuses access (it speaks TLS only, and no certificate "
                  "to trust is known for it). Name the certificate that signed the robot's under "
                  "trust in robaxi.conf.");
    EXPECT_EQ(call(makeClient(clientOf(fCertificate)), server), 42);
}

TEST_F(Security, RefusesARobotWithoutTlsWhenItIsAskedFor) {
    const auto server = serve({});
    const KVError error = refusal(clientOf(fCertificate), server);
    EXPECT_CAUSE(error, NotTrusted);
    EXPECT_EQ(error.toString(),
              attempt() +
                  "the robot cannot be authenticated (it does not use TLS, which "
                  "robaxi.conf requires). Give the robot a certificate, or set tls = no for it in "
                  "robaxi.conf.");
    EXPECT_EQ(call(makeClient(), server), 42);
}

TEST_F(Security, RefusesACertificateThatIsNotTrusted) {
    const auto server = serve(serverOf(fCertificate));
    const Certificate other = makeCertificate(fFolder, "other", "IP:127.0.0.1");
    const KVError error = refusal(clientOf(other), server);
    EXPECT_CAUSE(error, NotTrusted);
    EXPECT_EQ(error.toString().find(attempt() + "the robot cannot be authenticated (its "
                                                "certificate is not signed by a trusted one"),
              0U)
        << error.toString();
}

TEST_F(Security, RefusesACertificateForAnotherName) {
    const Certificate elsewhere = makeCertificate(fFolder, "elsewhere", "DNS:elsewhere.local");
    const auto server = serve(serverOf(elsewhere));
    const KVError error = refusal(clientOf(elsewhere), server);
    EXPECT_CAUSE(error, NotTrusted);
    EXPECT_EQ(error.toString(),
              attempt() +
                  "the robot cannot be authenticated (its certificate is for another name "
                  "than 127.0.0.1). Use the name in the certificate, or set name in robaxi.conf "
                  "to it.");

    KVSettings named = clientOf(elsewhere);
    named.fAccess.fName = "elsewhere.local";
    EXPECT_EQ(call(makeClient(named), server), 42);
}

TEST_F(Security, ReachesRobotsOfBothKindsFromOneBroker) {
    const auto safe = serve(serverOf(fCertificate));
    const auto plain = serve({});
    KVSettings settings = clientOf(fCertificate);
    settings.fRobots[std::string(a_loopback) + ":" + std::to_string(plain->getPort())] = {};
    const auto client = makeClient(settings);
    EXPECT_EQ(call(client, safe), 42);
    EXPECT_EQ(call(client, plain), 42);
}

TEST_F(Security, WithATokenAsksForIt) {
    KVSettings asking = serverOf(fCertificate);
    asking.fServer.fTokenFile = fFolder.write("token", "open sesame\n");
    const auto server = serve(asking);

    KVSettings settings = clientOf(fCertificate);
    const KVError missing = refusal(settings, server);
    EXPECT_CAUSE(missing, NotAuthorised);
    EXPECT_EQ(missing.toString(),
              attempt() +
                  "the robot refuses access (it requires a token). Name the file "
                  "with the robot's token under token in robaxi.conf.");

    settings.fAccess.fTokenFile = fFolder.write("wrong", "open barley\n");
    const KVError wrong = refusal(settings, server);
    EXPECT_CAUSE(wrong, NotAuthorised);
    EXPECT_EQ(wrong.toString(),
              attempt() +
                  "the robot refuses access (the token is not the right one). Ask "
                  "the robot's owner for access.");

    settings.fAccess.fTokenFile = fFolder.write("right", "open sesame");
    EXPECT_EQ(call(makeClient(settings), server), 42);
}

TEST_F(Security, KeepsATokenFromAConnectionThatOthersCanRead) {
    KVSettings asking;
    asking.fServer.fTokenFile = fFolder.write("token", "open sesame\n");
    const KVError error = errorOf([&] { makeServer("Robot", asking); });
    EXPECT_CAUSE(error, InvalidArgument);
    EXPECT_NE(error.toString().find("a token needs certificate and key"), std::string::npos)
        << error.toString();

    asking.fServer.fAllowsPlainToken = true;
    const auto server = serve(asking);
    KVSettings settings;
    settings.fAccess.fTokenFile = asking.fServer.fTokenFile;
    const KVError withheld = refusal(settings, server);
    EXPECT_CAUSE(withheld, NotAuthorised);
    EXPECT_NE(withheld.toString().find("which is not sent over a connection without TLS"),
              std::string::npos)
        << withheld.toString();

    settings.fAccess.fAllowsPlainToken = true;
    EXPECT_EQ(call(makeClient(settings), server), 42);
}

TEST_F(Security, TakesNoTokenFromAFileThatOthersMayRead) {
    KVSettings asking = serverOf(fCertificate);
    for (const unsigned mode : {0640U, 0604U, 0620U}) {
        asking.fServer.fTokenFile = fFolder.write("token", "open sesame\n", mode);
        const KVError error = errorOf([&] { makeServer("Robot", asking); });
        EXPECT_CAUSE(error, InvalidArgument);
        EXPECT_NE(error.toString().find("only its owner may"), std::string::npos)
            << error.toString();
        EXPECT_EQ(error.toString().find("sesame"), std::string::npos);
    }
}

TEST_F(Security, TakesNoTokenThatIsNone) {
    KVSettings asking = serverOf(fCertificate);
    for (const std::string& token :
         {std::string(), std::string("\n"), std::string("two\nlines"), std::string(2000, 'x')}) {
        asking.fServer.fTokenFile = fFolder.write("token", token);
        EXPECT_CAUSE(errorOf([&] { makeServer("Robot", asking); }), InvalidArgument);
    }
    asking.fServer.fTokenFile = fFolder.path("absent");
    EXPECT_CAUSE(errorOf([&] { makeServer("Robot", asking); }), InvalidArgument);
}

TEST_F(Security, SaysWhichFileCannotBeUsed) {
    const Certificate other = makeCertificate(fFolder, "other", "IP:127.0.0.1");
    const std::string nonsense = fFolder.write("nonsense", "nonsense");
    const auto errorWith = [&](const Certificate& certificate) {
        const KVError error = errorOf([&] { makeServer("Robot", serverOf(certificate)); });
        EXPECT_CAUSE(error, InvalidArgument);
        return error.toString();
    };
    EXPECT_NE(errorWith({fCertificate.fFile, ""}).find("only of use together"), std::string::npos);
    EXPECT_NE(errorWith({fFolder.path("no"), fCertificate.fKey}).find(fFolder.path("no")),
              std::string::npos);
    EXPECT_NE(errorWith({nonsense, fCertificate.fKey}).find(nonsense + " holds no certificate"),
              std::string::npos);
    EXPECT_NE(errorWith({fCertificate.fFile, other.fKey})
                  .find(other.fKey + " does not hold the certificate's key"),
              std::string::npos);
    const auto server = serve(serverOf(fCertificate));
    EXPECT_CAUSE(refusal(clientOf({nonsense, ""}), server), InvalidArgument);
}

TEST_F(Security, TellsARobotThatIsNotThereAsWithoutTls) {
    const auto client = makeClient(clientOf(fCertificate));
    EXPECT_CAUSE(errorOf([&] {
                     KVProxy("Echo", a_loopback, obvista_test::freePort(), client, a_timeOut, 0);
                 }),
                 Refused);
}
