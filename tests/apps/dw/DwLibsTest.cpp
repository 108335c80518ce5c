#include "tests/apps/dw/DwSiteFixture.h"
#include "tests/support/PlatformServer.h"

namespace driftwell::tests {

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

using Words = std::vector<std::string>;

} // namespace

/// The sandbox has the libraries "store", "theme" and "toast".
class DwLibs : public DwSiteFixture {
protected:
    DwLibs() { publish("garden"); }

    [[nodiscard]] Ending libs(Words options) const {
        options.insert(options.begin(), {"libs", "garden"});
        return runDw(options);
    }

    [[nodiscard]] json enabled() const { return record("garden").at("libs"); }

    [[nodiscard]] json platformsLibs() const { return sandbox.get("/api/libs").at("libs"); }

    /// What is printed when these are on.
    [[nodiscard]] std::string shown(const Words& on) const {
        std::string lines;
        for (const json& lib : platformsLibs()) {
            const bool isOn = std::find(on.begin(), on.end(), lib.at("name")) != on.end();
            lines += lib.at("name").get<std::string>() + (isOn ? "\ton\t" : "\toff\t") +
                     lib.at("manifest").at("version").get<std::string>() + '\t' +
                     lib.at("manifest").at("description").get<std::string>() + '\n';
        }
        return lines;
    }
};

TEST_F(DwLibs, ListsAllAndWhichAreOn) {
    const Ending ending = libs({});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, shown({}));
    EXPECT_THAT(ending.output, HasSubstr("toast\toff\t"));
    EXPECT_EQ(ending.error, "");
}

TEST_F(DwLibs, SwitchesALibraryOnAndOff) {
    const Ending on = libs({"--enable", "toast"});
    EXPECT_EQ(on.exitCode, 0);
    EXPECT_EQ(on.output, shown({"toast"}));
    EXPECT_EQ(on.error, "✓ toast is on for garden\n");
    EXPECT_EQ(enabled(), (json{"toast"}));
    EXPECT_EQ(libs({}).output, shown({"toast"}));

    const Ending off = libs({"--disable", "toast"});
    EXPECT_EQ(off.exitCode, 0);
    EXPECT_EQ(off.output, shown({}));
    EXPECT_EQ(off.error, "✓ toast is off for garden\n");
    EXPECT_THAT(enabled(), IsEmpty());
}

TEST_F(DwLibs, SwitchesSeveralAtOnce) {
    ASSERT_EQ(libs({"--enable", "store"}).exitCode, 0);
    const Ending ending = libs({"--enable", "toast", "--disable", "store", "--enable=theme"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, shown({"theme", "toast"}));
    EXPECT_EQ(ending.error, "✓ toast is on for garden\n✓ theme is on for garden\n✓ store is off for garden\n");
    EXPECT_EQ(enabled(), (json{"theme", "toast"}));
}

TEST_F(DwLibs, LeavesOtherSitesAlone) {
    publish("bakery");
    ASSERT_EQ(libs({"--enable", "toast"}).exitCode, 0);
    EXPECT_THAT(record("bakery").at("libs"), IsEmpty());
}

TEST_F(DwLibs, WithJsonIsOneObject) {
    const Ending ending = libs({"--enable", "toast", "--json"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.error, "");
    json expected = json::array();
    for (const json& lib : platformsLibs()) {
        expected.push_back({{"lib", lib.at("name")},
                            {"on", lib.at("name") == "toast"},
                            {"version", lib.at("manifest").at("version")},
                            {"description", lib.at("manifest").at("description")}});
    }
    EXPECT_EQ(onlyObject(ending.output), (json{{"ok", true}, {"site", "garden"}, {"libs", expected}}));
}

TEST_F(DwLibs, OfALibraryThatIsNotThereSwitchesNothing) {
    for (const char* option : {"--enable", "--disable"}) {
        for (const std::string& name : {std::string("nope"), std::string("Toast"), std::string("")}) {
            SCOPED_TRACE(option + (" " + name));
            expectFailure({"libs", "garden", "--enable", "store", option, name}, 1, "noLibrary",
                          "There is no library “" + name + "” on driftwell.localhost:" + sandbox.port(),
                          "dw libs garden shows the libraries.");
        }
    }
    EXPECT_THAT(enabled(), IsEmpty()) << "the names are looked at before the first switch";
}

TEST_F(DwLibs, OfALibraryBothOnAndOffIsWrongUsage) {
    expectFailure({"libs", "garden", "--enable", "toast", "--disable", "toast"}, 2, "usage",
                  "“toast” is both to be enabled and disabled", "Run dw help libs.");
}

TEST_F(DwLibs, IsATableOnATerminal) {
    ASSERT_EQ(libs({"--enable", "toast"}).exitCode, 0);
    const auto lines = screen(run(onTerminal(dw({"libs", "garden"}), 200)).terminal);
    ASSERT_THAT(lines, SizeIs(4));
    EXPECT_THAT(lines[0], MatchesRegex("LIBRARY +STATE +VERSION +DESCRIPTION"));
    EXPECT_THAT(lines[1], MatchesRegex("store +off +1\\.0\\.0 +.+"));
    EXPECT_THAT(lines[3], MatchesRegex("toast +on +1\\.0\\.0 +.+"));
    for (const std::string& line : screen(run(onTerminal(dw({"libs", "garden"}), 50)).terminal)) {
        EXPECT_LE(line.size(), 52U) << line;
    }
}

// Of other platforms

class DwOddLibs : public DwSiteFixture {
protected:
    DwOddLibs() { useHost("http://localhost:" + std::to_string(server.port())); }

    void answer(const json& siteLibs, const Words& platformLibs) {
        json site{{"name", "garden"}, {"url", "http://garden.test/"}, {"hasPrevious", false}};
        if (!siteLibs.is_null()) {
            site["libs"] = siteLibs;
        }
        json libs = json::array();
        for (const std::string& name : platformLibs) {
            const json manifest{{"name", name}, {"version", "1"}, {"description", "d"}, {"author", ""}};
            libs.push_back({{"name", name}, {"moduleUrl", ""}, {"skillUrl", ""}, {"manifest", manifest}});
        }
        server.answer("/api/sites", 200, json{{"sites", {site}}}.dump());
        server.answer("/api/libs", 200, json{{"libs", libs}}.dump());
    }

    PlatformServer server;
};

TEST_F(DwOddLibs, WithoutLibrariesSaysSo) {
    answer(nullptr, {});
    const Ending ending = runDw({"libs", "garden"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.output, "");
    EXPECT_EQ(ending.error, "The platform has no shared libraries.\n");
    EXPECT_EQ(onlyObject(runDw({"libs", "garden", "--json"}).output),
              (json{{"ok", true}, {"site", "garden"}, {"libs", json::array()}}));
}

TEST_F(DwOddLibs, ShowsAndSwitchesOffOneThatThePlatformNoLongerHas) {
    answer({"gone", "maps"}, {"maps", "charts"});
    EXPECT_EQ(runDw({"libs", "garden"}).output, "maps\ton\t1\td\ncharts\toff\t1\td\ngone\ton\t\t\n");
    EXPECT_EQ(onlyObject(runDw({"libs", "garden", "--json"}).output).at("libs").at(2),
              (json{{"lib", "gone"}, {"on", true}, {"version", nullptr}, {"description", nullptr}}));
    server.answer("/api/sites/garden/libs", 200, R"({"site":"garden","libs":["maps"]})");
    EXPECT_EQ(runDw({"libs", "garden", "--disable", "gone"}).output, "maps\ton\t1\td\ncharts\toff\t1\td\n");
}

TEST_F(DwOddLibs, ThatAreAsAskedForAlreadyAreNotSwitched) {
    answer({"maps"}, {"maps", "charts"});
    const Ending ending = runDw({"libs", "garden", "--enable", "maps", "--disable", "charts"});
    EXPECT_EQ(ending.exitCode, 0);
    EXPECT_EQ(ending.error, "✓ maps is on for garden\n✓ charts is off for garden\n");
    EXPECT_THAT(server.requests("/api/sites/garden/libs"), IsEmpty());
}

TEST_F(DwOddLibs, BeforeTheOneThatFailsStaySwitched) {
    answer(json::array(), {"maps", "charts"});
    server.answer("/api/sites/garden/libs", 409, R"({"error":"Too many libraries","code":"limit"})");
    const Ending ending = runDw({"libs", "garden", "--enable", "maps", "--enable", "charts"});
    EXPECT_EQ(ending.exitCode, 1);
    EXPECT_EQ(ending.output, "");
    EXPECT_EQ(ending.error, failureText("api", "Too many libraries"));
    ASSERT_THAT(server.requests("/api/sites/garden/libs"), SizeIs(1)) << "what follows is not tried";
    EXPECT_EQ(server.requests("/api/sites/garden/libs")[0].body, R"({"enabled":true,"lib":"maps"})");
}

} // namespace driftwell::tests
