#include "apps/dw/GitWatch.h"

#include <gtest/gtest.h>

namespace driftwell::dw {
namespace {

using namespace std::chrono_literals;

std::string textOf(const Git::RunRecord& run) {
    return runText(run).toStdString();
}

TEST(GitWatchTest, TellsOfARunInALine) {
    EXPECT_EQ(textOf({{QStringLiteral("fetch"), QStringLiteral("driftwell")}, "/home/maya/launch", 45ms, 0, false, {}}),
              "> git fetch driftwell in /home/maya/launch: exit 0, 45 ms");
    EXPECT_EQ(textOf({{QStringLiteral("push")}, {}, 1500ms, 128, false, QStringLiteral("fatal: no way")}),
              "> git push: exit 128, 1.5 s, fatal: no way");
    EXPECT_EQ(textOf({{QStringLiteral("push")}, {}, 1ms, 9, true, {}}), "> git push: ended by signal 9, 1 ms");
    EXPECT_EQ(textOf({{QStringLiteral("push")}, {}, 1ms, std::nullopt, false, {}}), "> git push: stopped, 1 ms");
}

TEST(GitWatchTest, ShowsArgumentsAsAShellReadsThemInOneLineAndNotWithoutEnd) {
    EXPECT_EQ(textOf({{QStringLiteral("commit"), QStringLiteral("-m"), QStringLiteral("Maya's\nwork")}, {}, 1ms, 0}),
              "> git commit -m 'Maya'\\''s?work': exit 0, 1 ms");
    EXPECT_EQ(textOf({{QStringLiteral("add"), QString()}, "/a b", 1ms, 0}), "> git add '' in '/a b': exit 0, 1 ms");
    EXPECT_LT(textOf({{QString(100'000, u'x')}, {}, 1ms, 0}).size(), 500U);
    EXPECT_LT(textOf({{QStringLiteral("push")}, {}, 1ms, 1, false, QString(100'000, u'x')}).size(), 500U);
    const QString cut = runText({{u'x' + QStringLiteral("🙂").repeated(1000)}, {}, 1ms, 0});
    EXPECT_TRUE(cut.isValidUtf16());
}

} // namespace
} // namespace driftwell::dw
