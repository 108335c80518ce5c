#include "platform/CallbackConnection.h"

#include "support/SystemError.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include <array>
#include <optional>
#include <string>

namespace driftwell {
namespace {

constexpr std::uint32_t forReading = EPOLLIN;
constexpr std::uint32_t forWriting = EPOLLOUT;

/// One connection, and the guest at its other end; nothing happens but what a test does.
class CallbackConnectionTest : public testing::Test {
protected:
    CallbackConnectionTest() {
        std::array<int, 2> ends{};
        checked(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()), "socketpair");
        m_connection.emplace(UniqueFd(ends[0]));
        m_guest = UniqueFd(ends[1]);
    }

    CallbackConnection& connection() { return *m_connection; }
    void answerWith(QByteArray answer) { m_answer = std::move(answer); }
    bool advance() {
        return m_connection->advance([this](std::string_view) { return m_answer; });
    }

    void send(const std::string& bytes) {
        EXPECT_EQ(::send(m_guest.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
    }
    /// What has come so far.
    std::string receive() {
        std::string received;
        std::array<char, 65536> block;
        for (;;) {
            const ssize_t got = ::recv(m_guest.get(), block.data(), block.size(), 0);
            if (got <= 0) {
                return received;
            }
            received.append(block.data(), static_cast<std::size_t>(got));
        }
    }
    void letGuestGo() { m_guest.reset(); }

private:
    std::optional<CallbackConnection> m_connection;
    UniqueFd m_guest;
    QByteArray m_answer = "answer";
};

TEST_F(CallbackConnectionTest, WaitsForTheRestOfARequest) {
    EXPECT_EQ(connection().wanted(), forReading);
    EXPECT_TRUE(advance()) << "nothing has come";
    send("GET / HTTP/1.1\r\n");
    EXPECT_TRUE(advance());
    EXPECT_EQ(receive(), "");
    send("\r\n");
    EXPECT_TRUE(advance());
    EXPECT_EQ(receive(), "answer");
    EXPECT_EQ(connection().wanted(), forReading);
}

TEST_F(CallbackConnectionTest, WritesAsMuchOfItsAnswerAsTheGuestReads) {
    const QByteArray answer(5'000'000, 'a');
    answerWith(answer);
    send("GET / HTTP/1.1\r\n\r\n");
    EXPECT_TRUE(advance());
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(connection().wanted(), forWriting);
        EXPECT_TRUE(advance()) << "a guest that does not read for a moment";
    }
    std::string received;
    while (connection().wanted() == forWriting) {
        received += receive();
        ASSERT_TRUE(advance());
    }
    received += receive();
    EXPECT_EQ(received, answer.toStdString());
}

TEST_F(CallbackConnectionTest, EndsWhenTheGuestGoesWithoutReadingTheAnswer) {
    answerWith(QByteArray(5'000'000, 'a'));
    send("GET / HTTP/1.1\r\n\r\n");
    EXPECT_TRUE(advance());
    letGuestGo();
    EXPECT_FALSE(advance());
}

TEST_F(CallbackConnectionTest, StaysAfterTheAnswerUntilTheGuestGoes) {
    send("GET / HTTP/1.1\r\n\r\n");
    EXPECT_TRUE(advance());
    EXPECT_TRUE(advance()) << "nothing has come";
    send("more");
    EXPECT_TRUE(advance());
    EXPECT_EQ(connection().wanted(), forReading);
    letGuestGo();
    EXPECT_FALSE(advance());
}

TEST_F(CallbackConnectionTest, DropsNoMoreAfterTheAnswerThanARequestMayHave) {
    send("GET / HTTP/1.1\r\n\r\n");
    EXPECT_TRUE(advance());
    std::size_t dropped = 0;
    do {
        send(std::string(1024, 'x'));
        dropped += 1024;
        ASSERT_LE(dropped, RequestHeadReader::limit);
    } while (advance());
    EXPECT_EQ(dropped, RequestHeadReader::limit);
}

} // namespace
} // namespace driftwell
