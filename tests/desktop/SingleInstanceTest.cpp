#include "desktop/freedesktop/LaunchReceiver.h"
#include "desktop/freedesktop/LaunchRequest.h"
#include "support/UniqueFd.h"
#include "tests/Await.h"
#include "tests/support/RawClient.h"
#include "tests/support/TestFolder.h"

#include <QProcess>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace driftwell::tests {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

/// Longer than any wait of the tests.
constexpr const char* endlessTimeout = "3600000";
constexpr const char* shortTimeout = "300";

/// One start of the program; it ends with the object.
class Start {
public:
    Start(QStringList arguments, const QProcessEnvironment& environment, const std::filesystem::path& workingFolder) {
        m_process.setProgram(QStringLiteral(SINGLE_INSTANCE_PROGRAM));
        m_process.setArguments(arguments);
        m_process.setProcessEnvironment(environment);
        m_process.setWorkingDirectory(QString::fromStdString(workingFolder.string()));
        m_process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
        m_process.start();
    }
    ~Start() { kill(); }
    Start(const Start&) = delete;
    Start& operator=(const Start&) = delete;

    [[nodiscard]] std::vector<std::string> lines() {
        m_output += m_process.readAllStandardOutput();
        std::vector<std::string> lines;
        for (const QByteArray& line : m_output.split('\n')) {
            lines.push_back(line.toStdString());
        }
        lines.pop_back();
        return lines;
    }

    [[nodiscard]] std::vector<std::string> activations() {
        std::vector<std::string> found;
        for (const std::string& line : lines()) {
            if (line.starts_with("activated ")) {
                found.push_back(line.substr(std::string_view("activated ").size()));
            }
        }
        return found;
    }

    [[nodiscard]] bool hasSaid(const std::string& line) {
        const std::vector<std::string> all = lines();
        return std::find(all.begin(), all.end(), line) != all.end();
    }
    void waitUntilItSays(const std::string& line) {
        waitUntil([&] { return hasSaid(line); });
    }

    [[nodiscard]] bool isRunning() const { return m_process.state() != QProcess::NotRunning; }
    int waitForEnd() {
        waitUntil([this] { return !isRunning(); });
        return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }
    [[nodiscard]] std::string error() { return m_process.readAllStandardError().toStdString(); }

    void signal(int number) const { ::kill(static_cast<pid_t>(m_process.processId()), number); }
    void kill() {
        m_process.kill();
        m_process.waitForFinished();
    }

private:
    QProcess m_process;
    QByteArray m_output;
};

} // namespace

class SingleInstanceTest : public testing::Test {
protected:
    SingleInstanceTest() {
        folder.write("gate", "");
        folder.write("runtime/.keep", "");
        std::filesystem::create_directory(folder / "config");
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), QString::fromStdString((folder / "runtime").string()));
    }

    std::unique_ptr<Start> start(const QStringList& arguments = {}, const char* timeout = endlessTimeout) {
        const QStringList all = QStringList{QString::fromStdString(config.string()), QString::fromLatin1(timeout),
                                            QString::fromStdString((folder / "gate").string())} +
                                arguments;
        return std::make_unique<Start>(all, environment, workingFolder);
    }

    std::unique_ptr<Start> startFirst(const QStringList& arguments = {}, const char* timeout = endlessTimeout) {
        auto first = start(arguments, timeout);
        first->waitUntilItSays("first");
        return first;
    }

    /// The socket or the lock of a first start.
    [[nodiscard]] std::filesystem::path runtimeFile(std::string_view extension) const {
        for (const auto& entry : std::filesystem::directory_iterator(folder / "runtime/driftwell")) {
            if (entry.path().extension() == extension) {
                return entry.path();
            }
        }
        return {};
    }

    [[nodiscard]] RawClient connectToFirst() const {
        UniqueFd connection(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        runtimeFile(".socket").string().copy(address.sun_path, sizeof(address.sun_path) - 1);
        EXPECT_EQ(::connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
        return RawClient(std::move(connection));
    }

    TestFolder folder;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    std::filesystem::path config = folder / "config";
    std::filesystem::path workingFolder = folder.path();
};

TEST_F(SingleInstanceTest, HandsALaterStartOverToTheFirst) {
    const auto first = startFirst();
    environment.insert(QStringLiteral("XDG_ACTIVATION_TOKEN"), QStringLiteral("token-1"));
    const auto second = start({QStringLiteral("driftwell://open"), QStringLiteral("--new-project")});
    EXPECT_EQ(second->waitForEnd(), 0);
    EXPECT_THAT(second->lines(), ElementsAre("ready", "handed over"));
    waitUntil([&first] { return !first->activations().empty(); });
    EXPECT_THAT(first->activations(), ElementsAre("token=token-1|driftwell://open|--new-project"));
}

TEST_F(SingleInstanceTest, TakesPathsFromTheWorkingFolderOfTheLaterStart) {
    const auto first = startFirst();
    workingFolder = folder / "config";
    EXPECT_EQ(start({QStringLiteral("caf\u00e9")})->waitForEnd(), 0);
    waitUntil([&first] { return !first->activations().empty(); });
    EXPECT_THAT(first->activations(), ElementsAre("token=|" + (folder / "config/caf\u00e9").string()));
}

TEST_F(SingleInstanceTest, TakesANameThatIsNotText) {
    const auto first = startFirst();
    QProcess shell;
    shell.setProcessEnvironment(environment);
    shell.start(QStringLiteral("/bin/sh"),
                {QStringLiteral("-c"), QStringLiteral("exec \"$@\" \"$(printf '/srv/caf\\351')\""),
                 QStringLiteral("sh"), QStringLiteral(SINGLE_INSTANCE_PROGRAM), QString::fromStdString(config.string()),
                 QString::fromLatin1(endlessTimeout), QString::fromStdString((folder / "gate").string())});
    waitUntil([&shell] { return shell.state() == QProcess::NotRunning; });
    EXPECT_EQ(shell.exitCode(), 0);
    waitUntil([&first] { return !first->activations().empty(); });
    EXPECT_THAT(first->activations(), ElementsAre("token=|/srv/caf\xE9"));
}

TEST_F(SingleInstanceTest, TakesRequestsThatCameBeforeItListened) {
    // A start that is not yet listening is as good as one that is stopped.
    const auto first = startFirst();
    first->signal(SIGSTOP);
    const auto second = start({QStringLiteral("--one")});
    second->waitUntilItSays("ready");
    first->signal(SIGCONT);
    EXPECT_EQ(second->waitForEnd(), 0);
    waitUntil([&first] { return !first->activations().empty(); });
    EXPECT_THAT(first->activations(), ElementsAre("token=|--one"));
}

TEST_F(SingleInstanceTest, IsOneForEachConfigurationFolder) {
    const auto first = startFirst();
    config = folder / "another config";
    const auto another = startFirst();
    EXPECT_EQ(start({QStringLiteral("--two")})->waitForEnd(), 0);
    waitUntil([&another] { return !another->activations().empty(); });
    EXPECT_THAT(first->activations(), IsEmpty());
    EXPECT_TRUE(first->isRunning());
}

TEST_F(SingleInstanceTest, KnowsItsConfigurationFolderByWhateverName) {
    const auto first = startFirst();
    std::filesystem::create_directory_symlink(config, folder / "link");
    for (const std::filesystem::path& name :
         {std::filesystem::path("config"), folder / "link", folder / "x/../config"}) {
        config = name;
        EXPECT_EQ(start()->waitForEnd(), 0) << name;
    }
    waitUntil([&first] { return first->activations().size() == 3; });
}

TEST_F(SingleInstanceTest, EndsWithTheProcess) {
    const auto first = startFirst();
    EXPECT_EQ(start({QStringLiteral("--quit")})->waitForEnd(), 0);
    EXPECT_EQ(first->waitForEnd(), 0);
    EXPECT_EQ(runtimeFile(".socket"), "") << "the socket is removed";
    startFirst();
}

TEST_F(SingleInstanceTest, ReplacesOneThatWasKilled) {
    const auto first = startFirst();
    first->kill();
    ASSERT_NE(runtimeFile(".socket"), "") << "what was killed has left its socket";
    const auto next = startFirst();
    EXPECT_EQ(start({QStringLiteral("--one")})->waitForEnd(), 0);
    waitUntil([&next] { return !next->activations().empty(); });
}

TEST_F(SingleInstanceTest, IsTakenOverByAStartThatWaitsWhenTheFirstIsKilled) {
    const auto first = startFirst({QStringLiteral("--deaf")});
    const auto second = start();
    second->waitUntilItSays("ready");
    first->kill();
    second->waitUntilItSays("first");
}

TEST_F(SingleInstanceTest, SaysThatTheFirstDoesNotAnswer) {
    const auto first = startFirst();
    first->signal(SIGSTOP);
    const auto second = start({}, shortTimeout);
    EXPECT_EQ(second->waitForEnd(), 1);
    EXPECT_EQ(second->error(), "Driftwell is already running, but it does not answer.\n");
    EXPECT_THAT(second->lines(), ElementsAre("ready"));
}

TEST_F(SingleInstanceTest, SaysThatTheFirstDoesNotAnswerAlsoWhereItHasNoSocket) {
    startFirst()->kill();
    const UniqueFd lock(::open(runtimeFile(".lock").c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(::flock(lock.get(), LOCK_EX | LOCK_NB), 0);
    std::filesystem::remove(runtimeFile(".socket"));
    const auto second = start({}, shortTimeout);
    EXPECT_EQ(second->waitForEnd(), 1);
    EXPECT_EQ(second->error(), "Driftwell is already running, but it does not answer.\n");
}

TEST_F(SingleInstanceTest, HasExactlyOneFirstOfTwentyStartsAtOnce) {
    for (const bool isStale : {false, true, true}) {
        if (isStale) {
            startFirst()->kill();
        }
        UniqueFd gate(::open((folder / "gate").c_str(), O_RDONLY | O_CLOEXEC));
        ASSERT_EQ(::flock(gate.get(), LOCK_EX), 0);
        std::vector<std::unique_ptr<Start>> starts;
        for (int number = 0; number < 20; ++number) {
            starts.push_back(start({QStringLiteral("--%1").arg(number)}));
        }
        for (const auto& each : starts) {
            each->waitUntilItSays("ready");
        }
        gate.reset();

        std::vector<Start*> first;
        waitUntil([&] {
            first.clear();
            int decided = 0;
            for (const auto& each : starts) {
                const bool isFirst = each->hasSaid("first");
                decided += isFirst || !each->isRunning() ? 1 : 0;
                if (isFirst) {
                    first.push_back(each.get());
                }
            }
            return decided == 20;
        });
        ASSERT_THAT(first, SizeIs(1));
        std::set<std::string> expected;
        for (std::size_t number = 0; number < starts.size(); ++number) {
            if (starts[number].get() != first.front()) {
                EXPECT_EQ(starts[number]->waitForEnd(), 0) << starts[number]->error();
                EXPECT_TRUE(starts[number]->hasSaid("handed over"));
                expected.insert("token=|--" + std::to_string(number));
            }
        }
        waitUntil([&first] { return first.front()->activations().size() == 19; });
        const std::vector<std::string> taken = first.front()->activations();
        EXPECT_EQ(std::set<std::string>(taken.begin(), taken.end()), expected);
    }
}

TEST_F(SingleInstanceTest, RefusesWhatIsTooMuchToHandOver) {
    const auto first = startFirst();
    const QString large(100'000, QLatin1Char('x'));
    const auto second =
        start({QStringLiteral("--") + large, large, large, large, large, large, large, large, large, large, large});
    EXPECT_EQ(second->waitForEnd(), 1);
    EXPECT_EQ(second->error(), "This is more than can be handed over at once.\n");
    const auto third = start({large, large, large, large, large, large, large, large, large, large});
    EXPECT_EQ(third->waitForEnd(), 0) << third->error();
    waitUntil([&first] { return first->activations().size() == 1; });
}

TEST_F(SingleInstanceTest, IsNotDisturbedByAnythingElseThatConnects) {
    const auto first = startFirst();
    const std::string endless(2 * 1024 * 1024, 'x');
    for (const std::string& bytes : {std::string(), std::string("GET / HTTP/1.1\r\n\r\n"), endless}) {
        RawClient client = connectToFirst();
        client.send(bytes);
        client.finishSending();
        EXPECT_EQ(client.receiveAll(), "") << bytes.substr(0, 20) << " is not acknowledged";
    }
    EXPECT_EQ(start({QStringLiteral("--one")})->waitForEnd(), 0);
    waitUntil([&first] { return !first->activations().empty(); });
    EXPECT_THAT(first->activations(), ElementsAre("token=|--one"));
}

TEST_F(SingleInstanceTest, IsNotHeldUpByThoseWhoConnectAndSayNothing) {
    const auto first = startFirst({}, shortTimeout);
    std::vector<RawClient> silent;
    for (int number = 0; number < 100; ++number) {
        silent.push_back(connectToFirst());
    }
    EXPECT_EQ(start({QStringLiteral("--one")})->waitForEnd(), 0);
    waitUntil([&first] { return !first->activations().empty(); });
    EXPECT_THAT(first->activations(), ElementsAre("token=|--one"));
}

TEST_F(SingleInstanceTest, TakesNoHalfRequestFromOneThatDies) {
    const auto first = startFirst();
    const std::string request = LaunchRequest{{"--one", "--two"}, "token"}.encoded();
    for (std::size_t length = 0; length < request.size(); ++length) {
        ASSERT_TRUE(connectToFirst().send(request.substr(0, length)));
    }
    EXPECT_EQ(start({QStringLiteral("--last")})->waitForEnd(), 0);
    waitUntil([&first] { return !first->activations().empty(); });
    EXPECT_THAT(first->activations(), ElementsAre("token=|--last"));
}

TEST_F(SingleInstanceTest, TakesARequestThatComesInPieces) {
    const auto first = startFirst();
    RawClient client = connectToFirst();
    const std::string request = LaunchRequest{{"--one"}, "token"}.encoded();
    for (const char byte : request) {
        ASSERT_TRUE(client.send({&byte, 1}));
        settle();
    }
    EXPECT_THAT(first->activations(), IsEmpty());
    client.finishSending();
    waitUntil([&first] { return !first->activations().empty(); });
    EXPECT_THAT(first->activations(), ElementsAre("token=token|--one"));
    EXPECT_EQ(client.receiveAll(), std::string(1, LaunchReceiver::acknowledgement));
}

TEST_F(SingleInstanceTest, GivesUpOnOneThatDoesNotSayAll) {
    const auto first = startFirst({}, shortTimeout);
    RawClient client = connectToFirst();
    ASSERT_TRUE(client.send("driftwell"));
    EXPECT_EQ(client.receiveAll(), "") << "the connection is closed without an answer";
}

/// A first start that holds the lock and behaves as the test does.
class FalseFirstTest : public SingleInstanceTest {
protected:
    FalseFirstTest() {
        startFirst()->kill();
        lock = UniqueFd(::open(runtimeFile(".lock").c_str(), O_RDWR | O_CLOEXEC));
        EXPECT_EQ(::flock(lock.get(), LOCK_EX | LOCK_NB), 0);
        const std::filesystem::path file = runtimeFile(".socket");
        std::filesystem::remove(file);
        listener = UniqueFd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        file.string().copy(address.sun_path, sizeof(address.sun_path) - 1);
        EXPECT_EQ(::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
        EXPECT_EQ(::listen(listener.get(), SOMAXCONN), 0);
    }

    /// More than the kernel keeps for somebody who does not read.
    static QStringList longArguments() {
        const QString large(100'000, QLatin1Char('x'));
        return {QStringLiteral("--") + large, large, large, large, large, large, large, large};
    }

    [[nodiscard]] UniqueFd accept() const {
        return UniqueFd(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
    }

    static std::string readAll(const UniqueFd& connection) {
        std::string all;
        std::array<char, 4096> buffer{};
        for (;;) {
            const ssize_t got = ::recv(connection.get(), buffer.data(), buffer.size(), 0);
            if (got <= 0) {
                return all;
            }
            all.append(buffer.data(), static_cast<std::size_t>(got));
        }
    }

    UniqueFd lock;
    UniqueFd listener;
};

TEST_F(FalseFirstTest, ThatNeverReadsIsSaidNotToAnswer) {
    const auto second = start(longArguments(), shortTimeout);
    EXPECT_EQ(second->waitForEnd(), 1);
    EXPECT_EQ(second->error(), "Driftwell is already running, but it does not answer.\n");
    EXPECT_THAT(second->lines(), ElementsAre("ready"));
}

TEST_F(FalseFirstTest, ThatReadsSlowlyGetsAll) {
    const auto second = start(longArguments());
    const UniqueFd connection = accept();
    // The sender has filled what the kernel keeps, and waits.
    int waiting = -1;
    waitUntil([&] {
        const int before = waiting;
        ::ioctl(connection.get(), FIONREAD, &waiting);
        return waiting > 0 && waiting == before;
    });
    const auto request = LaunchRequest::decoded(readAll(connection));
    ASSERT_TRUE(request);
    EXPECT_THAT(request->arguments, SizeIs(8));
    EXPECT_TRUE(second->isRunning()) << "nothing was acknowledged yet";
    ASSERT_EQ(::send(connection.get(), &LaunchReceiver::acknowledgement, 1, MSG_NOSIGNAL), 1);
    EXPECT_EQ(second->waitForEnd(), 0);
    EXPECT_TRUE(second->hasSaid("handed over"));
}

TEST_F(FalseFirstTest, ThatDiesInTheMiddleIsAskedAgain) {
    const auto second = start(longArguments());
    for (int attempt = 0; attempt < 3; ++attempt) {
        const UniqueFd connection = accept();
        std::array<char, 1000> some{};
        ASSERT_GT(::recv(connection.get(), some.data(), some.size(), 0), 0);
    }
    const UniqueFd connection = accept();
    EXPECT_TRUE(LaunchRequest::decoded(readAll(connection)));
    ASSERT_EQ(::send(connection.get(), &LaunchReceiver::acknowledgement, 1, MSG_NOSIGNAL), 1);
    EXPECT_EQ(second->waitForEnd(), 0);
}

TEST_F(FalseFirstTest, ThatAnswersSomethingElseHasNotTakenTheRequest) {
    const auto second = start({QStringLiteral("--one")});
    {
        const UniqueFd connection = accept();
        readAll(connection);
        ASSERT_EQ(::send(connection.get(), "x", 1, MSG_NOSIGNAL), 1);
    }
    {
        // Nor has one that closes without an answer.
        const UniqueFd connection = accept();
        readAll(connection);
    }
    EXPECT_TRUE(second->isRunning());
    // When it has gone, whoever waits takes its place.
    listener.reset();
    lock.reset();
    second->waitUntilItSays("first");
}

TEST_F(FalseFirstTest, ThatReadsAllAndNeverAnswersIsSaidNotToAnswer) {
    const auto second = start({QStringLiteral("--one")}, shortTimeout);
    const UniqueFd connection = accept();
    readAll(connection);
    EXPECT_EQ(second->waitForEnd(), 1);
    EXPECT_EQ(second->error(), "Driftwell is already running, but it does not answer.\n");
}

TEST_F(SingleInstanceTest, KeepsItsFilesFromOthersAndFromBeingSwept) {
    using std::filesystem::perms;
    const auto first = startFirst();
    for (const char* extension : {".lock", ".socket"}) {
        EXPECT_EQ(std::filesystem::status(runtimeFile(extension)).permissions(),
                  perms::owner_read | perms::owner_write | perms::sticky_bit)
            << extension;
    }
}

TEST_F(SingleInstanceTest, WorksHoweverLongThePathOfItsFolderIs) {
    const std::string deep = "runtime/" + std::string(200, 'x');
    folder.write(deep + "/.keep", "");
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), QString::fromStdString((folder / deep).string()));
    const auto first = startFirst();
    EXPECT_EQ(start({QStringLiteral("--one")})->waitForEnd(), 0);
    waitUntil([&first] { return !first->activations().empty(); });
}

} // namespace driftwell::tests
