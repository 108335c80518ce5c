#include "deploy/FolderScan.h"
#include "deploy/Packing.h"
#include "platform/PlatformError.h"
#include "support/EventLoop.h"
#include "tests/Await.h"
#include "tests/deploy/ArchiveReader.h"
#include "tests/deploy/HostileFolder.h"
#include "tests/deploy/ProcessState.h"
#include "tests/deploy/Seed.h"
#include "tests/deploy/Unprivileged.h"
#include "tests/support/TestSize.h"

#include <gmock/gmock.h>

#include <iostream>
#include <memory>
#include <optional>
#include <utility>

namespace driftwell {
namespace {

using tests::HostileFolder;

/// tar and gzip start while this process makes the next folder.
constexpr int atOnce = 4;

/// How the rounds go, shared by those that run at once.
struct Progress {
    int rounds = 0;
    std::uint64_t seed = 0;
    std::filesystem::path outside;
    int next = 0;
    bool isSeedTold = false;
    int empty = 0;
    int packed = 0;
    int refused = 0;
    /// Of those that run at once.
    int ended = 0;
};

std::map<std::string, std::string> filesOf(const std::string& archive) {
    std::map<std::string, std::string> files;
    std::string last;
    for (tests::ArchiveMember& member : tests::readArchive(archive)) {
        EXPECT_EQ(member.type, '0') << member.name;
        EXPECT_LT(last, member.name) << "the members are not in order";
        last = member.name;
        files.emplace(std::move(member.name), std::move(member.content));
    }
    return files;
}

std::vector<std::string> namesOf(const std::map<std::string, std::string>& files) {
    std::vector<std::string> names;
    for (const auto& [name, content] : files) {
        names.push_back(name);
    }
    return names;
}

/// Nothing when the folder is packed.
Task<std::optional<QString>> refusalOf(std::filesystem::path folder, FolderScan files, std::filesystem::path working) {
    try {
        co_await packFolder(std::move(folder), std::move(files), std::move(working), {});
        co_return std::nullopt;
    } catch (const PlatformError& failure) {
        co_return failure.description();
    }
}

Task<> packOne(std::uint64_t seed, std::shared_ptr<Progress> progress) {
    const HostileFolder folder(seed, progress->outside);
    const FolderScan files = FolderScan::scan(folder.path());
    EXPECT_EQ(files.paths, namesOf(folder.site()));
    if (files.paths.empty()) {
        ++progress->empty;
        co_return;
    }

    const tests::TestFolder working;
    const std::optional<QString> refusal = co_await refusalOf(folder.path(), files, working.path());
    const bool isRefused = folder.hasLineFeed() || folder.hasTooLongPath();
    EXPECT_EQ(refusal.has_value(), isRefused) << refusal.value_or(QString()).toStdString();
    if (!refusal) {
        EXPECT_EQ(filesOf(working.read("site.tgz")), folder.site());
        ++progress->packed;
    } else {
        const bool isToldOf = folder.hasLineFeed() && refusal->startsWith(QStringLiteral("the name of “")) &&
                              refusal->endsWith(QStringLiteral("” holds a line break and cannot be packed"));
        const bool isExplained = refusal->startsWith(QStringLiteral("tar exited with status 2: the name of “")) ||
                                 refusal->startsWith(QStringLiteral("tar exited with status 2: the path of “"));
        EXPECT_TRUE(isToldOf || isExplained) << refusal->toStdString();
        ++progress->refused;
    }
}

Task<> packOneAfterAnother(std::shared_ptr<Progress> progress) {
    while (progress->next < progress->rounds && !testing::Test::HasFailure()) {
        const std::uint64_t seed = progress->seed + static_cast<std::uint64_t>(progress->next++);
        try {
            co_await packOne(seed, progress);
        } catch (const std::exception& failure) {
            ADD_FAILURE() << describe(failure).toStdString();
        }
        if (testing::Test::HasFailure() && !std::exchange(progress->isSeedTold, true)) {
            ADD_FAILURE() << "in the folder of DRIFTWELL_TEST_SEED=" << seed;
        }
    }
    ++progress->ended;
}

TEST(HostileFoldersTest, ArePackedExactlyAsScannedOrNotAtAll) {
    const tests::Unprivileged person;
    const tests::TestFolder outside;
    outside.write("secret", "planted outside of the folder");
    const auto progress = std::make_shared<Progress>();
    progress->rounds = tests::rounds(400, 2'000);
    progress->seed = tests::chooseSeed("HostileFoldersTest");
    progress->outside = outside.path();
    static_cast<void>(EventLoop::current()); // is opened once and kept

    const tests::ProcessState before = tests::ProcessState::now();
    for (int i = 0; i < atOnce; ++i) {
        detach(packOneAfterAnother(progress));
    }
    while (progress->ended < atOnce) {
        // The deadline is that of one round.
        tests::waitUntil([&, seen = progress->next] { return progress->next != seen || progress->ended == atOnce; });
    }
    tests::settle();
    EXPECT_EQ(tests::ProcessState::now(), before);
    ASSERT_FALSE(HasFailure());

    std::cout << progress->packed << " packed, " << progress->refused << " refused, " << progress->empty << " empty\n";
    EXPECT_GT(progress->packed, progress->rounds / 2);
    // About one in twelve, at random.
    EXPECT_GT(progress->refused, progress->rounds / 40);
    EXPECT_GT(progress->empty, 0);
}

} // namespace
} // namespace driftwell
