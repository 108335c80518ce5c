#include "platform/LoopbackCallbackServer.h"

#include "platform/CallbackRequest.h"
#include "support/Cancellation.h"
#include "support/SystemError.h"
#include "support/UniqueFd.h"
#include "tests/Await.h"
#include "tests/Descriptors.h"
#include "tests/platform/OtherAccount.h"
#include "tests/platform/Outcome.h"
#include "tests/platform/PortlessSockets.h"
#include "tests/support/RawClient.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <ifaddrs.h>
#include <net/if.h>

#include <list>

namespace driftwell {
namespace {

using namespace std::chrono_literals;
using namespace tests;
using Limits = LoopbackCallbackServer::Limits;

const std::string signedIn = signedInResponse().toStdString();
const std::string notFound = notFoundResponse().toStdString();
const std::string otherAccount = otherAccountResponse().toStdString();
const std::string unknownAccount = unknownAccountResponse().toStdString();

/// No connection ends by itself while a test looks at something else.
constexpr Limits longTimeout{.timeout = 10min};

/// The addresses of this machine's own network interfaces, loopback left out.
std::vector<in_addr_t> ownAddresses() {
    std::vector<in_addr_t> addresses;
    ifaddrs* first = nullptr;
    checked(::getifaddrs(&first), "getifaddrs");
    for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr != nullptr && entry->ifa_addr->sa_family == AF_INET &&
            (entry->ifa_flags & IFF_LOOPBACK) == 0) {
            addresses.push_back(ntohl(reinterpret_cast<const sockaddr_in*>(entry->ifa_addr)->sin_addr.s_addr));
        }
    }
    ::freeifaddrs(first);
    return addresses;
}

class LoopbackCallbackServerTest : public testing::Test {
protected:
    /// Starts a server with other limits than the usual ones.
    void restart(Limits limits) {
        m_server.emplace(limits);
        m_port = m_server->start();
    }

    LoopbackCallbackServer& server() { return *m_server; }
    [[nodiscard]] std::uint16_t port() const { return m_port; }

    /// The target of a good callback.
    [[nodiscard]] std::string callback(const std::string& token = "secret") const {
        return "/callback?token=" + token + "&state=" + m_server->expectedState().toStdString();
    }
    static std::string get(const std::string& target) {
        return "GET " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\nAccept: text/html\r\n\r\n";
    }

    /// What the wait ends with.
    std::string token(std::stop_token stop = {}) {
        return outcomeOf(m_server->waitForToken(std::move(stop)),
                         [](const QString& token) { return token.toStdString(); });
    }

    /// Begins to wait; token() of the result gives what it ends with.
    Task<QString> wait(std::stop_token stop = {}) { return m_server->waitForToken(std::move(stop)); }

private:
    std::optional<LoopbackCallbackServer> m_server{std::in_place, longTimeout};
    std::uint16_t m_port = m_server->start();
};

std::string outcome(Task<QString> wait) {
    return outcomeOf(std::move(wait), [](const QString& token) { return token.toStdString(); });
}

TEST_F(LoopbackCallbackServerTest, GivesTheTokenOfTheCallback) {
    Task<QString> waiting = wait();
    EXPECT_EQ(ask(port(), get(callback())), signedIn);
    EXPECT_EQ(outcome(std::move(waiting)), "secret");
}

TEST_F(LoopbackCallbackServerTest, KeepsTheTokenOfACallbackThatComesBeforeAnybodyWaits) {
    EXPECT_EQ(ask(port(), get(callback())), signedIn);
    EXPECT_EQ(token(), "secret");
}

TEST_F(LoopbackCallbackServerTest, HasAStateOfItsOwn) {
    EXPECT_THAT(server().expectedState().toStdString(), testing::MatchesRegex("[0-9A-F]{32}"));
    EXPECT_NE(server().expectedState(), LoopbackCallbackServer().expectedState());
}

TEST_F(LoopbackCallbackServerTest, WaitsOnAfterACallbackWithAWrongState) {
    Task<QString> waiting = wait();
    const std::string lowerCase = server().expectedState().toLower().toStdString();
    for (const std::string& state : {std::string("wrong"), std::string(), lowerCase}) {
        EXPECT_EQ(ask(port(), get("/callback?token=forged&state=" + state)), notFound) << state;
    }
    EXPECT_EQ(ask(port(), get(callback())), signedIn);
    EXPECT_EQ(outcome(std::move(waiting)), "secret");
}

TEST_F(LoopbackCallbackServerTest, TakesNoCallbackOfAnotherAccount) {
    if (!OtherAccount::isPossibleHere()) {
        GTEST_SKIP() << "only the superuser can act as another account";
    }
    Task<QString> waiting = wait();
    for (const OtherAccount::Socket socket : {OtherAccount::Socket::Ipv4, OtherAccount::Socket::MappedIpv6}) {
        OtherAccount attacker(port(), get(callback("of-the-attacker")), socket);
        EXPECT_EQ(attacker.answer(), otherAccount);
    }
    EXPECT_EQ(ask(port(), get(callback())), signedIn);
    EXPECT_EQ(outcome(std::move(waiting)), "secret");
}

TEST_F(LoopbackCallbackServerTest, SaysNothingMoreToAnotherAccountThatDoesNotKnowTheState) {
    if (!OtherAccount::isPossibleHere()) {
        GTEST_SKIP() << "only the superuser can act as another account";
    }
    OtherAccount attacker(port(), get("/callback?token=t&state=0"));
    EXPECT_EQ(attacker.answer(), notFound);
}

TEST_F(LoopbackCallbackServerTest, TakesTheCallbackOfABrowserThatSpeaksIpv6) {
    const UniqueFd socket(checked(::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket"));
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_port = htons(port());
    ASSERT_EQ(::inet_pton(AF_INET6, "::ffff:127.0.0.1", &address.sin6_addr), 1);
    checked(::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), "connect");
    const std::string request = get(callback());
    ASSERT_EQ(::send(socket.get(), request.data(), request.size(), 0), static_cast<ssize_t>(request.size()));
    EXPECT_EQ(token(), "secret");
}

TEST_F(LoopbackCallbackServerTest, TakesNoCallbackWhoseSenderHasGone) {
    Task<QString> waiting = wait();
    {
        // Nobody's any more; the kernel would give it to the superuser.
        RawClient gone(port());
        gone.send(get(callback("of-nobody")));
    }
    settle();
    EXPECT_EQ(ask(port(), get(callback())), signedIn);
    EXPECT_EQ(outcome(std::move(waiting)), "secret");
}

TEST_F(LoopbackCallbackServerTest, TakesNoCallbackWhoseAccountTheSystemDoesNotTell) {
    Task<QString> waiting = wait();
    RawClient client(port());
    client.send("GET " + callback("of-whom") + " HTTP/1.1\r\n");
    settle();
    {
        const FullDescriptorTable full;
        client.send("\r\n");
        EXPECT_EQ(client.receiveAll(), unknownAccount);
    }
    EXPECT_EQ(ask(port(), get(callback())), signedIn);
    EXPECT_EQ(outcome(std::move(waiting)), "secret");
}

TEST_F(LoopbackCallbackServerTest, WaitsOnAfterStrayRequests) {
    Task<QString> waiting = wait();
    EXPECT_EQ(ask(port(), get("/favicon.ico")), notFound);
    EXPECT_EQ(ask(port(), get("/")), notFound);
    EXPECT_EQ(ask(port(), get("/callback")), notFound);
    EXPECT_EQ(ask(port(), "GET\r\n\r\n"), notFound) << "no target";
    EXPECT_EQ(ask(port(), "\r\n\r\n"), notFound) << "nothing at all";
    EXPECT_EQ(ask(port(), "\x16\x03\x01 not HTTP\r\n\r\n"), notFound);
    EXPECT_EQ(ask(port(), get(callback())), signedIn);
    EXPECT_EQ(outcome(std::move(waiting)), "secret");
}

TEST_F(LoopbackCallbackServerTest, AcceptsAPost) {
    const std::string post = "POST " + callback() + " HTTP/1.1\r\nContent-Length: 5\r\n\r\n12345";
    EXPECT_EQ(ask(port(), post), signedIn);
    EXPECT_EQ(token(), "secret");
}

TEST_F(LoopbackCallbackServerTest, AnswersAPostWhoseBodyComesLater) {
    RawClient client(port());
    client.send("POST " + callback() + " HTTP/1.1\r\nContent-Length: 50000\r\n\r\n");
    EXPECT_EQ(token(), "secret");
    client.send(std::string(50'000, 'x'));
    EXPECT_EQ(client.receiveAll(), signedIn);
}

TEST_F(LoopbackCallbackServerTest, AnswersTwoConnectionsAtOnceAndTakesTheFirstToken) {
    RawClient first(port());
    RawClient second(port());
    second.send("GET " + callback("late") + " HTTP/1.1\r\n");
    first.send("GET " + callback("early") + " HTTP/1.1\r\n");
    first.send("\r\n");
    EXPECT_EQ(first.receiveAll(), signedIn);
    second.send("\r\n");
    EXPECT_EQ(second.receiveAll(), signedIn);
    EXPECT_EQ(token(), "early");
}

TEST_F(LoopbackCallbackServerTest, ReadsARequestThatComesInSingleBytes) {
    RawClient client(port());
    for (const char byte : get(callback())) {
        client.send(std::string_view(&byte, 1));
        settle();
    }
    EXPECT_EQ(client.receiveAll(), signedIn);
    EXPECT_EQ(token(), "secret");
}

TEST_F(LoopbackCallbackServerTest, AnswersOneRequestOnAConnection) {
    EXPECT_EQ(ask(port(), get("/favicon.ico") + get(callback("pipelined"))), notFound);
    EXPECT_EQ(ask(port(), get(callback()) + get("/favicon.ico")), signedIn);
    EXPECT_EQ(token(), "secret");
}

TEST_F(LoopbackCallbackServerTest, CutsOffARequestWithoutEnd) {
    EXPECT_EQ(ask(port(), std::string(70'000, 'x')), "");
    EXPECT_EQ(ask(port(), get("/callback?token=" + std::string(70'000, 'x'))), "");
    EXPECT_EQ(ask(port(), get(callback())), signedIn);
}

TEST_F(LoopbackCallbackServerTest, CutsOffWhoeverGoesOnSendingAfterTheAnswer) {
    RawClient client(port());
    client.send(get("/"));
    // More than all buffers on the way hold.
    client.send(std::string(50'000'000, 'x'));
    EXPECT_TRUE(client.isClosed());
}

TEST_F(LoopbackCallbackServerTest, GivesNoAnswerToARequestThatBreaksOff) {
    RawClient client(port());
    client.send("GET " + callback() + " HTTP/1.1\r\n");
    client.finishSending();
    EXPECT_EQ(client.receiveAll(), "");
    RawClient silent(port());
    silent.finishSending();
    EXPECT_EQ(silent.receiveAll(), "");
}

TEST_F(LoopbackCallbackServerTest, AnswersARequestAfterWhichNothingMoreCanCome) {
    RawClient client(port());
    client.send(get(callback()));
    client.finishSending();
    EXPECT_EQ(client.receiveAll(), signedIn);
    EXPECT_EQ(token(), "secret");
}

TEST_F(LoopbackCallbackServerTest, OutlivesConnectionsThatBreak) {
    for (const std::string& request : {std::string(), std::string("GET /"), get("/")}) {
        RawClient client(port());
        client.send(request);
        client.reset();
        settle();
    }
    EXPECT_EQ(ask(port(), get(callback())), signedIn);
}

TEST_F(LoopbackCallbackServerTest, LetsTheBrowserInBesideManyIdleConnections) {
    Task<QString> waiting = wait();
    const std::ptrdiff_t before = openDescriptors();
    std::list<RawClient> idle;
    for (int i = 0; i < 400; ++i) {
        idle.emplace_back(port());
        // Some systems keep few connections waiting to be accepted.
        settle();
    }
    EXPECT_EQ(ask(port(), get(callback())), signedIn);
    EXPECT_EQ(outcome(std::move(waiting)), "secret");
    EXPECT_LE(openDescriptors() - before, 400 + 32);
}

TEST_F(LoopbackCallbackServerTest, EndsTheOldestConnectionsWhenThereAreTooMany) {
    restart({.connections = 3, .timeout = 10min});
    std::list<RawClient> idle;
    for (int i = 0; i < 5; ++i) {
        idle.emplace_back(port());
    }
    RawClient& first = idle.front();
    RawClient& second = *std::next(idle.begin());
    RawClient& third = *std::next(idle.begin(), 2);
    waitUntil([&] { return first.isClosed() && second.isClosed(); });
    settle();
    EXPECT_FALSE(third.isClosed());
    third.send(get(callback()));
    EXPECT_EQ(third.receiveAll(), signedIn);
}

TEST_F(LoopbackCallbackServerTest, ReadsARequestThatCameBeforeTheConnectionsThatPushItOut) {
    restart({.connections = 1, .timeout = 10min});
    RawClient browser(port());
    browser.send(get(callback()));
    std::list<RawClient> idle;
    for (int i = 0; i < 10; ++i) {
        idle.emplace_back(port());
    }
    EXPECT_EQ(browser.receiveAll(), signedIn);
    EXPECT_EQ(token(), "secret");
}

TEST_F(LoopbackCallbackServerTest, EndsAConnectionOnWhichNothingComes) {
    restart({.timeout = 20ms});
    RawClient silent(port());
    EXPECT_EQ(silent.receiveAll(), "");
    EXPECT_EQ(ask(port(), get(callback())), signedIn);
}

TEST_F(LoopbackCallbackServerTest, EndsAConnectionOnWhichTheRequestComesTooSlowly) {
    restart({.timeout = 20ms});
    RawClient slow(port());
    waitUntil([&slow] {
        slow.send("x");
        return slow.isClosed();
    });
    EXPECT_EQ(slow.receiveAll(), "");
}

TEST_F(LoopbackCallbackServerTest, EndsAConnectionWhoseOtherSideNeverCloses) {
    restart({.timeout = 20ms});
    const std::ptrdiff_t listening = openDescriptors();
    RawClient client(port());
    client.send(get("/"));
    EXPECT_EQ(client.receiveAll(), notFound);
    waitUntil([listening] { return openDescriptors() == listening + 1; });
}

TEST_F(LoopbackCallbackServerTest, EndsAConnectionWhoseOtherSideSendsWithoutEnd) {
    // Before the request is whole, and after it was answered.
    for (const std::string& beginning : {std::string("GET / HTTP/1.1\r\nX: "), get("/")}) {
        RawClient guest(port());
        guest.send(beginning);
        std::size_t sent = 0;
        waitUntil([&guest, &sent] {
            guest.send(std::string(8192, 'x'));
            sent += 8192;
            return guest.isClosed();
        });
        // What the buffers on the way hold is more than what is read.
        EXPECT_LT(sent, 64U * 1024 * 1024);
    }
    EXPECT_EQ(ask(port(), get(callback())), signedIn);
}

/// How often the event loop wakes in a time in which nothing needs to be done.
int wakeUps(std::chrono::milliseconds duration) {
    int count = 0;
    bool isOver = false;
    QTimer::singleShot(duration, [&isOver] { isOver = true; });
    while (!isOver) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        ++count;
    }
    return count;
}

TEST_F(LoopbackCallbackServerTest, SleepsWhileConnectionsDoNothing) {
    RawClient silent(port());
    RawClient begun(port());
    begun.send("GET / HT");
    RawClient answered(port());
    answered.send(get("/"));
    RawClient halfClosed(port());
    halfClosed.send(get("/"));
    waitUntil([&] { return answered.isClosed() && halfClosed.isClosed(); });
    settle();
    EXPECT_LT(wakeUps(200ms), 20) << "it spins";
    EXPECT_FALSE(silent.isClosed());
}

TEST_F(LoopbackCallbackServerTest, HasUsualLimitsByDefault) {
    EXPECT_EQ(Limits().connections, 32U);
    EXPECT_EQ(Limits().timeout, 10s);
}

TEST_F(LoopbackCallbackServerTest, IsReachedOnOneAddressOnly) {
    EXPECT_TRUE(isListening(port()));
    constexpr in_addr_t nextLoopback = INADDR_LOOPBACK + 1;
    EXPECT_FALSE(isListening(port(), nextLoopback));
    for (const in_addr_t address : ownAddresses()) {
        EXPECT_FALSE(isListening(port(), address)) << std::hex << address;
    }
}

TEST_F(LoopbackCallbackServerTest, EndsTheWaitWhenItIsStopped) {
    Task<QString> waiting = wait();
    server().stop();
    EXPECT_EQ(outcome(std::move(waiting)), "Cancelled");
    EXPECT_FALSE(isListening(port()));
    server().stop();
}

TEST_F(LoopbackCallbackServerTest, EndsAWaitThatBeginsAfterItWasStopped) {
    server().stop();
    EXPECT_EQ(token(), "Cancelled");
}

TEST_F(LoopbackCallbackServerTest, CanBeStoppedBeforeItListens) {
    LoopbackCallbackServer idle;
    idle.stop();
    EXPECT_EQ(outcome(idle.waitForToken({})), "Cancelled");
}

TEST_F(LoopbackCallbackServerTest, EndsTheWaitThatIsCancelled) {
    std::stop_source source;
    Task<QString> waiting = wait(source.get_token());
    source.request_stop();
    EXPECT_EQ(outcome(std::move(waiting)), "Cancelled");
}

TEST_F(LoopbackCallbackServerTest, IgnoresATokenThatComesAfterTheCancel) {
    std::stop_source source;
    Task<QString> waiting = wait(source.get_token());
    source.request_stop();
    EXPECT_EQ(ask(port(), get(callback())), signedIn);
    EXPECT_EQ(outcome(std::move(waiting)), "Cancelled");
}

TEST_F(LoopbackCallbackServerTest, KeepsATokenThatCameBeforeTheCancel) {
    std::stop_source source;
    EXPECT_EQ(ask(port(), get(callback())), signedIn);
    source.request_stop();
    EXPECT_EQ(token(source.get_token()), "secret");
}

TEST_F(LoopbackCallbackServerTest, EndsTheWaitWhenItGoes) {
    auto mortal = std::make_unique<LoopbackCallbackServer>();
    static_cast<void>(mortal->start());
    Task<QString> waiting = mortal->waitForToken({});
    mortal.reset();
    EXPECT_EQ(outcome(std::move(waiting)), "Cancelled");
}

TEST_F(LoopbackCallbackServerTest, LeavesNoDescriptorOpen) {
    server().stop();
    const std::ptrdiff_t before = openDescriptors();
    restart(longTimeout);
    RawClient idle(port());
    RawClient slow(port());
    slow.send("GET / HT");
    EXPECT_EQ(ask(port(), get(callback())), signedIn);
    waitUntil([before] { return openDescriptors() >= before + 2 + 2 + 2; });
    server().stop();
    EXPECT_EQ(openDescriptors(), before + 2) << "the two clients";
    EXPECT_EQ(slow.receiveAll(), "");
}

TEST_F(LoopbackCallbackServerTest, GoesOnWhenDescriptorsAreThereAgain) {
    RawClient browser(port());
    browser.send(get(callback()));
    {
        const FullDescriptorTable full;
        settle();
        EXPECT_FALSE(browser.isClosed());
    }
    EXPECT_EQ(browser.receiveAll(), signedIn);
    EXPECT_EQ(token(), "secret");
}

TEST_F(LoopbackCallbackServerTest, SaysInTheSystemsWordsWhyItCannotListen) {
    LoopbackCallbackServer unlucky;
    const FullDescriptorTable full;
    try {
        static_cast<void>(unlucky.start());
        FAIL() << "it listens";
    } catch (const std::system_error& failure) {
        EXPECT_EQ(failure.code(), std::errc::too_many_files_open);
    }
}

TEST_F(LoopbackCallbackServerTest, FailsWhenTheSystemGivesItNoPort) {
    LoopbackCallbackServer unlucky;
    const PortlessSockets none;
    try {
        static_cast<void>(unlucky.start());
        FAIL() << "it has a port";
    } catch (const PlatformError& failure) {
        EXPECT_EQ(textOf(failure), "Api: Could not open a local port for sign-in.");
    }
}

} // namespace
} // namespace driftwell
