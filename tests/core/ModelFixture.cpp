#include "tests/core/ModelFixture.h"

#include "core/AppSystem.h"
#include "core/Catalog.h"
#include "core/Collaboration.h"
#include "core/Connection.h"
#include "core/DeepLinks.h"
#include "core/Deployments.h"
#include "core/Gates.h"
#include "core/LocalPlatform.h"
#include "core/NewProject.h"
#include "core/SignIn.h"
#include "core/SiteOperations.h"
#include "platform/PlatformClient.h"
#include "support/WorkerPool.h"
#include "tooling/LocalServerController.h"

#include <sys/wait.h>

#include <algorithm>
#include <cerrno>

namespace driftwell {

void PrintTo(const ConnectionStatus& status, std::ostream* stream) {
    using Kind = ConnectionStatus::Kind;
    switch (status.kind) {
    case Kind::Unreachable:
        *stream << "Unreachable(" << status.retryIn << ")";
        return;
    case Kind::NotTeam:
        *stream << "NotTeam(" << status.text.toStdString() << ")";
        return;
    case Kind::NoHost:
        *stream << "NoHost";
        return;
    case Kind::Connecting:
        *stream << "Connecting";
        return;
    case Kind::Connected:
        *stream << "Connected";
        return;
    case Kind::SignedOut:
        *stream << "SignedOut";
        return;
    }
}

} // namespace driftwell

namespace driftwell::tests {

Json siteRecord(const std::string& name, const std::optional<std::string>& deployedAt) {
    Json record{{"name", name}, {"url", "https://" + name + ".sites.test"}, {"hasPrevious", false}};
    if (deployedAt) {
        record["deployedAt"] = *deployedAt;
    }
    return record;
}

std::string sitesAnswer(const std::vector<std::string>& names) {
    Json records = Json::array();
    for (const std::string& name : names) {
        records.push_back(siteRecord(name));
    }
    return Json{{"sites", records}}.dump();
}

std::string statsAnswer(int sites) {
    return Json{{"sites", sites}, {"libs", 0}, {"docs", 0}, {"kvKeys", 0}, {"deploysLast7d", 0}, {"wsConnections", 0}}
        .dump();
}

std::string libsAnswer(const std::vector<std::string>& names) {
    Json records = Json::array();
    for (const std::string& name : names) {
        const Json manifest{{"name", name}, {"version", "1"}, {"description", ""}, {"author", ""}};
        records.push_back({{"name", name}, {"moduleUrl", ""}, {"skillUrl", ""}, {"manifest", manifest}});
    }
    return Json{{"libs", records}}.dump();
}

std::string identityAnswer(const std::string& name) {
    return Json{{"id", "7"}, {"name", name}, {"email", "ada@sites.test"}, {"avatar", ""}, {"handle", "ada"}}.dump();
}

std::string errorAnswer(const std::string& text, const std::string& code) {
    return Json{{"error", text}, {"code", code}}.dump();
}

namespace {

template <class Record> std::vector<std::string> names(const QList<Record>& records) {
    std::vector<std::string> result;
    for (const Record& record : records) {
        result.push_back(record.name.toStdString());
    }
    return result;
}

} // namespace

std::vector<std::string> namesOf(const QList<SiteInfo>& sites) {
    return names(sites);
}

std::vector<std::string> namesOf(const QList<LibInfo>& libs) {
    return names(libs);
}

ChangeLog::ChangeLog(AppState& model) {
    const auto watch = [this](auto& part, auto signal, const char* name) {
        QObject::connect(&part, signal, &m_context, [this, name] { m_changes.emplace_back(name); });
    };
    QObject::connect(&model.connection(), &Connection::statusChanged, &m_context,
                     [this, &model] { m_statuses.push_back(model.connection().status()); });
    watch(model.connection(), &Connection::configChanged, "config");
    watch(model.connection(), &Connection::statusChanged, "status");
    watch(model.connection(), &Connection::identityChanged, "identity");
    watch(model.catalog(), &Catalog::sitesChanged, "sites");
    watch(model.catalog(), &Catalog::libsChanged, "libs");
    watch(model.catalog(), &Catalog::statsChanged, "stats");
    watch(model.connection(), &Connection::lastSyncChanged, "lastSync");
    watch(model.catalog(), &Catalog::sortOrderChanged, "sortOrder");
    watch(model.catalog(), &Catalog::filterChanged, "filter");
    watch(model.connection(), &Connection::localRepoChanged, "localRepo");
    watch(model.deployments(), &Deployments::deployFlowChanged, "deployFlow");
    watch(model.siteOperations(), &SiteOperations::rollbacksInFlightChanged, "rollbacksInFlight");
    watch(model.siteOperations(), &SiteOperations::rollbackErrorChanged, "rollbackError");
    watch(model.siteOperations(), &SiteOperations::deletesInFlightChanged, "deletesInFlight");
    watch(model.siteOperations(), &SiteOperations::deleteErrorChanged, "deleteError");
    watch(model.siteOperations(), &SiteOperations::libTogglesInFlightChanged, "libTogglesInFlight");
    watch(model.siteOperations(), &SiteOperations::libToggleErrorChanged, "libToggleError");
    watch(model.siteOperations(), &SiteOperations::accessInFlightChanged, "accessInFlight");
    watch(model.siteOperations(), &SiteOperations::accessErrorChanged, "accessError");
    watch(model.catalog(), &Catalog::deployHistoryChanged, "deployHistory");
    watch(model.catalog(), &Catalog::expandedSiteChanged, "expandedSite");
    watch(model.collaboration(), &Collaboration::collabStatesChanged, "collabStates");
    watch(model.collaboration(), &Collaboration::collabBusyChanged, "collabBusy");
    watch(model.collaboration(), &Collaboration::collabErrorChanged, "collabError");
    watch(model.collaboration(), &Collaboration::conflictTargetChanged, "conflictTarget");
    watch(model.collaboration(), &Collaboration::attentionTargetChanged, "attentionTarget");
    watch(model.deepLinks(), &DeepLinks::pendingDeepLinkChanged, "pendingDeepLink");
    watch(model.signIn(), &SignIn::isSigningInChanged, "isSigningIn");
    watch(model.signIn(), &SignIn::signInErrorChanged, "signInError");
    watch(model.gates(), &Gates::needsOnboardingChanged, "needsOnboarding");
    watch(model.gates(), &Gates::showGitInstallSheetChanged, "showGitInstallSheet");
    watch(model.localPlatform(), &LocalPlatform::localSetupErrorChanged, "localSetupError");
    watch(model.localServer(), &LocalServerController::phaseChanged, "phase");
}

std::ptrdiff_t ChangeLog::count(const std::string& signal) const {
    return std::count(m_changes.begin(), m_changes.end(), signal);
}

ModelFixture::ModelFixture()
    : m_home("HOME", QByteArray((m_root / "home").c_str())),
      m_temporary("TMPDIR", QByteArray((m_root / "tmp").c_str())),
      m_shell("SHELL", QByteArray((m_root / "bin/shell").c_str())) {
    std::filesystem::create_directories(m_root / "home");
    std::filesystem::create_directories(m_root / "tmp");
}

void ModelFixture::TearDown() {
    endModel();
}

AppState& ModelFixture::model() {
    if (!m_model) {
        const Bundle bundle(m_root / "Contents");
        m_model = std::make_unique<AppState>(
            std::make_unique<PlatformClient>(bundle, ConfigStore(ConfigStore::configFile(bundle))), desktop,
            std::make_unique<QSettings>(QString::fromStdString(m_root / "defaults.ini"), QSettings::IniFormat),
            system());
    }
    return *m_model;
}

AppSystem ModelFixture::system() {
    AppSystem system;
    system.sleep = m_sleep;
    system.gitToolsInstalled = [git = m_git] {
        ++git->probes;
        return git->isInstalled.load();
    };
    system.cli.linkFolder = m_root / "usr/local/bin";
    system.cli.pathsFile = m_root / "etc/paths";
    system.cli.pathsFolder = m_root / "etc/paths.d";
    system.cli.usualShell = m_root / "bin/zsh";
    system.cli.pkexec = m_root / "usr/bin/pkexec";
    return system;
}

Status ModelFixture::status() {
    return model().connection().status();
}

std::optional<PlatformConfig> ModelFixture::config() {
    return model().connection().config();
}

std::optional<Identity> ModelFixture::identity() {
    return model().connection().identity();
}

Task<> ModelFixture::refresh(std::stop_token stop) {
    return model().connection().refresh(std::move(stop));
}

void ModelFixture::reloadConfig() {
    model().connection().reloadConfig();
}

void ModelFixture::setHost(const QString& host) {
    model().connection().setHost(host);
}

void ModelFixture::usePlatform(const PlatformConfig& platform) {
    model().connection().use(platform);
}

QList<SiteInfo> ModelFixture::sites() {
    return model().catalog().sites();
}

std::optional<SiteInfo> ModelFixture::existingSite(const QString& name) {
    return model().catalog().existingSite(name);
}

QString ModelFixture::filter() {
    return model().catalog().filter();
}

void ModelFixture::setFilter(const QString& filter) {
    model().catalog().setFilter(filter);
}

QList<SiteInfo> ModelFixture::filteredSites() {
    return model().catalog().filteredSites();
}

SortOrder ModelFixture::sortOrder() {
    return model().catalog().sortOrder();
}

void ModelFixture::setSortOrder(SortOrder order) {
    model().catalog().setSortOrder(order);
}

std::shared_ptr<DeployFlow> ModelFixture::deployFlow() {
    return model().deployments().deployFlow();
}

void ModelFixture::cancelDeploy() {
    model().deployments().cancelDeploy();
}

bool ModelFixture::poolIsIdle() {
    return WorkerPool::shared().isIdle();
}

void ModelFixture::endModel() {
    m_model.reset();
    const auto everythingHasEnded = [] {
        siginfo_t child{};
        return poolIsIdle() && ::waitid(P_ALL, 0, &child, WEXITED | WNOHANG | WNOWAIT) < 0 && errno == ECHILD;
    };
    waitUntil(everythingHasEnded);
    settle();
}

QString ModelFixture::localHost() const {
    return QStringLiteral("http://localhost:%1").arg(server.port());
}

QString ModelFixture::remoteHost() const {
    return QStringLiteral("http://127.0.0.1:%1").arg(server.port());
}

void ModelFixture::configureLocal() {
    writeConfig({{"host", localHost().toStdString()}});
}

void ModelFixture::configureRemote() {
    const std::string host = remoteHost().toStdString();
    writeConfig({{"host", host}, {"tokens", {{host, token}}}});
}

void ModelFixture::writeConfig(const Json& config) const {
    m_root.write("home/.config/dw/config.json", config.dump());
}

Json ModelFixture::readConfig() const {
    return Json::parse(m_root.read("home/.config/dw/config.json"));
}

std::filesystem::path ModelFixture::configFile() const {
    return m_root / "home/.config/dw/config.json";
}

void ModelFixture::answerAll() {
    server.answer("/api/me", 200, identityAnswer("Ada"));
    server.answer("/api/sites", 200, sitesAnswer({"garden", "bakery"}));
    server.answer("/api/stats", 200, statsAnswer(2));
    server.answer("/api/libs", 200, libsAnswer({"charts"}));
}

AppState& ModelFixture::connectedModel() {
    answerAll();
    model().connection().reloadConfig();
    await(model().connection().refresh());
    EXPECT_EQ(model().connection().status(), Status::connected());
    return model();
}

std::vector<std::string> ModelFixture::requestedPaths() const {
    std::vector<std::string> paths;
    for (const PlatformServer::Request& request : server.requests()) {
        paths.push_back(request.target);
    }
    return paths;
}

void ModelFixture::expectNoRefreshFollows() {
    const std::size_t before = server.requests("/api/sites").size();
    await(refresh());
    EXPECT_EQ(server.requests("/api/sites").size(), before + 1);
}

} // namespace driftwell::tests
