#include "core/AppState.h"
#include "core/Connection.h"
#include "core/SignIn.h"
#include "core/UserDefaults.h"
#include "platform/PlatformClient.h"
#include "support/WorkerPool.h"
#include "tests/apps/dw/Chromium.h"
#include "tests/apps/dw/DwFixture.h"
#include "tests/Await.h"
#include "tests/RecordingDesktopServices.h"
#include "tests/ScopedVariable.h"

#include <memory>

namespace driftwell::tests {

namespace {

using testing::SizeIs;
using testing::StartsWith;
using Kind = Connection::Status::Kind;

} // namespace

/// A platform that asks for a sign-in, and a person's browser.
class ChromiumSignIn : public DwFixture {
protected:
    static void SetUpTestSuite() { s_browser = std::make_unique<Chromium>(); }
    static void TearDownTestSuite() { s_browser.reset(); }

    ChromiumSignIn() { useHost(sandbox.remoteAddress()); }

    static const Chromium& browser() { return *s_browser; }

    /// What a person does at the address that a program has opened, until the program's page is there.
    static void choose(const std::string& address, const std::string& person) {
        browser().open(address);
        browser().click("button[value=person-" + person + "]");
        browser().waitForTitle("Signed in to Driftwell");
    }

    const Sandbox sandbox{{"--require-sign-in"}};

private:
    static inline std::unique_ptr<Chromium> s_browser;
};

TEST_F(ChromiumSignIn, ConnectsTheModel) {
    const ScopedVariable noToken("DW_TOKEN", std::nullopt);
    const ScopedVariable host("DW_HOST", QByteArray::fromStdString(sandbox.remoteAddress()));
    RecordingDesktopServices desktop;
    AppState model(std::make_unique<PlatformClient>(Bundle(), ConfigStore(configFile())), desktop,
                   openUserDefaults(configFile()));
    model.connection().reloadConfig();
    model.signIn().signIn();
    ASSERT_THAT(desktop.openedUrls(), SizeIs(1));

    // The model answers the browser on this thread.
    const auto work = [address = desktop.openedUrls().front()] {
        choose(address, "maya");
        return browser().text("p");
    };
    EXPECT_EQ(await(runOnPool(work)), "You can close this tab — the app is ready.");
    waitUntil([&model] { return !model.signIn().isSigningIn(); });
    EXPECT_EQ(model.connection().status().kind, Kind::Connected);
    EXPECT_EQ(model.connection().identity()->email, QStringLiteral("maya.lindqvist@driftwell.example"));
    EXPECT_FALSE(model.signIn().signInError());
    EXPECT_TRUE(config().at("tokens").contains(sandbox.remoteAddress()));
}

TEST_F(ChromiumSignIn, WaitsForTheBrowserToComeBackThoughItLooksElsewhereFirst) {
    const ScopedVariable noToken("DW_TOKEN", std::nullopt);
    const ScopedVariable host("DW_HOST", QByteArray::fromStdString(sandbox.remoteAddress()));
    RecordingDesktopServices desktop;
    AppState model(std::make_unique<PlatformClient>(Bundle(), ConfigStore(configFile())), desktop,
                   openUserDefaults(configFile()));
    model.connection().reloadConfig();
    model.signIn().signIn();
    const std::string address = desktop.openedUrls().at(0);
    const std::size_t port = address.find("cli_port=") + 9;
    const std::string callback = "http://127.0.0.1:" + address.substr(port, address.find('&', port) - port);
    const auto work = [address, callback] {
        browser().open(callback + "/callback?token=forged&state=0");
        const std::string title = browser().title();
        choose(address, "tomas");
        return title;
    };
    EXPECT_EQ(await(runOnPool(work)), "Driftwell");
    waitUntil([&model] { return !model.signIn().isSigningIn(); });
    EXPECT_EQ(model.connection().identity()->handle, QStringLiteral("tomas"));
}

TEST_F(ChromiumSignIn, SignsTheToolIn) {
    Program program(dw({"login", "--no-browser"}));
    choose(toldAddress(program, sandbox.remoteAddress() + "/auth/login?"), "ines");
    EXPECT_THAT(browser().address(), StartsWith("http://127.0.0.1:"));
    EXPECT_EQ(program.waitForEnd().exitCode, 0);
    EXPECT_EQ(runDw({"whoami"}).output, "Inès Okafor <ines.okafor@driftwell.example>\n");
}

} // namespace driftwell::tests
