// Our client with robots that break the protocol.
#include "connection_states.h"
#include "raw_peer.h"
#include "recording_listener.h"
#include "test_broker.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_proxy.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

using namespace robaxi_test;

namespace {

class ProtocolClient : public testing::Test {
  protected:
    ProtocolClient() {
        fRobot.fAnswer = [this](const v1::ClientMessage& message, v1::ServerMessage& answer) {
            if (message.has_list_modules()) {
                answer.mutable_module_list()->set_call_id(message.list_modules().call_id());
                answer.mutable_module_list()->add_modules()->set_name("Robot");
                return true;
            }
            if (!message.has_call()) {
                return false;
            }
            const std::lock_guard lock(fMutex);
            *answer.mutable_result() = fResult;
            answer.mutable_result()->set_call_id(message.call().call_id());
            return true;
        };
    }

    /** Sets the answer to the following calls. */
    void answerWith(const v1::Result& result) {
        const std::lock_guard lock(fMutex);
        fResult = result;
    }

    void answerWith(const v1::Value& value) {
        v1::Result result;
        *result.mutable_value() = value;
        answerWith(result);
    }

    /** Refuses the following clients. */
    void refuseWith(grpc::StatusCode code, v1::Error::Cause cause, const std::string& text) {
        fRobot.fSessionStatus = grpc::Status(code, "for others");
        fRobot.fDetails.emplace().set_cause(cause);
        fRobot.fDetails->set_text(text);
    }

    KVError connectError() {
        return errorOf(
            [this] { KVConnection::open(fClient, a_loopback, fRobot.port(), a_timeOut); });
    }

    /** Returns the error with which a subscription ends when the robot sends these updates. */
    KVError subscriptionError(const std::vector<v1::SubscriptionUpdate>& updates) {
        fRobot.sendUpdates(updates);
        const auto connection = KVConnection::open(fClient, a_loopback, fRobot.port(), a_timeOut);
        const auto subscription = KVSubscription::start(
            connection, "Robot", KVSubscription::Selection::AllKeys, 1, fListener.callbacks());
        return fListener.waitForEnd() ? *fListener.fEnd : KVError(KVError::Cause::Internal, "none");
    }

    static v1::SubscriptionUpdate keyAdded(std::uint32_t id, const std::string& name) {
        v1::SubscriptionUpdate update;
        v1::Key* key = update.mutable_keys_added()->add_keys();
        key->set_id(id);
        key->set_name(name);
        return update;
    }

  private:
    std::mutex fMutex;
    v1::Result fResult;

  protected:
    RawServer fRobot;  // destroyed before the objects that its threads use
    BrokerPtr fClient = makeClient();
    RecordingListener fListener;
};

}  // namespace

TEST_F(ProtocolClient, TellsThatTheRobotSpeaksAnotherVersion) {
    refuseWith(grpc::StatusCode::FAILED_PRECONDITION, v1::Error::PROTOCOL_VERSION,
               "it speaks version 7, this program version 1");
    const KVError error = connectError();
    EXPECT_CAUSE(error, ProtocolVersion);
    EXPECT_EQ(error.toString(),
              "Cannot reach 127.0.0.1 port " + std::to_string(fRobot.port()) +
                  ": the program there does not speak this version of the Robaxi protocol (it "
                  "speaks version 7, this program version 1). Check the port, and that robot and "
                  "program are of matching versions.");
}

TEST_F(ProtocolClient, DoesNotTakeAnotherVersionThatIsNotRefused) {
    fRobot.fHelloReply.set_protocol_version(2);
    EXPECT_CAUSE(connectError(), ProtocolVersion);
}

TEST_F(ProtocolClient, TellsThatTheRobotRefusesIt) {
    refuseWith(grpc::StatusCode::RESOURCE_EXHAUSTED, v1::Error::TOO_MANY, "it has many friends");
    const KVError error = connectError();
    EXPECT_CAUSE(error, TooMany);
    EXPECT_NE(error.toString().find("it has many friends"), std::string::npos) << error.toString();
    for (const auto cause : {v1::Error::TOKEN_MISSING, v1::Error::TOKEN_WRONG}) {
        refuseWith(grpc::StatusCode::UNAUTHENTICATED, cause, "");
        const KVError refusal = connectError();
        EXPECT_CAUSE(refusal, NotAuthorised);
        EXPECT_NE(refusal.toString().find("token"), std::string::npos) << refusal.toString();
    }
}

TEST_F(ProtocolClient, UnderstandsAStatusWithoutDetails) {
    using Code = grpc::StatusCode;
    const std::vector<std::pair<Code, KVError::Cause>> ends{
        {Code::UNAUTHENTICATED, KVError::Cause::NotAuthorised},
        {Code::PERMISSION_DENIED, KVError::Cause::NotAuthorised},
        {Code::RESOURCE_EXHAUSTED, KVError::Cause::TooMany},
        {Code::FAILED_PRECONDITION, KVError::Cause::ProtocolVersion},
        {Code::INVALID_ARGUMENT, KVError::Cause::InvalidArgument},
        {Code::UNAVAILABLE, KVError::Cause::ConnectionLost},
        {Code::INTERNAL, KVError::Cause::ConnectionLost},
    };
    for (const auto& [code, cause] : ends) {
        fRobot.fSessionStatus = grpc::Status(code, "in its own words");
        EXPECT_TRUE(hasCause(connectError(), cause)) << code;
    }
}

TEST_F(ProtocolClient, SaysWhatHappenedWhenTheRobotSaysNothing) {
    KVProxy proxy("Robot", a_loopback, fRobot.port(), fClient, a_timeOut, 0);
    for (const bool byMethod : {false, true}) {
        v1::Result result;
        result.mutable_error()->set_cause(v1::Error::RAISED_BY_MODULE);
        result.mutable_error()->set_by_method(byMethod);
        answerWith(result);
        EXPECT_EQ(errorOf([&] { proxy.callVoid("x"); }).toString(),
                  "The call of Robot.x at 127.0.0.1 port " + std::to_string(fRobot.port()) +
                      " failed: the module reported a failure without a reason.");
    }
    answerWith(v1::Result());
    EXPECT_EQ(errorOf([&] { proxy.callVoid("x"); }).toString(),
              "The call of Robot.x at 127.0.0.1 port " + std::to_string(fRobot.port()) +
                  " failed: an internal error happened.");
}

TEST_F(ProtocolClient, TellsThatAServerIsNoRobot) {
    fRobot.fSessionStatus = grpc::Status(grpc::StatusCode::UNIMPLEMENTED, "");
    EXPECT_CAUSE(connectError(), ProtocolVersion);
}

TEST_F(ProtocolClient, TellsThatAResultCannotBeRead) {
    KVProxy proxy("Robot", a_loopback, fRobot.port(), fClient, a_timeOut, 0);
    v1::Value unknownType;
    unknownType.set_type(static_cast<v1::Value::Type>(99));
    v1::Value keyWithoutValue;
    keyWithoutValue.set_type(v1::Value::MAP);
    keyWithoutValue.add_keys("lonely");
    for (const v1::Value& value : {nestedValue(65), unknownType, keyWithoutValue}) {
        answerWith(value);
        EXPECT_CAUSE(errorOf([&] { proxy.callVoid("x"); }), Internal);
    }
    answerWith(textValue("well"));
    EXPECT_EQ(proxy.call<std::string>("x"), "well");
}

TEST_F(ProtocolClient, TakesAnUnknownCauseAsInternal) {
    KVProxy proxy("Robot", a_loopback, fRobot.port(), fClient, a_timeOut, 0);
    v1::Result result;
    result.mutable_error()->set_cause(static_cast<v1::Error::Cause>(1000));
    result.mutable_error()->set_text("of a later version");
    result.mutable_error()->set_by_method(true);
    answerWith(result);
    const KVError thrown = errorOf([&] { proxy.callVoid("x"); });
    EXPECT_CAUSE(thrown, Internal);
    EXPECT_EQ(thrown.toString(), "of a later version");
}

TEST_F(ProtocolClient, WaitsForItsTimeOutWhenTheRobotNeverAnswersACall) {
    fRobot.fAnswer = [answer = fRobot.fAnswer](const auto& message, auto& reply) {
        return !message.has_call() && answer(message, reply);
    };
    KVProxy proxy("Robot", a_loopback, fRobot.port(), fClient, 1, 0);
    EXPECT_CAUSE(errorOf([&] { proxy.callVoid("x"); }), TimedOut);
}

TEST_F(ProtocolClient, KeepsItsLimitOfSilenceWithTheHeartbeatsThatTheRobotRequires) {
    fRobot.fHelloReply.set_silence_limit(100);  // a heartbeat at least every 25 ms
    const auto connection = KVConnection::open(fClient, a_loopback, fRobot.port(), 5);
    ConnectionStates states;
    states.watch(*connection);
    fRobot.fIsSilent = true;
    EXPECT_TRUE(states.waitFor(KVConnection::State::Silent));
    EXPECT_GE(connection->getSilence(), 1.5) << "the limit of the default settings";
    connection->setStateHandler(nullptr);
}

TEST_F(ProtocolClient, EndsASubscriptionWhoseBatchDoesNotFitTogether) {
    v1::SubscriptionUpdate broken;
    broken.mutable_values()->add_float_ids(1);
    EXPECT_CAUSE(subscriptionError({keyAdded(1, "a"), broken}), Internal);
    EXPECT_EQ(fListener.fKeys.size(), 1U);
    EXPECT_TRUE(fListener.fValues.empty());
}

TEST_F(ProtocolClient, EndsASubscriptionWhoseTimesDoNotFitTogether) {
    v1::SubscriptionUpdate broken;
    broken.mutable_values()->add_int_ids(1);
    broken.mutable_values()->add_ints(1);
    broken.mutable_values()->add_time_offsets(1);
    broken.mutable_values()->add_time_offsets(2);
    EXPECT_CAUSE(subscriptionError({keyAdded(1, "a"), broken}), Internal);
}

TEST_F(ProtocolClient, EndsASubscriptionWhoseKeysMakeNoSense) {
    EXPECT_CAUSE(subscriptionError({keyAdded(0, "a")}), Internal);
}

TEST_F(ProtocolClient, EndsASubscriptionThatSendsAKeyTwice) {
    EXPECT_CAUSE(subscriptionError({keyAdded(3, "a"), keyAdded(3, "b")}), Internal);
}

TEST_F(ProtocolClient, PassesOverValuesOfKeysThatItDoesNotKnow) {
    v1::SubscriptionUpdate values;
    for (const std::uint32_t id : {7U, 1U}) {
        values.mutable_values()->add_int_ids(id);
        values.mutable_values()->add_ints(std::int64_t{id} * 10);
    }
    v1::SubscriptionUpdate removed;
    removed.mutable_keys_removed()->add_ids(8);
    fRobot.fStreamStatus = grpc::Status(grpc::StatusCode::NOT_FOUND, "");
    EXPECT_CAUSE(subscriptionError({keyAdded(1, "a"), values, removed}), NoSuchModule);
    EXPECT_EQ(fListener.fValues.size(), 1U);
    EXPECT_EQ(fListener.fValues["a"].fValue, KVValue(10));
    EXPECT_TRUE(fListener.fRemoved.empty());
}

TEST_F(ProtocolClient, BringsTimesIntoTheCalendar) {
    v1::SubscriptionUpdate values;
    values.mutable_values()->set_time(std::numeric_limits<std::int64_t>::max());
    for (const std::int64_t offset : {std::int64_t{0}, std::int64_t{1}}) {
        values.mutable_values()->add_int_ids(1 + static_cast<std::uint32_t>(offset));
        values.mutable_values()->add_ints(0);
        values.mutable_values()->add_time_offsets(offset);
    }
    fRobot.fStreamStatus = grpc::Status(grpc::StatusCode::NOT_FOUND, "");
    EXPECT_CAUSE(subscriptionError({keyAdded(1, "late"), keyAdded(2, "early"), values}),
                 NoSuchModule);
    constexpr std::int64_t endOfYear9999 = 253'402'300'800'000'000;
    EXPECT_EQ(fListener.fValues["late"].fTime, endOfYear9999 - 1);
    EXPECT_EQ(fListener.fValues["early"].fTime, 0);
}
