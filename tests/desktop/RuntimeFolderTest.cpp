#include "desktop/freedesktop/RuntimeFolder.h"

#include "tests/ScopedVariable.h"
#include "tests/support/TestFolder.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <system_error>

namespace driftwell::tests {

namespace {

using std::filesystem::perms;

QByteArray bytes(const std::filesystem::path& path) {
    return QByteArray::fromStdString(path.string());
}

} // namespace

class RuntimeFolderTest : public testing::Test {
protected:
    [[nodiscard]] std::filesystem::path fallback() const {
        return folder / ("driftwell-" + std::to_string(::geteuid()));
    }

    [[nodiscard]] std::filesystem::path belowHome() const { return folder / "home/.cache/driftwell-runtime"; }

    void expectBelowHome() const {
        EXPECT_EQ(runtimeFolder(), belowHome());
        EXPECT_EQ(std::filesystem::status(belowHome()).permissions(), perms::owner_all);
        EXPECT_EQ(runtimeFolder(), belowHome()) << "it is there now";
    }

    TestFolder folder;
    ScopedVariable home{"HOME", bytes(folder / "home")};
    ScopedVariable cache{"XDG_CACHE_HOME", std::nullopt};
    ScopedVariable temporary{"TMPDIR", bytes(folder.path())};
    ScopedVariable session{"XDG_RUNTIME_DIR", std::nullopt};
};

TEST_F(RuntimeFolderTest, IsInTheSessionsAndThePersonsOwn) {
    std::filesystem::create_directory(folder / "session");
    const ScopedVariable variable("XDG_RUNTIME_DIR", bytes(folder / "session"));
    EXPECT_EQ(runtimeFolder(), folder / "session/driftwell");
    EXPECT_EQ(std::filesystem::status(runtimeFolder()).permissions(), perms::owner_all);
    EXPECT_EQ(runtimeFolder(), folder / "session/driftwell") << "it is there now";
}

TEST_F(RuntimeFolderTest, IsAmongTemporaryFilesWithoutASession) {
    EXPECT_EQ(runtimeFolder(), fallback());
    EXPECT_EQ(std::filesystem::status(runtimeFolder()).permissions(), perms::owner_all);
}

TEST_F(RuntimeFolderTest, IsAmongTemporaryFilesWhereTheSessionsIsNoFolderOfTheirOwn) {
    folder.write("file", "");
    std::filesystem::create_directory(folder / "folder");
    std::filesystem::create_symlink(folder / "folder", folder / "link");
    for (const QByteArray& value : {bytes(folder / "missing"), bytes(folder / "file"), bytes(folder / "link"),
                                    QByteArray("relative"), QByteArray()}) {
        const ScopedVariable variable("XDG_RUNTIME_DIR", value);
        EXPECT_EQ(runtimeFolder(), fallback()) << value.toStdString();
    }
}

TEST_F(RuntimeFolderTest, IsBelowHomeWhereOthersCanEnterTheOneAmongTemporaryFiles) {
    std::filesystem::create_directory(fallback());
    std::filesystem::permissions(fallback(), perms::owner_all | perms::group_exec);
    expectBelowHome();
}

TEST_F(RuntimeFolderTest, IsBelowHomeWhereSomethingElseStandsInForTheOneAmongTemporaryFiles) {
    std::filesystem::create_directory(folder / "folder");
    std::filesystem::permissions(folder / "folder", perms::owner_all);
    std::filesystem::create_symlink(folder / "folder", fallback());
    expectBelowHome();
}

TEST_F(RuntimeFolderTest, IsBelowHomeWhereAnotherAccountHasTakenTheOneAmongTemporaryFiles) {
    constexpr uid_t nobody = 65534;
    std::filesystem::create_directory(fallback());
    std::filesystem::permissions(fallback(), perms::owner_all);
    if (::chown(fallback().c_str(), nobody, nobody) != 0) {
        GTEST_SKIP() << "only an administrator can give a folder away";
    }
    expectBelowHome();
}

TEST_F(RuntimeFolderTest, IsBelowHomeWhereThereAreNoTemporaryFiles) {
    const ScopedVariable variable("TMPDIR", bytes(folder / "missing"));
    expectBelowHome();
}

TEST_F(RuntimeFolderTest, IsInTheCacheThatThePersonHasChosen) {
    std::filesystem::create_symlink(folder.path(), fallback());
    const ScopedVariable variable("XDG_CACHE_HOME", bytes(folder / "cache"));
    EXPECT_EQ(runtimeFolder(), folder / "cache/driftwell-runtime");
    const ScopedVariable relative("XDG_CACHE_HOME", "relative");
    EXPECT_EQ(runtimeFolder(), belowHome());
}

TEST_F(RuntimeFolderTest, IsNowhereThatOthersCanEnter) {
    for (const std::filesystem::path& path : {fallback(), belowHome()}) {
        std::filesystem::create_directories(path);
        std::filesystem::permissions(path, perms::owner_all | perms::group_exec);
    }
    EXPECT_THROW(static_cast<void>(runtimeFolder()), std::system_error);
}

TEST_F(RuntimeFolderTest, IsNotWhatSomethingElseStandsInFor) {
    std::filesystem::create_directory(folder / "folder");
    std::filesystem::permissions(folder / "folder", perms::owner_all);
    std::filesystem::create_directories(belowHome().parent_path());
    std::filesystem::create_symlink(folder / "folder", fallback());
    std::filesystem::create_symlink(folder / "folder", belowHome());
    EXPECT_THROW(static_cast<void>(runtimeFolder()), std::system_error);
}

} // namespace driftwell::tests
