#include "platform/ConfigStore.h"
#include "support/ChildProcess.h"
#include "support/UniqueFd.h"
#include "tests/Await.h"
#include "tests/ScopedVariable.h"
#include "tests/support/TestFolder.h"
#include "tests/support/TestSize.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// What other processes, kills, full disks and failing system calls can do to the session file. ConfigSaver is the
/// process that they are done to.
namespace driftwell {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using tests::await;
using tests::ScopedVariable;
using tests::TestFolder;

using Json = nlohmann::json;

// ConfigSaver's exit statuses.
constexpr int asExpected = 0;
constexpr int saveThrew = 3;
constexpr int notPossibleHere = 77;

/// Memory where there is some to write to: what is tested here is not the disk.
std::optional<QByteArray> fastFolder() {
    return ::access("/dev/shm", W_OK) == 0 ? std::optional(QByteArray("/dev/shm")) : std::optional(QByteArray("/tmp"));
}

class ConfigStoreCrashTest : public testing::Test {
protected:
    Task<ChildProcess::Result> start(std::vector<std::string> arguments) const {
        return ChildProcess::run({CONFIG_SAVER, std::move(arguments), ProcessEnvironment::inherited()}, {});
    }
    ChildProcess::Result run(std::vector<std::string> arguments) const { return await(start(std::move(arguments))); }

    [[nodiscard]] std::string file() const { return (m_folder / "dw/config.json").string(); }
    [[nodiscard]] std::string content() const { return m_folder.read("dw/config.json"); }
    [[nodiscard]] std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder / "dw")) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    ScopedVariable m_temporary{"TMPDIR", fastFolder()};
    TestFolder m_folder;
};

/// Reads the file in a process of its own as long as it lives. ok() ends it.
class Reader {
public:
    explicit Reader(const std::string& file) {
        int ends[2];
        EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        m_told = UniqueFd(ends[1]);
        m_pid = ::vfork();
        if (m_pid == 0) {
            ::dup2(ends[0], STDIN_FILENO);
            ::execl(CONFIG_SAVER, CONFIG_SAVER, "read", file.c_str(), nullptr);
            ::_exit(127);
        }
        ::close(ends[0]);
    }
    ~Reader() { ok(); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    /// Whether it saw the whole file every time.
    bool ok() {
        if (m_pid > 0) {
            m_told.reset();
            ::waitpid(m_pid, &m_status, 0);
            m_pid = -1;
        }
        return WIFEXITED(m_status) && WEXITSTATUS(m_status) == asExpected;
    }

private:
    pid_t m_pid = -1;
    int m_status = -1;
    UniqueFd m_told;
};

TEST_F(ConfigStoreCrashTest, LosesNothingWhenManyProcessesSaveAtOnce) {
    constexpr int processes = 16;
    // The time grows with the square of this.
    const int each = tests::rounds(40, 500);
    m_folder.write("dw/config.json", R"({"foreign": "kept"})");
    Reader reader(file());
    std::vector<Task<ChildProcess::Result>> savers;
    for (int i = 0; i < processes; ++i) {
        savers.push_back(start({"save", file(), std::to_string(i), std::to_string(each)}));
    }
    for (Task<ChildProcess::Result>& saver : savers) {
        EXPECT_EQ(await(std::move(saver)).status, asExpected);
    }
    EXPECT_TRUE(reader.ok());

    Json expected = {{"foreign", "kept"}};
    for (int i = 0; i < processes; ++i) {
        for (int j = 0; j < each; ++j) {
            const std::string key = std::to_string(i) + "-" + std::to_string(j);
            if (j % 3 == 0) {
                expected[key] = j;
            } else if (j % 3 == 1) {
                expected["tokens"]["https://" + key] = std::to_string(j);
            } else {
                expected["folders"][key] = "/" + std::to_string(j);
            }
        }
    }
    EXPECT_TRUE(Json::parse(content()) == expected);
    EXPECT_THAT(names(), ElementsAre("config.json"));
}

TEST_F(ConfigStoreCrashTest, IsWholeWheneverASaverIsKilled) {
    m_folder.write("dw/config.json", "{}");
    Reader reader(file());
    const ChildProcess::Result result = run({"kill", file(), "1000"});
    EXPECT_EQ(result.status, asExpected) << result.standardOutput << result.standardError;
    EXPECT_TRUE(reader.ok());
}

// Every system call on the way of a save, and the errors that it can have

struct Failure {
    const char* call;
    int error;
};

void PrintTo(const Failure& failure, std::ostream* out) {
    *out << failure.call << " " << std::strerror(failure.error);
}

class FailingCall : public ConfigStoreCrashTest, public testing::WithParamInterface<Failure> {
protected:
    [[nodiscard]] ChildProcess::Result saveFailing() const {
        return run({"fail", file(), GetParam().call, std::to_string(GetParam().error)});
    }

    const std::string m_before =
        "{\"tokens\":{\"https://there.example\":\"t\"}, \"foreign\":[1.0, \"" + std::string(2000, 'f') + "\"]}";
};

INSTANTIATE_TEST_SUITE_P(Saving, FailingCall,
                         testing::Values(Failure{"open-folder", EACCES}, Failure{"open-folder", EMFILE},
                                         Failure{"open-file", EMFILE}, Failure{"open-file", EIO},
                                         Failure{"lock", ENOLCK}, Failure{"lock", EIO}, Failure{"create", EACCES},
                                         Failure{"create", ENOSPC}, Failure{"create", EROFS}, Failure{"create", EDQUOT},
                                         Failure{"write", ENOSPC}, Failure{"write", EIO}, Failure{"write", EDQUOT},
                                         Failure{"flush", EIO}, Failure{"flush", ENOSPC}, Failure{"close", EIO},
                                         Failure{"close", ENOSPC}, Failure{"rename", EACCES}, Failure{"rename", EIO},
                                         Failure{"rename", ENOSPC}));

TEST_P(FailingCall, ThrowsTheSystemsWordsAndLeavesTheOldFileByteForByte) {
    m_folder.write("dw/config.json", m_before);
    const ChildProcess::Result result = saveFailing();
    ASSERT_NE(result.status, notPossibleHere);
    EXPECT_EQ(result.status, saveThrew) << result.standardError;
    EXPECT_THAT(result.standardOutput, StartsWith(std::to_string(GetParam().error) + " "));
    EXPECT_THAT(result.standardOutput, HasSubstr(std::strerror(GetParam().error)));
    EXPECT_THAT(result.standardOutput, HasSubstr((m_folder / "dw").string())) << "it does not say where";
    EXPECT_EQ(content(), m_before);
    EXPECT_THAT(names(), ElementsAre("config.json"));
}

TEST_P(FailingCall, MakesNoFileWhereThereWasNone) {
    std::filesystem::create_directory(m_folder / "dw");
    EXPECT_EQ(saveFailing().status, saveThrew);
    EXPECT_THAT(names(), testing::IsEmpty());
}

TEST_P(FailingCall, IsNotReportedByTheOperationsThatKeepItToThemselves) {
    for (const char* operation : {"folder", "sign-out"}) {
        m_folder.write("dw/config.json", m_before);
        const ChildProcess::Result result =
            run({"fail-quietly", file(), operation, GetParam().call, std::to_string(GetParam().error)});
        EXPECT_EQ(result.status, asExpected) << operation << result.standardError;
        EXPECT_EQ(content(), m_before) << operation;
    }
}

TEST_P(FailingCall, DoesNotHinderTheNextSave) {
    m_folder.write("dw/config.json", m_before);
    ASSERT_EQ(saveFailing().status, saveThrew);
    ConfigStore(file()).saveConfig({{"host", "h"}});
    Json expected = Json::parse(m_before);
    expected["host"] = "h";
    EXPECT_EQ(Json::parse(content()), expected);
}

TEST_F(ConfigStoreCrashTest, KeepsAFileThatItMayNotRead) {
    for (const int error : {EACCES, EPERM}) {
        m_folder.write("dw/config.json", R"({"old": true})");
        const ChildProcess::Result result = run({"fail", file(), "open-file", std::to_string(error)});
        EXPECT_EQ(result.status, asExpected) << result.standardOutput << result.standardError;
        EXPECT_EQ(Json::parse(content()), Json({{"new", std::string(2000, 'n')}}));
        EXPECT_EQ(m_folder.read("dw/config.json.unreadable"), R"({"old": true})");
        std::filesystem::remove(m_folder / "dw/config.json.unreadable");
    }
}

TEST_F(ConfigStoreCrashTest, KeepsAFileOfAnotherAccount) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only the superuser can act as another account";
    }
    m_folder.write("dw/config.json", R"({"of": "root"})");
    ASSERT_EQ(::chmod(file().c_str(), 0600), 0);
    ASSERT_EQ(::chown((m_folder / "dw").c_str(), 65534, 65534), 0);
    ASSERT_EQ(::chmod(m_folder.path().c_str(), 0755), 0);
    const ChildProcess::Result result = run({"save-as-nobody", file()});
    EXPECT_EQ(result.status, asExpected) << result.standardOutput << result.standardError;
    EXPECT_EQ(Json::parse(content()), Json({{"new", std::string(10, 'n')}}));
    EXPECT_EQ(m_folder.read("dw/config.json.unreadable"), R"({"of": "root"})");
    struct stat status {};
    ASSERT_EQ(::stat((m_folder / "dw/config.json.unreadable").c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 0U);
}

TEST_F(ConfigStoreCrashTest, ThrowsWhenTheFolderCannotBeMade) {
    for (const int error : {EACCES, ENOSPC, EROFS}) {
        const ChildProcess::Result result = run({"fail", file(), "mkdir", std::to_string(error)});
        EXPECT_EQ(result.status, saveThrew) << result.standardError;
        EXPECT_THAT(result.standardOutput, HasSubstr(std::strerror(error)));
        EXPECT_THAT(result.standardOutput, HasSubstr((m_folder / "dw").string()));
        EXPECT_FALSE(std::filesystem::exists(m_folder / "dw"));
    }
}

TEST_F(ConfigStoreCrashTest, DoesNotMindWhenThePermissionsCannotBeSet) {
    for (const int error : {EPERM, EIO}) {
        m_folder.write("dw/config.json", R"({"old": true})");
        const ChildProcess::Result result = run({"fail", file(), "chmod", std::to_string(error)});
        EXPECT_EQ(result.status, asExpected) << result.standardOutput << result.standardError;
        EXPECT_EQ(Json::parse(content()), Json({{"old", true}, {"new", std::string(2000, 'n')}}));
        struct stat status {};
        ASSERT_EQ(::stat(file().c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 077, 0U) << "others may read it";
    }
}

TEST_F(ConfigStoreCrashTest, LeavesTheOldFileOnAFullDisk) {
    std::filesystem::create_directory(m_folder / "disk");
    const ChildProcess::Result result = run({"full-disk", m_folder / "disk"});
    if (result.status == notPossibleHere) {
        GTEST_SKIP() << "this process may not mount a disk of its own";
    }
    EXPECT_EQ(result.status, asExpected) << result.standardOutput << result.standardError;
    EXPECT_THAT(result.standardOutput, HasSubstr("No space left on device"));
}

TEST_F(ConfigStoreCrashTest, LeavesTheOldFileWhenTheNewOneMayNotGrow) {
    m_folder.write("dw/config.json", R"({"old": true})");
    // The first write is cut short at the limit, the second one fails.
    const ChildProcess::Result result = run({"limit", file(), "4096", "10000"});
    EXPECT_EQ(result.status, saveThrew) << result.standardError;
    EXPECT_THAT(result.standardOutput, HasSubstr("File too large"));
    EXPECT_EQ(content(), R"({"old": true})");
    EXPECT_THAT(names(), ElementsAre("config.json"));
    EXPECT_EQ(run({"limit", file(), "4096", "1000"}).status, asExpected);
}

} // namespace
} // namespace driftwell
