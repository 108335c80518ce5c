#include "platform/HttpSession.h"
#include "platform/PlatformClient.h"
#include "tests/Await.h"
#include "tests/platform/Outcome.h"
#include "tests/platform/TrustedCertificate.h"
#include "tests/ScopedVariable.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/SelfSignedServer.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>

#include <fstream>

namespace driftwell {
namespace {

using namespace std::chrono_literals;
using namespace tests;

HttpRequest get(const QByteArray& url) {
    return {.method = "GET", .url = url, .headers = {}, .body = {}};
}

std::string outcomeOfGet(const QByteArray& url) {
    HttpSession session({.idle = 50s, .total = 50s});
    return outcomeOf(session.send(get(url), {}));
}

class HttpCertificateTest : public testing::Test {
private:
    ScopedVariable m_https{"https_proxy", std::nullopt};
    ScopedVariable m_file{"SSL_CERT_FILE", std::nullopt};
    ScopedVariable m_folder{"SSL_CERT_DIR", std::nullopt};
    ScopedVariable m_own{"DW_CA_FILE", std::nullopt};
};

/// Why a request has no answer.
PlatformErrorReason reasonOfGet(const QByteArray& url) {
    HttpSession session({.idle = 50s, .total = 50s});
    try {
        await(session.send(get(url), {}));
    } catch (const PlatformError& failure) {
        return failure.details().reason;
    }
    return PlatformErrorReason::Unspecified;
}

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

TEST_F(HttpCertificateTest, TrustsTheFileThatIsChosenInTheEnvironment) {
    const SelfSignedServer server;
    for (const char* variable : {"DW_CA_FILE", "SSL_CERT_FILE"}) {
        const ScopedVariable chosen(variable, QByteArray::fromStdString(server.certificateFile()));
        EXPECT_THAT(outcomeOfGet(server.url()), testing::StartsWith("200 ")) << variable;
    }
    EXPECT_EQ(reasonOfGet(server.url()), PlatformErrorReason::Certificate);
}

TEST_F(HttpCertificateTest, TrustsTheFolderThatIsChosenInTheEnvironment) {
    const SelfSignedServer server;
    const TestFolder folder;
    std::filesystem::copy(server.certificateFile(), folder / "certificate.pem");
    ASSERT_EQ(std::system(("/usr/bin/openssl rehash " + folder.path().string()).c_str()), 0);
    const ScopedVariable chosen("SSL_CERT_DIR", QByteArray::fromStdString(folder.path().string()));
    EXPECT_THAT(outcomeOfGet(server.url()), testing::StartsWith("200 "));
}

TEST_F(HttpCertificateTest, PassesOverAFolderOfSeveralThatIsNotThere) {
    const SelfSignedServer server;
    const TestFolder folder;
    std::filesystem::copy(server.certificateFile(), folder / "certificate.pem");
    ASSERT_EQ(std::system(("/usr/bin/openssl rehash " + folder.path().string()).c_str()), 0);
    const std::string missing = folder / "missing";
    for (const std::string& list : {missing + ":" + folder.path().string(), folder.path().string() + ":" + missing,
                                    ":" + missing + "::" + folder.path().string()}) {
        const ScopedVariable chosen("SSL_CERT_DIR", QByteArray::fromStdString(list));
        EXPECT_THAT(outcomeOfGet(server.url()), testing::StartsWith("200 ")) << list;
    }
    const ScopedVariable chosen("SSL_CERT_DIR", QByteArray::fromStdString(missing));
    const ScopedVariable file("SSL_CERT_FILE", QByteArray::fromStdString(server.certificateFile()));
    EXPECT_THAT(outcomeOfGet(server.url()), testing::StartsWith("200 ")) << "the file is enough";
}

TEST_F(HttpCertificateTest, NamesTheFirstOfSeveralFoldersOfWhichNoneIsThere) {
    const ScriptedServer untouched({});
    const ScopedVariable chosen("SSL_CERT_DIR", QByteArray("/no/such/folder:/nor/this"));
    EXPECT_EQ(outcomeOfGet("https://127.0.0.1:" + QByteArray::number(untouched.port()) + "/"),
              "Unreachable: The certificates that SSL_CERT_DIR names cannot be read: /no/such/folder: No such file or "
              "directory. Nothing was sent.");
    EXPECT_EQ(untouched.connections(), 0);
}

TEST_F(HttpCertificateTest, TakesTheOwnFileBeforeThatOfOpenSsl) {
    const SelfSignedServer server;
    const SelfSignedServer other;
    const ScopedVariable of("SSL_CERT_FILE", QByteArray::fromStdString(server.certificateFile()));
    const ScopedVariable own("DW_CA_FILE", QByteArray::fromStdString(other.certificateFile()));
    EXPECT_THAT(outcomeOfGet(other.url()), testing::StartsWith("200 "));
    EXPECT_EQ(reasonOfGet(server.url()), PlatformErrorReason::Certificate);
}

TEST_F(HttpCertificateTest, SendsNothingWhereTheCertificatesToTrustCannotBeRead) {
    const ScriptedServer untouched({});
    const QByteArray url = "https://127.0.0.1:" + QByteArray::number(untouched.port()) + "/";
    const TestFolder folder;
    const auto textFor = [&folder](const char* variable, const std::string& path, const char* reason) {
        return std::string("Unreachable: The certificates that ") + variable + " names cannot be read: " + path + ": " +
               reason + ". Nothing was sent.";
    };
    const std::string missing = folder / "missing.pem";
    for (const char* variable : {"DW_CA_FILE", "SSL_CERT_FILE", "SSL_CERT_DIR"}) {
        const ScopedVariable chosen(variable, QByteArray::fromStdString(missing));
        EXPECT_EQ(outcomeOfGet(url), textFor(variable, missing, "No such file or directory"));
        EXPECT_EQ(reasonOfGet(url), PlatformErrorReason::Certificate);
    }
    const ScopedVariable chosen("DW_CA_FILE", QByteArray::fromStdString(folder.path().string()));
    EXPECT_EQ(outcomeOfGet(url), textFor("DW_CA_FILE", folder.path(), "Is a directory"));
    EXPECT_EQ(untouched.connections(), 0);
}

TEST_F(HttpCertificateTest, TellsOfAFileWithoutCertificates) {
    const SelfSignedServer server;
    const TestFolder folder;
    std::ofstream(folder / "notes.pem") << "no certificate";
    const ScopedVariable chosen("DW_CA_FILE", QByteArray::fromStdString((folder / "notes.pem").string()));
    EXPECT_EQ(reasonOfGet(server.url()), PlatformErrorReason::Certificate);
}

TEST_F(HttpCertificateTest, KeepsWhomTheCertificateIsOfForWhoeverAsks) {
    const SelfSignedServer server;
    const ScopedVariable chosen("DW_CA_FILE", QByteArray::fromStdString(server.certificateFile()));
    HttpSession session({.idle = 50s, .total = 50s});
    HttpRequest request = get(server.url());
    const auto record = std::make_shared<HttpExchange>();
    request.record = record;
    await(session.send(request, {}));
    EXPECT_EQ(record->status, 200);
    EXPECT_EQ(record->url, server.url());
    EXPECT_GT(record->receivedBytes, 0);
    ASSERT_TRUE(record->certificate);
    EXPECT_EQ(record->certificate->subject, QStringLiteral("CN = localhost"));
    EXPECT_EQ(record->certificate->issuer, QStringLiteral("CN = localhost"));
    EXPECT_TRUE(record->certificate->expires.endsWith(QStringLiteral("GMT")));
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
