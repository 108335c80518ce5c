#include "tests/ui/UiFixture.h"

#include "core/Deployments.h"
namespace driftwell::tests {

UiFixture::UiFixture() {
    folder().write("defaults.ini", "[General]\nonboardingCompleted=true\n");
}

AppState& UiFixture::become(Kind kind) {
    configureLocal();
    return settleAs(kind);
}

AppState& UiFixture::becomeOnRemote(Kind kind) {
    configureRemote();
    return settleAs(kind);
}

AppState& UiFixture::settleAs(Kind kind) {
    answerAll();
    switch (kind) {
    case Kind::Unreachable:
        server.closeWithoutAnswer("/api/sites");
        break;
    case Kind::NotTeam:
        server.answer("/api/sites", 403, errorAnswer(notTeamText, "not_team"));
        break;
    case Kind::NoHost:
        writeConfig(Json::object());
        break;
    case Kind::SignedOut:
        writeConfig({{"host", remoteHost().toStdString()}});
        break;
    case Kind::Connecting:
    case Kind::Connected:
        break;
    }
    reloadConfig();
    if (kind != Kind::Connecting) {
        await(refresh());
    }
    EXPECT_EQ(status().kind, kind);
    return model();
}

void UiFixture::rememberFolder(const char* site, const std::filesystem::path& folder) {
    m_folders[QString::fromUtf8(site)] = folder;
    saveFolders();
}

void UiFixture::saveFolders() const {
    for (const auto& [site, folder] : m_folders) {
        store().saveFolder(site, folder);
    }
}

AppState& UiFixture::connectedWithRecords(const std::vector<Json>& sites) {
    configureLocal();
    saveFolders();
    answerAll();
    server.answer("/api/sites", 200, Json{{"sites", sites}}.dump());
    reloadConfig();
    await(refresh());
    EXPECT_EQ(status(), Status::connected());
    return model();
}

AppState& UiFixture::connectedWith(const std::vector<std::string>& names) {
    std::vector<Json> sites;
    for (const std::string& name : names) {
        sites.push_back(siteRecord(name));
    }
    return connectedWithRecords(sites);
}

QString UiFixture::host() const {
    return QStringLiteral("localhost:%1").arg(server.port());
}

std::filesystem::path UiFixture::siteFolder(const std::string& name) const {
    folder().write("work/" + name + "/index.html", "hello");
    return folder() / ("work/" + name);
}

std::shared_ptr<DeployFlow> UiFixture::openDeployment(const std::string& folderName) {
    model().deployments().beginDeploy(siteFolder(folderName));
    const std::shared_ptr<DeployFlow> flow = model().deployments().deployFlow();
    waitUntil([&flow] { return flow->byteCount().has_value(); });
    return flow;
}

void UiFixture::answerDeploy(const Json& response) {
    server.answer("/api/deploy", 200, response.dump());
}

} // namespace driftwell::tests
