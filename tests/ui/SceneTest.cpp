#include "ui/scene/Scene.h"

#include "tests/RecordingDesktopServices.h"
#include "ui/style/DW.h"

#include <QQuickWindow>

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>

namespace driftwell::tests {

namespace {

/// In a process of its own, since the first scene chooses for all: exits with 0 where the renderer is the one expected.
/// The one that Qt builds in has no name.
[[noreturn]] void makeFirstScene(const char* variable, const char* value, const char* expected) {
    if (variable) {
        qputenv(variable, value);
    }
    RecordingDesktopServices desktop;
    const Scene scene(desktop, DW::Token::Canvas);
    std::fprintf(stderr, "drawn by “%s”\n", qPrintable(QQuickWindow::sceneGraphBackend()));
    ::_exit(QQuickWindow::sceneGraphBackend() == QString::fromLatin1(expected) ? 0 : 1);
}

} // namespace

class SceneDeathTest : public testing::Test {
protected:
    SceneDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(SceneDeathTest, IsDrawnWithoutAGraphicsCard) {
    EXPECT_EXIT(makeFirstScene(nullptr, nullptr, "software"), testing::ExitedWithCode(0), "");
}

TEST_F(SceneDeathTest, IsDrawnByTheRendererThatThePersonHasChosen) {
    EXPECT_EXIT(makeFirstScene("QT_QUICK_BACKEND", "rhi", ""), testing::ExitedWithCode(0), "");
}

} // namespace driftwell::tests
