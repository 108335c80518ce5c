#include "tests/collab/CollabFixture.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// The token, and somebody between a person and their platform who would like to have it.
class BearerTest : public CollabFixture {
protected:
    BearerTest() {
        m_platform.addSite("site", "echo base > index.html");
        m_folder = linkedFolder("folder");
        asTeammate(m_folder, "echo mine > index.html");
    }

    /// All that speaks to a platform. What fails, fails.
    void speak(const QString& origin) const {
        const Git::Access access{PlatformConfig(origin), QString::fromUtf8(GitPlatform::token)};
        const QString site = QStringLiteral("site");
        asTeammate(m_folder, "git config remote.driftwell.url " + Git::remoteUrl(access.config, site).toStdString());
        const auto fresh = newFolder("fresh");
        asTeammate(fresh, "rm -rf .git ../copy");
        static_cast<void>(await(CollabEngine::link(site, fresh, access, {})));
        static_cast<void>(await(CollabEngine::clone(site, m_home / "copy", access, {})));
        static_cast<void>(await(CollabEngine::update(m_folder, access, identity(), {})));
        static_cast<void>(await(CollabEngine::deploy(m_folder, access, identity(), {})));
        Git::Surroundings surroundings;
        surroundings.folder = m_folder;
        surroundings.access = access;
        static_cast<void>(run({"push", Git::remoteName, "HEAD:other"}, surroundings));
    }
    void speak() const { speak(QString::fromStdString(m_platform.origin())); }

    [[nodiscard]] static bool hasSeenIt(const std::vector<RecordedRequest>& requests) {
        return std::any_of(requests.begin(), requests.end(), [](const RecordedRequest& request) {
            return request.header("Authorization") != "(none)" ||
                   request.body.find(GitPlatform::token) != std::string::npos;
        });
    }

    std::filesystem::path m_folder;
};

TEST_F(BearerTest, AHostToWhichThePlatformRedirectsDoesNotSeeIt) {
    const GitPlatform other;
    for (const char* const status : {"302 Found", "307 Temporary Redirect"}) {
        ScriptedServer::Options options;
        options.further = ScriptedServer::Further::LastScript;
        const ScriptedServer redirecting(
            {answering(
                answer(status, "", "Location: " + other.origin() + "/git/site/info/refs?service=git-upload-pack\r\n"))},
            options);
        speak(QString::fromLatin1(redirecting.url()));
        EXPECT_THAT(redirecting.requests(), Not(IsEmpty()));
    }
    EXPECT_THAT(other.requests(), IsEmpty());
}

TEST_F(BearerTest, AHostThatIsPutInPlaceOfThePlatformDoesNotSeeIt) {
    const GitPlatform other;
    m_home.write(".gitconfig", "[url \"" + other.origin() + "/\"]\n\tinsteadOf = " + m_platform.origin() + "/\n");
    speak();
    EXPECT_THAT(other.requests(), Not(IsEmpty()));
    EXPECT_FALSE(hasSeenIt(other.requests()));
}

TEST_F(BearerTest, AHostThatIsPutInPlaceOfThePlatformForPushesDoesNotSeeIt) {
    const GitPlatform other;
    m_home.write(".gitconfig", "[url \"" + other.origin() + "/\"]\n\tpushInsteadOf = " + m_platform.origin() + "/\n");
    speak();
    EXPECT_THAT(other.requests(), Not(IsEmpty()));
    EXPECT_FALSE(hasSeenIt(other.requests()));
}

TEST_F(BearerTest, AProxyDoesNotSeeItWhereThePlatformSpeaksPlainHttp) {
    const ScopedVariable everything("no_proxy", std::nullopt);
    const GitPlatform proxy;
    const QByteArray url = QByteArray::fromStdString(proxy.origin());
    for (const char* const variable : {"http_proxy", "ALL_PROXY"}) {
        const ScopedVariable set(variable, url);
        speak();
    }
    m_home.write(".gitconfig", "[http]\n\tproxy = " + proxy.origin() + "\n[http \"" + m_platform.origin() +
                                   "\"]\n\tproxy = " + proxy.origin() + "\n");
    speak();
    EXPECT_FALSE(hasSeenIt(proxy.requests()));
    EXPECT_EQ(m_platform.file("site", "index.html"), "mine\n");
}

TEST_F(BearerTest, AProxyToAPlatformThatSpeaksHttpsIsAskedForATunnelOnly) {
    const GitPlatform proxy;
    const ScopedVariable set("https_proxy", QByteArray::fromStdString(proxy.origin()));
    speak(QStringLiteral("https://sites.example.org"));
    ASSERT_THAT(proxy.requests(), Not(IsEmpty()));
    for (const RecordedRequest& request : proxy.requests()) {
        EXPECT_EQ(request.method, "CONNECT");
    }
    EXPECT_FALSE(hasSeenIt(proxy.requests()));
}

TEST_F(BearerTest, TheCertificatesToTrustAreThoseOfTheTool) {
    const ScopedVariable noOwn("DW_CA_FILE", std::nullopt);
    const ScopedVariable noFile("SSL_CERT_FILE", std::nullopt);
    const ScopedVariable noFolder("SSL_CERT_DIR", std::nullopt);
    const std::string origin = "https://sites.example.org";
    Git::Surroundings surroundings;
    surroundings.access = Git::Access{PlatformConfig(QString::fromStdString(origin)), QStringLiteral("a-token")};
    const auto setting = [&](const char* name) {
        return run({"config", "--get-urlmatch", name, origin + "/git/site"}, surroundings).standardOutput.toStdString();
    };
    {
        const ScopedVariable file("SSL_CERT_FILE", QByteArray("/certificates/of-others.pem"));
        const ScopedVariable folder("SSL_CERT_DIR", QByteArray("/certificates"));
        EXPECT_EQ(setting("http.sslCAInfo"), "/certificates/of-others.pem\n");
        EXPECT_EQ(setting("http.sslCAPath"), "/certificates\n");
        const ScopedVariable own("DW_CA_FILE", QByteArray("/certificates/own.pem"));
        EXPECT_EQ(setting("http.sslCAInfo"), "/certificates/own.pem\n");
        EXPECT_EQ(setting("http.sslCAPath"), "");
    }
    EXPECT_EQ(setting("http.sslCAInfo"), "");
    const ScopedVariable list("SSL_CERT_DIR", QByteArray("/no/such/folder:/usr:/etc"));
    EXPECT_EQ(setting("http.sslCAPath"), "/usr\n") << "git takes one folder";
}

TEST_F(BearerTest, ACertificateIsLookedAtWhateverThePersonHasSet) {
    const std::string origin = "https://sites.example.org";
    m_home.write(".gitconfig", "[http]\n\tsslVerify = false\n[http \"" + origin + "\"]\n\tsslVerify = false\n");
    const ScopedVariable off("GIT_SSL_NO_VERIFY", QByteArray("1"));
    Git::Surroundings surroundings;
    surroundings.access = Git::Access{PlatformConfig(QString::fromStdString(origin)), QStringLiteral("a-token")};
    EXPECT_EQ(run({"config", "--get-urlmatch", "http.sslVerify", origin + "/git/site"}, surroundings).standardOutput,
              "true\n");
    surroundings.program = "/usr/bin/env";
    EXPECT_THAT(run({}, surroundings).standardOutput.toStdString(), Not(HasSubstr("GIT_SSL_NO_VERIFY")));
}

} // namespace
} // namespace driftwell::tests
