#include "tests/apps/dw/DwFixture.h"

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::ElementsAre;

} // namespace

class DwList : public DwFixture {
protected:
    DwList() {
        useHost(sandbox.address());
        folder("site", {{"index.html", "x"}});
    }

    [[nodiscard]] std::vector<std::string> names() const {
        std::vector<std::string> names;
        const json object = onlyObject(runDw({"list", "--json"}).output);
        for (const json& site : object.at("sites")) {
            names.push_back(site.at("site"));
        }
        return names;
    }

    const Sandbox sandbox;
};

TEST_F(DwList, OfNoSitesSaysSo) {
    const Ending ending = runDw({"list"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, "");
    EXPECT_EQ(ending.error,
              "No sites on driftwell.localhost:" + sandbox.port() + " yet. Publish one: dw deploy FOLDER\n");
    const Ending withJson = runDw({"list", "--json"});
    EXPECT_EQ(withJson.exitCode, 0);
    EXPECT_EQ(withJson.error, "");
    EXPECT_EQ(onlyObject(withJson.output), (json{{"ok", true}, {"sites", json::array()}}));
}

TEST_F(DwList, HasTheLatestDeploymentFirst) {
    for (const char* name : {"beta", "alpha", "gamma"}) {
        ASSERT_EQ(runDw({"deploy", "site", "--name", name}).exitCode, 0);
    }
    EXPECT_THAT(names(), ElementsAre("gamma", "alpha", "beta"));
    ASSERT_EQ(runDw({"deploy", "site", "--name", "beta"}).exitCode, 0);
    EXPECT_THAT(names(), ElementsAre("beta", "gamma", "alpha"));
}

TEST_F(DwList, InAPipeIsALinePerSiteWithTabs) {
    for (const char* name : {"beta", "alpha"}) {
        ASSERT_EQ(runDw({"deploy", "site", "--name", name}).exitCode, 0);
    }
    std::string expected;
    for (const char* name : {"alpha", "beta"}) {
        for (const json& site : sandbox.sites()) {
            if (site.at("name") == name) {
                expected += std::string(name) + '\t' + site.at("url").get<std::string>() + '\t' +
                            site.at("deployedAt").get<std::string>() + "\tmaya.lindqvist@driftwell.example\n";
            }
        }
    }
    const Ending ending = runDw({"list"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, expected);
    EXPECT_EQ(ending.error, "");
}

TEST_F(DwList, WithJsonHasEverySitesFields) {
    ASSERT_EQ(runDw({"deploy", "site"}).exitCode, 0);
    const json stored = sandbox.sites().at(0);
    EXPECT_EQ(onlyObject(runDw({"list", "--json"}).output),
              (json{{"ok", true},
                    {"sites",
                     {{{"site", "site"},
                       {"url", "http://site.driftwell.localhost:" + sandbox.port() + "/"},
                       {"at", stored.at("deployedAt")},
                       {"by", "maya.lindqvist@driftwell.example"},
                       {"hasPrevious", false},
                       {"mode", "team"}}}}}));
}

TEST_F(DwList, WhoseReaderHasSeenEnoughEndsQuietly) {
    ASSERT_EQ(runDw({"deploy", "site"}).exitCode, 0);
    Invocation invocation = dw({"list"});
    invocation.output = Invocation::Output::Unread;
    const Ending ending = run(invocation);
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_EQ(ending.error, "");
}

TEST_F(DwList, AsksAnOrdinaryPlatformForTheLocalPerson) {
    const Ending ending = runDw({"whoami"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, "Maya Lindqvist <maya.lindqvist@driftwell.example>\n");
    EXPECT_EQ(ending.error, "");
}

} // namespace driftwell::tests
