#include "web/web_server.h"

#include "robot_process.h"
#include "tcp_client.h"
#include "web/web_page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <iterator>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <memory>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <system_error>
#include <thread>
#include <vector>

using robot::IconTrouble;
using robot::WebPage;
using robot::WebServer;
using testing::HasSubstr;
using testing::Not;

namespace {

const std::string a_icon = "\x89PNG\r\n\x1a\n the rest of the picture";

class WebServerTest : public testing::Test {
  protected:
    void SetUp() override {
        const auto page =
            std::make_shared<WebPage>("<b>Rob & \"co\"</b>", "A robot.",
                                      std::vector<std::shared_ptr<KVModule>>{fModule}, fValues);
        // Another program may take a free port first.
        for (int attempt = 0; !fServer; ++attempt) {
            fPort = obvista_test::freePort();
            try {
                fServer = std::make_unique<WebServer>("127.0.0.1", fPort, page, a_icon);
            } catch (const std::runtime_error&) {
                ASSERT_LT(attempt, 10);
            }
        }
    }

    void addValue(const std::string& name, const KVValue& value, const std::string& unit = "") {
        KVKeyInfo key;
        key.fName = name;
        key.fUnit = unit;
        fValues->addKey(key, value);
    }

    HttpAnswer get(const std::string& target) const { return httpGet(fPort, target); }

    std::shared_ptr<KVValueTable> fValues = std::make_shared<KVValueTable>();
    std::shared_ptr<KVModule> fModule =
        std::make_shared<KVModule>("KVThing", "Does <i>things</i>.");
    int fPort = 0;
    std::unique_ptr<WebServer> fServer;
};

TEST_F(WebServerTest, servesTheIconWithOneSlashOrTwo) {
    for (const char* target :
         {"/media/buddy.icon", "//media/buddy.icon", "/media/buddy.icon?x=1"}) {
        const HttpAnswer answer = get(target);
        EXPECT_EQ(answer.fStatus, 200) << target;
        EXPECT_EQ(answer.fBody, a_icon) << target;
        EXPECT_THAT(answer.fHead, HasSubstr("\r\nContent-Type: image/png\r\n"));
        EXPECT_THAT(answer.fHead,
                    HasSubstr("\r\nContent-Length: " + std::to_string(a_icon.size()) + "\r\n"));
    }
    EXPECT_EQ(get("///media/buddy.icon").fStatus, 404);
    EXPECT_EQ(get("/media/../media/buddy.icon").fStatus, 404);
}

TEST_F(WebServerTest, pageShowsNameModulesAndValuesWithoutTheirMarkup) {
    addValue("Zone/<script>", "<img src=x>", "<u>");
    addValue("Battery/Charge", 87.5, "%");
    const HttpAnswer page = get("/");
    EXPECT_EQ(page.fStatus, 200);
    EXPECT_THAT(page.fHead, HasSubstr("Content-Type: text/html; charset=utf-8\r\n"));
    EXPECT_THAT(page.fHead, HasSubstr("Content-Security-Policy: default-src 'self'\r\n"));
    EXPECT_THAT(page.fBody, HasSubstr("<h1>&lt;b&gt;Rob &amp; &quot;co&quot;&lt;/b&gt;</h1>"));
    EXPECT_THAT(page.fBody, HasSubstr("KVThing"));
    EXPECT_THAT(page.fBody, HasSubstr("Does &lt;i&gt;things&lt;/i&gt;."));
    EXPECT_THAT(page.fBody, HasSubstr(">87.5</td><td>%</td>"));
    EXPECT_THAT(page.fBody, HasSubstr("&lt;img src=x&gt;</td><td>&lt;u&gt;</td>"));
    for (const char* markup : {"<b>", "<i>", "<img src=x>", "<u>", "<script>"}) {
        EXPECT_THAT(page.fBody, Not(HasSubstr(markup)));
    }
}

TEST_F(WebServerTest, pageIsMadeAnewForEachRequest) {
    EXPECT_THAT(get("/").fBody, Not(HasSubstr("Late")));
    addValue("Late/Value", 1);
    EXPECT_THAT(get("/").fBody, HasSubstr("Late"));
}

TEST_F(WebServerTest, everythingThatThePageRefersToIsServed) {
    EXPECT_THAT(get("/").fBody, HasSubstr("href=\"/page.css\""));
    EXPECT_THAT(get("/").fBody, HasSubstr("src=\"/page.js\""));
    EXPECT_THAT(get("/page.css").fHead, HasSubstr("text/css"));
    EXPECT_THAT(get("/page.js").fHead, HasSubstr("text/javascript"));
    EXPECT_THAT(get("/page.js").fBody, HasSubstr("fetch('/values.json'"));
}

TEST_F(WebServerTest, valuesAreServedAsJson) {
    addValue("A", "say \"hi\"\n");
    addValue("B", 0x00ff10, "RGB");
    addValue("C", KVValue());
    const HttpAnswer answer = get("/values.json");
    EXPECT_THAT(answer.fHead, HasSubstr("application/json"));
    EXPECT_EQ(answer.fBody,
              "{\n\"1\": \"say \\\"hi\\\"\\n\",\n\"2\": \"#00ff10\",\n\"3\": \"\"\n}\n");
}

TEST_F(WebServerTest, headIsAnsweredWithoutABody) {
    const HttpAnswer answer = httpRequest(fPort, "HEAD", "/media/buddy.icon");
    EXPECT_EQ(answer.fStatus, 200);
    EXPECT_THAT(answer.fHead, HasSubstr("Content-Length: " + std::to_string(a_icon.size())));
    EXPECT_EQ(answer.fBody, "");
}

TEST_F(WebServerTest, whatItDoesNotServeIsRefused) {
    EXPECT_EQ(get("/etc/passwd").fStatus, 404);
    EXPECT_EQ(get("/media/").fStatus, 404);
    const HttpAnswer posted = httpRequest(fPort, "POST", "/");
    EXPECT_EQ(posted.fStatus, 405);
    EXPECT_THAT(posted.fHead, HasSubstr("\r\nAllow: GET, HEAD\r\n"));
}

TEST_F(WebServerTest, whatIsNoHttpIsAnsweredSo) {
    TcpClient client(fPort);
    ASSERT_TRUE(client.send("hello robot\r\n\r\n"));
    EXPECT_THAT(client.read().value_or("nothing"), HasSubstr("HTTP/1.1 400 Bad Request\r\n"));
}

TEST_F(WebServerTest, aHeadWithoutEndIsRefused) {
    TcpClient client(fPort);
    ASSERT_TRUE(client.send("GET / HTTP/1.1\r\nX: " + std::string(9000, 'x')));
    EXPECT_THAT(client.read().value_or("nothing"), HasSubstr("400 Bad Request"));
}

TEST_F(WebServerTest, aRequestThatComesByteByByteIsCutOff) {
    TcpClient client(fPort);
    const auto start = std::chrono::steady_clock::now();
    bool open = true;
    while (open && std::chrono::steady_clock::now() - start < std::chrono::seconds(40)) {
        client.send("G");
        open = client.isSilentFor(std::chrono::milliseconds(200));
    }
    EXPECT_FALSE(open);
}

TEST_F(WebServerTest, slowClientsKeepNobodyElseWaiting) {
    std::vector<std::unique_ptr<TcpClient>> slow;
    for (int i = 0; i < 30; ++i) {
        slow.push_back(std::make_unique<TcpClient>(fPort));
        slow.back()->send("GET / HT");
    }
    EXPECT_EQ(get("/media/buddy.icon").fBody, a_icon);
}

TEST_F(WebServerTest, moreClientsThanItTakesAreServedWhenTheOthersAreGone) {
    std::vector<std::unique_ptr<TcpClient>> idle(64);
    for (std::unique_ptr<TcpClient>& client : idle) {
        client = std::make_unique<TcpClient>(fPort);
    }
    TcpClient waiting(fPort);
    waiting.send("GET /media/buddy.icon HTTP/1.1\r\n\r\n");
    idle.clear();
    EXPECT_THAT(waiting.read().value_or("nothing"), HasSubstr(a_icon));
}

TEST_F(WebServerTest, missingIconIsNotFound) {
    fServer->setIconTrouble(IconTrouble::Missing);
    EXPECT_EQ(get("/media/buddy.icon").fStatus, 404);
    EXPECT_EQ(get("/").fStatus, 200);
}

TEST_F(WebServerTest, brokenIconBeginsLikeAPictureAndIsNone) {
    fServer->setIconTrouble(IconTrouble::Broken);
    const HttpAnswer answer = get("//media/buddy.icon");
    EXPECT_EQ(answer.fStatus, 200);
    EXPECT_EQ(answer.fBody.substr(0, 8), a_icon.substr(0, 8));
    EXPECT_NE(answer.fBody, a_icon);
}

TEST_F(WebServerTest, hugeIconIsAsLongAsItSays) {
    fServer->setIconTrouble(IconTrouble::Huge);
    const HttpAnswer answer = get("/media/buddy.icon");
    EXPECT_THAT(answer.fHead, HasSubstr("Content-Length: 67108864\r\n"));
    EXPECT_EQ(answer.fBody.size(), robot::a_hugeIconSize);
}

TEST_F(WebServerTest, hangingIconIsNeverAnsweredAndHoldsNobodyElse) {
    fServer->setIconTrouble(IconTrouble::Hang);
    TcpClient hanging(fPort);
    hanging.send("GET //media/buddy.icon HTTP/1.1\r\n\r\n");
    EXPECT_EQ(get("/page.css").fStatus, 200);
    EXPECT_TRUE(hanging.isSilentFor(std::chrono::milliseconds(500)));
}

TEST_F(WebServerTest, tricklingIconComesByteByByte) {
    fServer->setIconTrouble(IconTrouble::Trickle);
    TcpClient client(fPort);
    const auto start = std::chrono::steady_clock::now();
    client.send("GET //media/buddy.icon HTTP/1.1\r\n\r\n");
    const std::string head = client.read(1).value_or("");
    ASSERT_THAT(head, HasSubstr("Content-Length: " + std::to_string(a_icon.size()) + "\r\n"));
    std::string body = head.substr(head.find("\r\n\r\n") + 4);
    while (body.size() < 3) {
        const std::string more = client.read(1).value_or("");
        ASSERT_FALSE(more.empty());
        body += more;
        const auto time = std::chrono::steady_clock::now() - start;
        EXPECT_LE(body.size(), 1 + static_cast<std::size_t>(time / std::chrono::seconds(1)))
            << "one a second";
    }
    EXPECT_EQ(body, a_icon.substr(0, body.size()));
}

TEST_F(WebServerTest, troubleEndsWhenItIsToldTo) {
    fServer->setIconTrouble(IconTrouble::Missing);
    fServer->setIconTrouble(IconTrouble::None);
    EXPECT_EQ(get("/media/buddy.icon").fBody, a_icon);
}

TEST_F(WebServerTest, endsWithClientsOfEveryKindConnected) {
    fServer->setIconTrouble(IconTrouble::Trickle);
    TcpClient idle(fPort);
    TcpClient asking(fPort);
    asking.send("GET / HT");
    TcpClient trickled(fPort);
    trickled.send("GET /media/buddy.icon HTTP/1.1\r\n\r\n");
    ASSERT_TRUE(trickled.read(1));
    fServer->setIconTrouble(IconTrouble::Hang);
    TcpClient hanging(fPort);
    hanging.send("GET /media/buddy.icon HTTP/1.1\r\n\r\n");
    ASSERT_EQ(get("/").fStatus, 200);
    fServer.reset();
    EXPECT_TRUE(idle.read());
    EXPECT_TRUE(hanging.read());
}

TEST_F(WebServerTest, aPortInUseIsAnErrorThatNamesItAndSaysWhatToDo) {
    try {
        const WebServer second("127.0.0.1", fPort, nullptr, "");
        FAIL() << "it listens twice";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), HasSubstr("127.0.0.1:" + std::to_string(fPort) + " for HTTP"));
        EXPECT_THAT(error.what(), HasSubstr("Address already in use"));
        EXPECT_THAT(error.what(), HasSubstr("--http-port"));
    }
}

std::string iconFrom(const std::string& address, int port) {
    TcpClient client(boost::asio::ip::make_address(address), port);
    client.send("GET /media/buddy.icon HTTP/1.1\r\n\r\n");
    return client.read().value_or("nothing");
}

TEST(WebServerOnAllAddresses, isReachedWithIpv4AndIpv6) {
    const int port = obvista_test::freePort();
    const WebServer server("0.0.0.0", port, nullptr, a_icon);
    EXPECT_THAT(iconFrom("127.0.0.1", port), HasSubstr(a_icon));
    EXPECT_THAT(iconFrom("::1", port), HasSubstr(a_icon));
}

/** Makes socket() fail for IPv6 on this thread, as in a system that was started without it. */
bool switchOffIpv6() {
    sock_filter filter[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_socket, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[0])),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, AF_INET6, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EAFNOSUPPORT),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{std::size(filter), filter};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

TEST(WebServerOnAllAddresses, isReachedWithIpv4InASystemWithoutIpv6) {
    const int port = obvista_test::freePort();
    std::thread([port] {
        ASSERT_TRUE(switchOffIpv6());
        ASSERT_EQ(-1, socket(AF_INET6, SOCK_STREAM, 0));
        const WebServer server("0.0.0.0", port, nullptr, a_icon);
        EXPECT_THAT(iconFrom("127.0.0.1", port), HasSubstr(a_icon));
    }).join();
}

TEST(WebServerWithoutIcon, answersNotFound) {
    const auto page = std::make_shared<WebPage>(
        "robot", "", std::vector<std::shared_ptr<KVModule>>(), std::make_shared<KVValueTable>());
    const int port = obvista_test::freePort();
    const WebServer server("127.0.0.1", port, page, "");
    EXPECT_EQ(httpGet(port, "/media/buddy.icon").fStatus, 404);
}

TEST(ShortText, saysEveryTypeInAFewWords) {
    using robot::shortText;
    EXPECT_EQ(shortText(KVValue(), ""), "");
    EXPECT_EQ(shortText(true, ""), "true");
    EXPECT_EQ(shortText(-5, ""), "-5");
    EXPECT_EQ(shortText(0.25, "m"), "0.25");
    EXPECT_EQ(shortText(0xff0000, "RGB"), "#ff0000");
    EXPECT_EQ(shortText(KVValue::List{1, 2}, ""), "list of 2");
    EXPECT_EQ(shortText(std::string(199, 'a') + "\xc3\xa9", ""), std::string(199, 'a') + "…");
}

}  // namespace
