#include "tooling/Updater.h"

#include "support/Cancellation.h"
#include "support/Completion.h"
#include "tests/Await.h"
#include "tests/core/ManualSleeper.h"
#include "tests/support/TestFolder.h"
#include "tests/tooling/ScriptedPackages.h"

#include <gmock/gmock.h>

namespace driftwell::tests {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using Outcome = Updater::Outcome;

class UpdaterTest : public testing::Test {
protected:
    UpdaterTest() {
        bundleSays(R"({"SUFeedURL": "https://feed.test", "CFBundleShortVersionString": "1.2",
                                   "CFBundleVersion": "34"})");
    }
    void TearDown() override {
        if (m_updater) {
            await(m_updater->end());
        }
    }

    void bundleSays(const std::string& information) const { m_folder.write("Contents/Info.json", information); }

    Updater& updater() {
        if (!m_updater) {
            m_updater = std::make_unique<Updater>(
                Bundle(m_folder / "Contents"), &packages,
                std::make_unique<QSettings>(QString::fromStdString(m_folder / "defaults.ini"), QSettings::IniFormat),
                sleeper.sleeper(), [this] { return m_now; });
            QObject::connect(
                m_updater.get(), &Updater::ended, m_updater.get(),
                [this](Outcome outcome, const QString& text) { outcomes.emplace_back(outcome, text.toStdString()); });
        }
        return *m_updater;
    }

    void checkByHand() {
        updater().checkForUpdates();
        waitUntil([this] { return updater().canCheck(); });
    }

    void restart() {
        await(m_updater->end());
        m_updater.reset();
        sleeper = ManualSleeper();
    }

    TestFolder m_folder;
    ScriptedPackages packages;
    ManualSleeper sleeper;
    Timestamp m_now{std::chrono::hours(500'000)};
    std::vector<std::pair<Outcome, std::string>> outcomes;
    std::unique_ptr<Updater> m_updater;
};

const PackageUpdate ours{"driftwell;1.3;amd64;feed", "driftwell", "1.3"};
const PackageUpdate ourTool{"driftwell-cli;1.3;amd64;feed", "driftwell-cli", "1.3"};
const PackageUpdate another{"bash;6;amd64;debian", "bash", "6"};

TEST_F(UpdaterTest, ACopyWithoutAFeedNeverLooks) {
    bundleSays(R"({"SUFeedURL": null, "CFBundleShortVersionString": "1.2", "CFBundleVersion": "34"})");
    EXPECT_FALSE(updater().isEnabled());
    EXPECT_FALSE(updater().canCheck());
    updater().start();
    updater().checkForUpdates();
    packages.setReady(false);
    packages.setReady(true);
    settle();
    EXPECT_FALSE(updater().canCheck());
    EXPECT_THAT(packages.steps, IsEmpty());
    EXPECT_THAT(sleeper.requested(), IsEmpty());
    EXPECT_EQ(updater().versionLabel(), "1.2 (34)") << "it knows its version all the same";
}

TEST_F(UpdaterTest, AnyValueUnderTheKeyIsAFeed) {
    bundleSays(R"({"SUFeedURL": 7})");
    EXPECT_TRUE(updater().isEnabled());
    bundleSays("{}");
    EXPECT_FALSE(Updater(Bundle(m_folder / "Contents")).isEnabled());
}

TEST_F(UpdaterTest, AVersionThatIsNotKnownIsAQuestionMark) {
    bundleSays(R"({"CFBundleShortVersionString": "1.2"})");
    EXPECT_EQ(updater().versionLabel(), "1.2 (?)");
    bundleSays(R"({"CFBundleShortVersionString": 1.2, "CFBundleVersion": "34"})");
    EXPECT_EQ(Updater(Bundle(m_folder / "Contents")).versionLabel(), "? (34)");
    EXPECT_EQ(Updater(Bundle()).versionLabel(), "? (?)");
}

TEST_F(UpdaterTest, ACheckByHandNeedsAPackageManagerThatIsIdle) {
    packages.ready = false;
    EXPECT_FALSE(updater().canCheck());
    updater().checkForUpdates();
    EXPECT_THAT(packages.steps, IsEmpty());
    packages.setReady(true);
    EXPECT_TRUE(updater().canCheck());
    packages.setReady(false);
    EXPECT_FALSE(updater().canCheck());
}

TEST_F(UpdaterTest, ACheckByHandSaysThatThereIsNothingNew) {
    packages.available = {another};
    checkByHand();
    EXPECT_THAT(packages.steps, ElementsAre("refresh", "updates"));
    EXPECT_THAT(outcomes, ElementsAre(std::pair(Outcome::UpToDate, std::string("1.2 (34)"))));
}

TEST_F(UpdaterTest, ACheckRecordsWhenItWas) {
    EXPECT_FALSE(updater().lastUpdateCheckDate());
    checkByHand();
    EXPECT_EQ(updater().lastUpdateCheckDate(), m_now);
    restart();
    EXPECT_EQ(updater().lastUpdateCheckDate(), m_now) << "also in the next run";
}

TEST_F(UpdaterTest, ANewVersionOfOurPackagesAloneIsFetchedAndInstalled) {
    packages.available = {another, ours, ourTool};
    checkByHand();
    EXPECT_THAT(packages.steps, ElementsAre("refresh", "updates", "download driftwell,driftwell-cli",
                                            "install driftwell,driftwell-cli"));
    EXPECT_THAT(outcomes, ElementsAre(std::pair(Outcome::Installed, std::string("1.3"))));
}

TEST_F(UpdaterTest, WhereAPasswordIsNeededThePersonIsAskedFirst) {
    packages.available = {ours};
    packages.needsPassword = true;
    checkByHand();
    EXPECT_THAT(outcomes, ElementsAre(std::pair(Outcome::NeedsConsent, std::string("1.3"))));
    EXPECT_EQ(packages.steps.back(), "install driftwell");
    updater().installNow();
    waitUntil([this] { return outcomes.size() == 2; });
    EXPECT_EQ(packages.steps.back(), "ask and install driftwell");
    EXPECT_EQ(outcomes.back(), std::pair(Outcome::Installed, std::string("1.3")));
    settle();
    updater().installNow();
    EXPECT_EQ(packages.steps.size(), 5U) << "what is installed is not installed again";
}

TEST_F(UpdaterTest, NothingIsInstalledThatWasNotFound) {
    updater().installNow();
    EXPECT_THAT(packages.steps, IsEmpty());
}

class FailingStepTest : public UpdaterTest, public testing::WithParamInterface<const char*> {};

TEST_P(FailingStepTest, ACheckByHandSaysWhy) {
    packages.available = {ours};
    packages.failing = GetParam();
    checkByHand();
    EXPECT_THAT(outcomes, ElementsAre(std::pair(Outcome::Failed, std::string("no network"))));
    EXPECT_TRUE(updater().canCheck());
}

TEST_P(FailingStepTest, ADailyCheckIsTriedAgainOrKeptToItself) {
    packages.available = {ours};
    packages.failing = GetParam();
    updater().start();
    waitUntil([this] { return sleeper.isAsleep(); });
    EXPECT_THAT(outcomes, IsEmpty());
    const bool wasChecked = updater().lastUpdateCheckDate().has_value();
    EXPECT_THAT(sleeper.requested(), ElementsAre(wasChecked ? 24h : 1h));
    EXPECT_EQ(wasChecked, std::string(GetParam()) != "refresh");
}

INSTANTIATE_TEST_SUITE_P(Steps, FailingStepTest, testing::Values("refresh", "updates", "download", "install"));

TEST_F(UpdaterTest, ARefusedPasswordIsToldAndCanBeTriedAgain) {
    packages.available = {ours};
    packages.needsPassword = true;
    checkByHand();
    packages.failing = "ask";
    updater().installNow();
    waitUntil([this] { return outcomes.size() == 2; });
    EXPECT_EQ(outcomes.back(), std::pair(Outcome::Failed, std::string("no network")));
    packages.failing.clear();
    settle();
    updater().installNow();
    waitUntil([this] { return outcomes.size() == 3; });
    EXPECT_EQ(outcomes.back().first, Outcome::Installed);
}

TEST_F(UpdaterTest, TheFirstDailyCheckComesAtOnce) {
    updater().start();
    waitUntil([this] { return sleeper.isAsleep(); });
    EXPECT_THAT(packages.steps, ElementsAre("refresh", "updates"));
    EXPECT_THAT(outcomes, IsEmpty()) << "nobody asked";
    EXPECT_THAT(sleeper.requested(), ElementsAre(24h));
}

TEST_F(UpdaterTest, TheNextDailyCheckComesADayLater) {
    updater().start();
    waitUntil([this] { return sleeper.isAsleep(); });
    m_now += 24h;
    sleeper.wake();
    waitUntil([this] { return packages.steps.size() == 4; });
}

TEST_F(UpdaterTest, ADayCountsAcrossRuns) {
    checkByHand();
    restart();
    m_now += 20h;
    updater().start();
    settle();
    EXPECT_THAT(sleeper.requested(), ElementsAre(4h));
    EXPECT_EQ(packages.steps.size(), 2U);
}

TEST_F(UpdaterTest, ARecordOfTheFutureKeepsNothingBack) {
    checkByHand();
    restart();
    m_now -= 1000h;
    updater().start();
    waitUntil([this] { return packages.steps.size() == 4; });
    EXPECT_EQ(updater().lastUpdateCheckDate(), m_now);
}

TEST_F(UpdaterTest, ABusyPackageManagerIsAskedAgainAnHourLater) {
    packages.ready = false;
    updater().start();
    settle();
    EXPECT_THAT(sleeper.requested(), ElementsAre(1h));
    packages.setReady(true);
    sleeper.wake();
    waitUntil([this] { return packages.steps.size() == 2; });
}

TEST_F(UpdaterTest, ASecondStartChangesNothing) {
    updater().start();
    updater().start();
    waitUntil([this] { return sleeper.isAsleep(); });
    EXPECT_THAT(packages.steps, ElementsAre("refresh", "updates"));
}

TEST_F(UpdaterTest, OneCheckAtATime) {
    packages.hanging = "refresh";
    updater().checkForUpdates();
    EXPECT_FALSE(updater().canCheck());
    updater().checkForUpdates();
    updater().installNow();
    EXPECT_THAT(packages.steps, ElementsAre("refresh"));
}

TEST_F(UpdaterTest, TheEndStopsACheck) {
    packages.hanging = "updates";
    updater().checkForUpdates();
    waitUntil([this] { return packages.steps.size() == 2; });
    await(updater().end());
    EXPECT_THAT(outcomes, IsEmpty());
    m_updater.reset();
}

} // namespace
} // namespace driftwell::tests
