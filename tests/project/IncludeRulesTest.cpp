#include "tests/project/IncludeRules.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace {

using project::includeViolations;
using project::RepositoryFile;
using project::viewViolations;
using testing::ElementsAre;
using testing::IsEmpty;

/// A repository in which every room has a header to include, and one more file.
std::vector<RepositoryFile> repositoryWith(RepositoryFile file) {
    std::vector<RepositoryFile> files;
    for (const char* room :
         {"archive",     "apps/gzip",           "support",   "platform", "deploy",    "collab",         "tooling",
          "desktop",     "desktop/freedesktop", "core",      "ui",       "ui/style",  "ui/controls",    "ui/scene",
          "ui/sites",    "ui/deploy",           "ui/signin", "ui/tray",  "ui/window", "apps/driftwell", "apps/dw",
          "apps/sandbox"})
        files.push_back({std::string("src/") + room + "/Thing.h", "#pragma once\n"});
    for (const char* part : {"AppState", "Connection", "Deployments", "SignIn"})
        files.push_back({std::string("src/core/") + part + ".h", "#pragma once\n"});
    files.push_back({"tests/support/Waiting.h", "#pragma once\n"});
    files.push_back(std::move(file));
    return files;
}

std::vector<std::string> violationsOf(const std::string& path, const std::string& text) {
    return includeViolations(repositoryWith({path, text}));
}

TEST(IncludeRules, HoldInThisRepository) {
    const std::vector<RepositoryFile> files = project::readSources({"src", "tests", "bench", "fuzz"});
    ASSERT_GT(files.size(), 5U);
    EXPECT_THAT(includeViolations(files), IsEmpty());
}

TEST(IncludeRules, ARoomMayIncludeItselfAndTheRoomsAboveIt) {
    EXPECT_THAT(violationsOf("src/deploy/A.cpp", "#include \"deploy/Thing.h\"\n"
                                                 "#include \"platform/Thing.h\"\n"
                                                 "  #  include \"support/Thing.h\"\n"
                                                 "#include <QString>\n"
                                                 "#include <vector>\n"),
                IsEmpty());
    EXPECT_THAT(violationsOf("src/desktop/A.cpp", "#include \"support/Thing.h\"\n"), IsEmpty());
    EXPECT_THAT(violationsOf("src/apps/dw/A.cpp", "#include \"core/Thing.h\"\n#include \"apps/dw/Thing.h\"\n"),
                IsEmpty());
}

TEST(IncludeRules, ARoomMayNotIncludeARoomBelowIt) {
    EXPECT_THAT(violationsOf("src/support/A.h", "#pragma once\n#include \"platform/Thing.h\"\n"),
                ElementsAre("src/support/A.h: platform/Thing.h is not above support"));
    EXPECT_THAT(violationsOf("src/core/A.cpp", "  #  include \"ui/Thing.h\"\n"),
                ElementsAre("src/core/A.cpp: ui/Thing.h is not above core"));
    EXPECT_THAT(violationsOf("src/ui/A.cpp", "#include \"apps/driftwell/Thing.h\"\n"),
                ElementsAre("src/ui/A.cpp: apps/driftwell/Thing.h is not above ui"));
}

TEST(IncludeRules, WhatAllScreensShareKnowsNoScreen) {
    EXPECT_THAT(violationsOf("src/ui/controls/A.cpp", "#include \"ui/style/Thing.h\"\n#include \"ui/Thing.h\"\n"),
                IsEmpty());
    EXPECT_THAT(violationsOf("src/ui/style/A.cpp", "#include \"ui/controls/Thing.h\"\n"),
                ElementsAre("src/ui/style/A.cpp: ui/controls/Thing.h is not above ui/style"));
    for (const char* room : {"ui", "ui/style", "ui/controls", "ui/scene"}) {
        const std::string path = std::string("src/") + room + "/A.cpp";
        EXPECT_THAT(violationsOf(path, "#include \"ui/sites/Thing.h\"\n"),
                    ElementsAre(path + ": ui/sites/Thing.h is not above " + room));
    }
}

TEST(IncludeRules, OnlyTheWindowKnowsOtherSurfaces) {
    const std::string include = "#include \"ui/style/Thing.h\"\n#include \"ui/controls/Thing.h\"\n"
                                "#include \"ui/deploy/Thing.h\"\n";
    EXPECT_THAT(violationsOf("src/ui/window/A.cpp", include), IsEmpty());
    EXPECT_THAT(violationsOf("src/ui/sites/A.cpp", include),
                ElementsAre("src/ui/sites/A.cpp: ui/deploy/Thing.h is not above ui/sites"));
    EXPECT_THAT(violationsOf("src/ui/tray/A.cpp", include),
                ElementsAre("src/ui/tray/A.cpp: ui/deploy/Thing.h is not above ui/tray"));
    EXPECT_THAT(violationsOf("src/ui/deploy/A.cpp", "#include \"ui/window/Thing.h\"\n"),
                ElementsAre("src/ui/deploy/A.cpp: ui/window/Thing.h is not above ui/deploy"));
}

TEST(IncludeRules, APartOfTheModelKnowsWhatAllStandOnAndNoOtherPart) {
    EXPECT_THAT(violationsOf("src/core/SignIn.cpp", "#include \"core/SignIn.h\"\n#include \"core/Connection.h\"\n"
                                                    "#include \"core/Thing.h\"\n"),
                IsEmpty());
    EXPECT_THAT(
        violationsOf("src/core/SignIn.cpp", "#include \"core/Deployments.h\"\n"),
        ElementsAre("src/core/SignIn.cpp: core/Deployments.h is a part of the model that this one does not know"));
    EXPECT_THAT(
        violationsOf("src/core/Catalog.cpp", "#include \"core/AppState.h\"\n"),
        ElementsAre("src/core/Catalog.cpp: core/AppState.h is a part of the model that this one does not know"));
    EXPECT_THAT(violationsOf("src/core/AppState.cpp", "#include \"core/Deployments.h\"\n#include \"core/SignIn.h\"\n"),
                IsEmpty());
}

TEST(IncludeRules, DesktopKnowsSupportOnly) {
    EXPECT_THAT(violationsOf("src/desktop/A.cpp", "#include \"platform/Thing.h\"\n"),
                ElementsAre("src/desktop/A.cpp: platform/Thing.h is not above desktop"));
}

TEST(IncludeRules, OnlyTheApplicationKnowsWhichDesktopItIs) {
    const std::string include = "#include \"desktop/freedesktop/Thing.h\"\n";
    for (const char* room : {"support", "desktop", "core", "ui", "apps/dw"}) {
        const std::string path = std::string("src/") + room + "/A.cpp";
        EXPECT_THAT(violationsOf(path, include),
                    ElementsAre(path + ": desktop/freedesktop/Thing.h is not above " + room));
    }
    EXPECT_THAT(violationsOf("src/apps/driftwell/A.cpp", include), IsEmpty());
    EXPECT_THAT(violationsOf("src/desktop/freedesktop/A.cpp", include + "#include \"desktop/Thing.h\"\n"), IsEmpty());
    EXPECT_THAT(violationsOf("src/desktop/freedesktop/A.cpp", "#include \"core/Thing.h\"\n"),
                ElementsAre("src/desktop/freedesktop/A.cpp: core/Thing.h is not above desktop/freedesktop"));
}

TEST(IncludeRules, ApplicationsDoNotKnowEachOther) {
    EXPECT_THAT(violationsOf("src/apps/dw/A.cpp", "#include \"apps/driftwell/Thing.h\"\n"),
                ElementsAre("src/apps/dw/A.cpp: apps/driftwell/Thing.h is not above apps/dw"));
}

TEST(IncludeRules, TheSandboxKnowsItselfOnly) {
    EXPECT_THAT(violationsOf("src/apps/sandbox/A.cpp", "#include \"apps/sandbox/Thing.h\"\n"), IsEmpty());
    EXPECT_THAT(violationsOf("src/apps/sandbox/A.cpp", "#include \"support/Thing.h\"\n"),
                ElementsAre("src/apps/sandbox/A.cpp: support/Thing.h is not above apps/sandbox"));
}

TEST(IncludeRules, TheCompressorKnowsArchivesOnly) {
    EXPECT_THAT(violationsOf("src/apps/gzip/A.cpp", "#include \"archive/Thing.h\"\n"), IsEmpty());
    EXPECT_THAT(violationsOf("src/apps/gzip/A.cpp", "#include \"support/Thing.h\"\n"),
                ElementsAre("src/apps/gzip/A.cpp: support/Thing.h is not above apps/gzip"));
    EXPECT_THAT(violationsOf("src/archive/A.cpp", "#include \"support/Thing.h\"\n"),
                ElementsAre("src/archive/A.cpp: support/Thing.h is not above archive"));
}

TEST(IncludeRules, AnIncludeNamesItsRoomAndIsQuoted) {
    EXPECT_THAT(violationsOf("src/core/A.cpp", "#include \"Thing.h\"\n#include <deploy/Thing.h>\n"),
                ElementsAre("src/core/A.cpp: Thing.h is not a file under src/",
                            "src/core/A.cpp: deploy/Thing.h is ours and belongs in quotes"));
}

TEST(IncludeRules, WhatMocWritesForTheFileItselfIsAllowed) {
    EXPECT_THAT(violationsOf("src/core/A.cpp", "#include \"A.moc\"\n"), IsEmpty());
    EXPECT_THAT(violationsOf("src/core/A.cpp", "#include \"B.moc\"\n"),
                ElementsAre("src/core/A.cpp: B.moc is not a file under src/"));
}

TEST(IncludeRules, AFileIsInAKnownRoom) {
    EXPECT_THAT(violationsOf("src/helpers/A.cpp", ""), ElementsAre("src/helpers/A.cpp is in no known room"));
    EXPECT_THAT(violationsOf("src/ui/other/A.cpp", ""), ElementsAre("src/ui/other/A.cpp is in no known room"));
    EXPECT_THAT(violationsOf("src/apps/other/A.cpp", ""), ElementsAre("src/apps/other/A.cpp is in no known room"));
    EXPECT_THAT(violationsOf("src/A.cpp", ""), ElementsAre("src/A.cpp is in no known room"));
}

TEST(IncludeRules, OnlyTheInterfaceIncludesGraphicalQt) {
    const std::string graphical = "#include <QGuiApplication>\n";
    for (const char* room : {"support", "deploy", "desktop", "core", "apps/dw", "apps/sandbox"}) {
        const std::string path = std::string("src/") + room + "/A.cpp";
        EXPECT_THAT(violationsOf(path, graphical),
                    ElementsAre(path + ": QGuiApplication is for desktop/freedesktop, ui and apps/driftwell only"));
    }
    for (const char* room : {"desktop/freedesktop", "ui", "ui/style", "ui/tray", "apps/driftwell"})
        EXPECT_THAT(violationsOf(std::string("src/") + room + "/A.cpp", graphical), IsEmpty());
    EXPECT_THAT(violationsOf("src/core/A.cpp", "#include <QtQuick/QQuickItem>\n#include <QApplication>\n"),
                ElementsAre("src/core/A.cpp: QtQuick/QQuickItem is for desktop/freedesktop, ui and apps/driftwell only",
                            "src/core/A.cpp: QApplication is for desktop/freedesktop, ui and apps/driftwell only"));
}

TEST(IncludeRules, TestsNameFilesThatExist) {
    EXPECT_THAT(violationsOf("tests/core/ATest.cpp", "#include \"core/Thing.h\"\n"
                                                     "#include \"tests/support/Waiting.h\"\n"),
                IsEmpty());
    EXPECT_THAT(violationsOf("tests/core/ATest.cpp", "#include \"Waiting.h\"\n"),
                ElementsAre("tests/core/ATest.cpp: Waiting.h is neither a file under src/ nor one of the repository"));
}

std::vector<RepositoryFile> viewsWith(const std::string& path, const std::string& text) {
    return {{"src/ui/style/AppText.qml", "Text {}"},
            {"src/ui/controls/PushButton.qml", "AppText {}"},
            {"src/ui/sites/SiteRow.qml", "PushButton {}"},
            {path, text}};
}

TEST(ViewRules, HoldInThisRepository) {
    const std::vector<RepositoryFile> files = project::readSources({"src"});
    EXPECT_THAT(viewViolations(files), IsEmpty());
    EXPECT_GT(std::count_if(files.begin(), files.end(), [](const auto& file) { return file.path.ends_with(".qml"); }),
              20);
}

TEST(ViewRules, AViewNamesThoseOfItsRoomAndOfTheRoomsAbove) {
    EXPECT_THAT(viewViolations(viewsWith("src/ui/sites/Page.qml", "Item { SiteRow {} PushButton {} AppText {} }")),
                IsEmpty());
    EXPECT_THAT(viewViolations(viewsWith("src/ui/window/Page.qml", "Item { SiteRow {} }")), IsEmpty());
}

TEST(ViewRules, AViewNamesNoneOfARoomBelowOrBeside) {
    EXPECT_THAT(viewViolations(viewsWith("src/ui/controls/Page.qml", "Item { SiteRow {} }")),
                ElementsAre("src/ui/controls/Page.qml: SiteRow of ui/sites is not above ui/controls"));
    EXPECT_THAT(viewViolations(viewsWith("src/ui/tray/Page.qml", "readonly property var row: item as SiteRow")),
                ElementsAre("src/ui/tray/Page.qml: SiteRow of ui/sites is not above ui/tray"));
}

TEST(ViewRules, AWordInACommentOrATextIsNoView) {
    EXPECT_THAT(viewViolations(viewsWith("src/ui/style/Page.qml", "// A SiteRow\nText { text: \"SiteRow\" }")),
                IsEmpty());
}

} // namespace
