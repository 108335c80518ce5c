#include "core/Connection.h"
#include "core/Deployments.h"
#include "core/SiteOperations.h"
#include "tests/core/ModelFixture.h"

#include <gmock/gmock.h>

#include <array>

namespace driftwell::tests {
namespace {

SiteInfo garden() {
    SiteInfo site;
    site.name = QStringLiteral("garden");
    return site;
}

/// Something that the model is asked to do, and the request of it that the platform keeps waiting.
struct Operation {
    const char* name;
    void (*start)(AppState& model);
    const char* path;
    std::string answer;
};

void PrintTo(const Operation& operation, std::ostream* stream) {
    *stream << operation.name;
}

void confirm(AppState& model) {
    model.deployments().confirmDeploy();
}

const std::array operations{
    Operation{"refresh", [](AppState& model) { model.connection().refresh(); }, "/api/libs", R"({"libs":[]})"},
    Operation{"start", [](AppState& model) { model.start(); }, "/api/sites", R"({"sites":[]})"},
    Operation{"host", [](AppState& model) { model.connection().setHost(model.connection().config()->origin()); },
              "/api/stats", statsAnswer(2)},
    Operation{"rollback", [](AppState& model) { model.siteOperations().rollback(garden()); }, "/api/rollback",
              R"({"ok":true,"site":"garden","url":""})"},
    Operation{"refresh after a rollback", [](AppState& model) { model.siteOperations().rollback(garden()); },
              "/api/sites", R"({"sites":[]})"},
    Operation{"delete", [](AppState& model) { model.siteOperations().deleteSite(garden()); }, "/api/sites/garden",
              R"({"ok":true,"site":"garden"})"},
    Operation{"refresh after a deletion", [](AppState& model) { model.siteOperations().deleteSite(garden()); },
              "/api/sites", R"({"sites":[]})"},
    Operation{"library", [](AppState& model) { model.siteOperations().setLib("charts", true, "garden"); },
              "/api/sites/garden/libs", R"({"site":"garden","libs":["charts"]})"},
    Operation{"access",
              [](AppState& model) {
                  model.siteOperations().setAccess("garden", SiteAccessMode::Public, std::nullopt, std::nullopt);
              },
              "/api/sites/garden/access", R"({"site":"garden","mode":"public","emails":[]})"},
    Operation{"history", [](AppState& model) { model.siteOperations().loadDeployHistory("garden"); },
              "/api/logs/garden", R"({"site":"garden","entries":[]})"},
    Operation{"deployment", confirm, "/api/deploy",
              R"({"ok":true,"site":"garden","url":"","bytes":1,"files":1,"skipped":0})"},
    Operation{"refresh after a deployment", confirm, "/api/sites", R"({"sites":[]})"},
};

/// The end of the model while an operation is under way.
class ModelEndTest : public ModelFixture, public testing::WithParamInterface<Operation> {
protected:
    void SetUp() override {
        configureLocal();
        connectedModel();
        for (const Operation& operation : operations) {
            server.answer(operation.path, 200, operation.answer);
        }
        folder().write("work/garden/index.html", "hello");
        model().deployments().beginDeploy(folder() / "work/garden");
    }

    /// Starts the operation and waits until the platform has its request.
    PlatformServer::Hold startAndHold() {
        PlatformServer::Hold held = server.holdAnswer(GetParam().path);
        GetParam().start(model());
        waitUntil([&held] { return held.arrived(); });
        return held;
    }
};

TEST_P(ModelEndTest, StopsItAndWaitsForItsEnd) {
    const PlatformServer::Hold held = startAndHold();
    await(model().end());
    waitUntil([&held] { return held.abandoned(); });
    EXPECT_TRUE(std::filesystem::is_empty(folder() / "tmp"));
}

TEST_P(ModelEndTest, MayBeFollowedByItsGoingAtOnce) {
    const PlatformServer::Hold held = startAndHold();
    Task<> ended = model().end();
    destroyModel();
    await(std::move(ended));
    waitUntil([&held] { return held.abandoned(); });
}

TEST_P(ModelEndTest, ComesAsWellWhileTheAnswerIsOnItsWay) {
    PlatformServer::Hold held = startAndHold();
    held.release();
    await(model().end());
    EXPECT_TRUE(std::filesystem::is_empty(folder() / "tmp"));
}

TEST_P(ModelEndTest, WithoutAnEndOfItsPartsLeavesWhatIsUnderWayToItsStop) {
    PlatformServer::Hold held = startAndHold();
    held.release();
    destroyModel();
    endModel();
    waitUntil([this] { return std::filesystem::is_empty(folder() / "tmp"); });
}

INSTANTIATE_TEST_SUITE_P(Operations, ModelEndTest, testing::ValuesIn(operations));

} // namespace
} // namespace driftwell::tests
