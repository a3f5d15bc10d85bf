#include "hosting_broker.h"

#include "fuzz_target.h"
#include "loopback.h"
#include "temporary_file.h"

#include <robaxi/kv_module.h>
#include <robaxi/kv_value_table.h>

#include <chrono>
#include <memory>
#include <stdexcept>
#include <utility>

namespace obvista_fuzz {

namespace {

using namespace robaxi::v1;

std::shared_ptr<KVModule> makeEcho() {
    auto echo = std::make_shared<KVModule>("KVEcho", "Says what it hears");
    echo->bindMethod({"echo", "", ""}, {KVValue::Type::Nothing},
                     [](const KVValue::List& arguments) { return arguments.front(); });
    echo->bindMethod({"fail", "", ""}, {KVValue::Type::String},
                     [](const KVValue::List& arguments) -> KVValue {
                         throw std::runtime_error(arguments.front().toString());
                     });
    return echo;
}

boost::shared_ptr<KVBroker> listenGuarded() {
    const TemporaryFile token(HostingBroker::a_token);
    KVSettings settings;
    settings.fServer.fTokenFile = token.path();
    settings.fServer.fAllowsPlainToken = true;
    return listenOnLoopback(settings);
}

std::shared_ptr<KVModule> makeMemory() {
    const auto table = std::make_shared<KVValueTable>();
    const KVValue::List list{1, 2.5, "three"};
    for (const KVValue& value : {KVValue(1), KVValue(2.5), KVValue("text"), KVValue(list)}) {
        KVKeyInfo key;
        key.fName = std::string("Robot/") + KVValue::typeName(value.type());
        key.fWritable = true;
        table->addKey(key, value);
    }
    auto memory = std::make_shared<KVModule>("KVMemory", "Keeps values");
    memory->setValues(table);
    memory->bindMethod({"getData", "", ""}, {KVValue::Type::String},
                       [table](const KVValue::List& arguments) {
                           return table->getValue(arguments[0].toString()).fValue;
                       });
    memory->bindMethod({"setData", "", ""}, {KVValue::Type::String, KVValue::Type::Nothing},
                       [table](const KVValue::List& arguments) {
                           table->write(arguments[0].toString(), arguments[1]);
                           return KVValue();
                       });
    return memory;
}

}  // namespace

HostingBroker& HostingBroker::instance() {
    static HostingBroker broker(listenOnLoopback());
    return broker;
}

HostingBroker& HostingBroker::guarded() {
    static HostingBroker broker(listenGuarded());
    return broker;
}

HostingBroker::HostingBroker(boost::shared_ptr<KVBroker> broker) : fBroker(std::move(broker)) {
    fBroker->addModule(makeEcho());
    fBroker->addModule(makeMemory());
    fStub =
        Robaxi::NewStub(grpc::CreateChannel("ipv4:127.0.0.1:" + std::to_string(fBroker->getPort()),
                                            grpc::InsecureChannelCredentials()));
}

void HostingBroker::xOpenSession() {
    fContext = std::make_unique<grpc::ClientContext>();
    fSession = fStub->Session(fContext.get());
    fSessionId = sayHello(*fSession);
    require(fSessionId != 0, "a client is let in");
}

std::uint64_t HostingBroker::keepSession() {
    ClientBatch heartbeat;
    heartbeat.add_messages()->mutable_heartbeat()->set_number(1);
    ServerBatch answer;
    if (!fSession || !fSession->Write(heartbeat) || !fSession->Read(&answer)) {
        // First use, or this program was suspended for so long that the robot ended the session.
        xOpenSession();
    }
    return fSessionId;
}

std::uint64_t HostingBroker::sayHello(Session& session) {
    ClientBatch hello;
    hello.add_messages()->mutable_hello()->set_protocol_version(1);
    ServerBatch answer;
    if (!session.Write(hello) || !session.Read(&answer) || answer.messages_size() == 0) {
        return 0;
    }
    return answer.messages(0).hello_reply().session_id();
}

void HostingBroker::setDeadline(grpc::ClientContext& context) {
    constexpr std::chrono::seconds longest{15};
    context.set_deadline(std::chrono::system_clock::now() + longest);
}

}  // namespace obvista_fuzz
