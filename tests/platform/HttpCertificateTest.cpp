#include "platform/HttpSession.h"
#include "platform/PlatformClient.h"
#include "support/ChildProcess.h"
#include "support/SystemError.h"
#include "support/UniqueFd.h"
#include "tests/Await.h"
#include "tests/platform/Outcome.h"
#include "tests/platform/TrustedCertificate.h"
#include "tests/ScopedVariable.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TestFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace driftwell {
namespace {

using namespace std::chrono_literals;
using namespace tests;

constexpr auto openssl = "/usr/bin/openssl";

HttpRequest get(const QByteArray& url) {
    return {.method = "GET", .url = url, .headers = {}, .body = {}};
}

std::string outcomeOfGet(const QByteArray& url) {
    HttpSession session({.idle = 50s, .total = 50s});
    return outcomeOf(session.send(get(url), {}));
}

/// An HTTPS server of OpenSSL's own, with a certificate that it signed itself.
class SelfSignedServer {
public:
    enum class Talk {
        Page,      ///< answers every request with a page
        Listening, ///< says nothing; requested() tells what it has heard
    };

    explicit SelfSignedServer(Talk talk = Talk::Page) {
        const std::string key = m_folder / "key.pem";
        const std::string certificate = certificateFile();
        const ChildProcess::Result made = await(ChildProcess::run(
            {.program = openssl,
             .arguments = {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
                           "-keyout", key, "-out", certificate, "-days", "2", "-subj", "/CN=localhost", "-addext",
                           "subjectAltName=IP:127.0.0.1"},
             .environment = ProcessEnvironment::inherited()},
            {}));
        if (!made.succeeded()) {
            throw std::runtime_error(made.standardError);
        }
        std::vector<std::string> arguments{"openssl", "s_server", "-accept", "127.0.0.1:0",
                                           "-key",    key,        "-cert",   certificate};
        if (talk == Talk::Page) {
            arguments.emplace_back("-www");
        }
        start(std::move(arguments));
    }
    ~SelfSignedServer() {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    SelfSignedServer(const SelfSignedServer&) = delete;
    SelfSignedServer& operator=(const SelfSignedServer&) = delete;

    [[nodiscard]] QByteArray url() const { return "https://127.0.0.1:" + m_port + "/"; }
    [[nodiscard]] std::string certificateFile() const { return m_folder / "certificate.pem"; }

    /// The head of the request that has come. Waits for it.
    [[nodiscard]] std::string requested() {
        waitUntil([this] {
            readOutput();
            return m_text.contains("\r\n\r\n");
        });
        return m_text.mid(m_text.indexOf("GET ")).toStdString();
    }

private:
    void start(std::vector<std::string> arguments) {
        std::array<int, 2> ends{};
        checked(::pipe2(ends.data(), O_CLOEXEC), "pipe");
        const UniqueFd writer(ends[1]);
        m_output = UniqueFd(ends[0]);
        checked(::pipe2(ends.data(), O_CLOEXEC), "pipe");
        // It goes when its input ends.
        const UniqueFd input(ends[0]);
        m_input = UniqueFd(ends[1]);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, input.get(), STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, writer.get(), STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        std::vector<char*> pointers;
        for (std::string& argument : arguments) {
            pointers.push_back(argument.data());
        }
        pointers.push_back(nullptr);
        const int failure = ::posix_spawn(&m_pid, openssl, &actions, nullptr, pointers.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        if (failure != 0) {
            throw std::system_error(failure, std::generic_category(), openssl);
        }
        checked(::fcntl(m_output.get(), F_SETFL, O_NONBLOCK), "fcntl");
        waitUntil([this] { return readPort(); });
    }

    /// The line is "ACCEPT 127.0.0.1:PORT".
    bool readPort() {
        readOutput();
        const qsizetype begin = m_text.indexOf("ACCEPT 127.0.0.1:");
        const qsizetype end = begin < 0 ? -1 : m_text.indexOf('\n', begin);
        if (end < 0) {
            return false;
        }
        m_port = m_text.mid(begin, end - begin).split(':').last().trimmed();
        return true;
    }

    void readOutput() {
        std::array<char, 256> block{};
        const ssize_t got = ::read(m_output.get(), block.data(), block.size());
        if (got > 0) {
            m_text.append(block.data(), got);
        }
    }

    TestFolder m_folder;
    UniqueFd m_input;
    UniqueFd m_output;
    pid_t m_pid = -1;
    QByteArray m_text;
    QByteArray m_port;
};

class HttpCertificateTest : public testing::Test {
private:
    ScopedVariable m_https{"https_proxy", std::nullopt};
    ScopedVariable m_file{"SSL_CERT_FILE", std::nullopt};
    ScopedVariable m_folder{"SSL_CERT_DIR", std::nullopt};
};

TEST_F(HttpCertificateTest, DoesNotTrustACertificateThatSignedItself) {
    const SelfSignedServer server;
    EXPECT_EQ(outcomeOfGet(server.url()), "Unreachable: The certificate of 127.0.0.1 is not trusted: SSL certificate "
                                          "problem: self-signed certificate");
}

TEST_F(HttpCertificateTest, DoesNotTrustACertificateThatSignedItselfAfterARedirect) {
    const SelfSignedServer server;
    const ScriptedServer redirecting(
        {answering(answer("302 Found", "", "Location: " + server.url().toStdString() + "\r\n"))});
    EXPECT_EQ(outcomeOfGet(redirecting.url("/")),
              "Unreachable: The certificate of 127.0.0.1 is not trusted: SSL certificate "
              "problem: self-signed certificate");
}

TEST_F(HttpCertificateTest, SendsADoubleSlashWhereTheOriginEndsInOne) {
    SelfSignedServer server(SelfSignedServer::Talk::Listening);
    const TrustedCertificate trusted(server.certificateFile());
    const ScopedVariable token("DW_TOKEN", "secret");
    const TestFolder folder;
    PlatformClient client(Bundle{}, ConfigStore(folder / "config.json"), {.idle = 50s, .total = 50s});
    // A bare host keeps the slash that was typed after it.
    const PlatformConfig config(QString::fromUtf8(server.url().mid(QByteArray("https://").size())));
    std::stop_source stop;
    const auto asked = client.me(config, stop.get_token());
    EXPECT_THAT(server.requested(), testing::StartsWith("GET //api/me HTTP/1.1\r\n"));
    EXPECT_THAT(server.requested(), testing::HasSubstr("Authorization: Bearer secret\r\n"));
    stop.request_stop();
    waitUntil([&asked] { return asked.isReady(); });
}

TEST_F(HttpCertificateTest, KeepsTheAuthorizationFromAnotherSchemeWhenRedirected) {
    SelfSignedServer server(SelfSignedServer::Talk::Listening);
    const TrustedCertificate trusted(server.certificateFile());
    const ScriptedServer redirecting(
        {answering(answer("302 Found", "", "Location: " + server.url().toStdString() + "\r\n"))});
    HttpSession session({.idle = 50s, .total = 50s});
    HttpRequest request = get(redirecting.url("/"));
    request.headers = {{"Authorization", "Bearer secret"}};
    std::stop_source stop;
    const Task<HttpResponse> asked = session.send(request, stop.get_token());
    EXPECT_THAT(server.requested(), testing::StartsWith("GET / HTTP/1.1\r\n"));
    EXPECT_THAT(server.requested(), testing::Not(testing::HasSubstr("secret")));
    EXPECT_EQ(redirecting.onlyRequest().header("authorization"), "Bearer secret");
    stop.request_stop();
    waitUntil([&asked] { return asked.isReady(); });
}

TEST_F(HttpCertificateTest, TellsThatAServerDoesNotSpeakTls) {
    const ScriptedServer server({[](ServerConnection& connection) {
        connection.send("HTTP/1.1 400 Bad Request\r\n\r\n");
        connection.awaitClose();
    }});
    const QByteArray url = "https://127.0.0.1:" + QByteArray::number(server.port()) + "/";
    EXPECT_THAT(outcomeOfGet(url),
                testing::MatchesRegex("Unreachable: No secure connection to 127\\.0\\.0\\.1 could be made: "
                                      "it does not speak https there"));
}

TEST_F(HttpCertificateTest, TellsThatAServerEndsTheHandshake) {
    const ScriptedServer server({[](ServerConnection& connection) {
        connection.close();
    }});
    const QByteArray url = "https://127.0.0.1:" + QByteArray::number(server.port()) + "/";
    EXPECT_THAT(outcomeOfGet(url),
                testing::StartsWith("Unreachable: No secure connection to 127.0.0.1 could be made: "));
}

} // namespace
} // namespace driftwell
