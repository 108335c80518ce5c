#include "deploy/Deploy.h"

#include "deploy/DeployResult.h"
#include "deploy/DeployStage.h"
#include "deploy/FolderScan.h"
#include "platform/PlatformClient.h"
#include "platform/PlatformError.h"
#include "support/Cancellation.h"
#include "support/EventLoop.h"
#include "support/SystemError.h"
#include "support/WorkerPool.h"
#include "tests/Await.h"
#include "tests/deploy/ArchiveReader.h"
#include "tests/deploy/FolderWatch.h"
#include "tests/deploy/ProcessState.h"
#include "tests/deploy/Unprivileged.h"
#include "tests/ScopedVariable.h"
#include "tests/support/PlatformServer.h"
#include "tests/support/TestFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <mutex>
#include <optional>
#include <random>
#include <regex>
#include <system_error>
#include <thread>

namespace driftwell {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Key;
using testing::Not;
using testing::Pair;
using tests::PlatformServer;
using tests::ScopedVariable;
using tests::TestFolder;

constexpr const char* deployPath = "/api/deploy";
constexpr const char* answerText =
    R"({"ok":true,"site":"my-site","url":"https://my-site.example.org","bytes":12,"files":3,"skipped":1})";

/// More than the buffers between a client and a server that does not read take up.
constexpr std::size_t largerThanBuffers = 12'000'000;

std::string randomBytes(std::size_t size) {
    std::minstd_rand random(1);
    std::string bytes;
    bytes.reserve(size);
    while (bytes.size() < size) {
        bytes += static_cast<char>(random() >> 8);
    }
    return bytes;
}

/// The reports of a deployment, which come from several threads.
class StageLog {
public:
    void add(DeployStage stage) {
        const std::scoped_lock lock(m_mutex);
        m_stages.push_back(stage);
    }
    [[nodiscard]] std::vector<DeployStage> stages() const {
        const std::scoped_lock lock(m_mutex);
        return m_stages;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<DeployStage> m_stages;
};

/// How a deployment that was started has ended, if it has.
struct Ending {
    std::optional<DeployResponse> response;
    std::optional<DeployResult> result;
    std::exception_ptr failure;

    [[nodiscard]] bool isThere() const { return response || failure; }
};

Task<> follow(Task<DeployResult> deployment, std::shared_ptr<Ending> ending) {
    try {
        ending->result = co_await deployment;
        ending->response = ending->result->response;
    } catch (...) {
        ending->failure = std::current_exception();
    }
}

std::string describeFailure(const Ending& ending) {
    try {
        std::rethrow_exception(ending.failure);
    } catch (const std::exception& failure) {
        return failure.what();
    }
}

/// A site, a platform to put it on, and a temporary folder of the test's own.
struct DeployTest : testing::Test {
    DeployTest() {
        server.answer(deployPath, 200, answerText);
        store.saveToken(QStringLiteral("token-1"), config);
        openWhatIsKept();
        before = tests::ProcessState::now();
        client.emplace(Bundle(bundle.path()), store);
    }

    /// The descriptors of the event loop and of the pool's thread.
    static void openWhatIsKept() {
        static_cast<void>(EventLoop::current());
        const auto work = [] {
            return true;
        };
        tests::await(runOnPool(work));
    }

    std::shared_ptr<Ending> start() {
        const auto ending = std::make_shared<Ending>();
        const auto onStage = [this](DeployStage stage) {
            log.add(stage);
            if (atStage) {
                atStage(stage);
            }
        };
        const DeployStops stops{stop.get_token(), end.get_token()};
        const auto onProgress = [this](DeployProgress progress) {
            const std::scoped_lock lock(progressMutex);
            reported.push_back(progress);
        };
        const auto onScanned = [this](const FolderScan& files) {
            scanned.push_back(files.paths);
            stagesAtScan = log.stages();
        };
        follow(driftwell::deploy(*client, site.path(), name, config, onStage, stops, onProgress, onScanned), ending);
        return ending;
    }

    DeployResponse deploy() {
        const std::shared_ptr<Ending> ending = start();
        tests::waitUntil([&] { return ending->isThere(); });
        if (ending->failure) {
            std::rethrow_exception(ending->failure);
        }
        return *ending->response;
    }

    /// The platform error that the deployment ends with.
    PlatformError failure() {
        try {
            deploy();
            throw std::runtime_error("the deployment succeeded");
        } catch (const PlatformError& failure) {
            return failure;
        }
    }

    static void expectCancelled(const std::shared_ptr<Ending>& ending) {
        tests::waitUntil([&] { return ending->isThere(); });
        ASSERT_TRUE(ending->failure) << "the deployment succeeded";
        EXPECT_THROW(std::rethrow_exception(ending->failure), Cancelled);
    }

    /// Waits until the condition holds; `what` is told when it does not.
    static void expectSoon(const std::function<bool()>& condition, const char* what) {
        try {
            tests::waitUntil(condition);
        } catch (const std::runtime_error&) {
            ADD_FAILURE() << what << "; open is\n" << tests::ProcessState::now();
        }
    }

    static void expectArchiveIsClosed() {
        expectSoon([] { return !tests::ProcessState::now().holdsOpen("/site.tgz"); }, "the archive is still open");
    }

    /// At once no file and no child; and once the client is gone and the server has seen it, no descriptor.
    void expectNothingIsLeft() {
        EXPECT_THAT(temporaryFolders(), IsEmpty());
        EXPECT_EQ(tests::ProcessState::now().children, before.children);
        packingHold.reset();
        if (hold) {
            hold->release();
        }
        client.reset();
        expectSoon([this] { return tests::ProcessState::now() == before; }, "more is open than before");
    }

    [[nodiscard]] std::vector<std::filesystem::path> temporaryFolders() const {
        return {std::filesystem::directory_iterator(temporary.path()), {}};
    }

    /// Makes tar's compressor wait for releasePacking().
    void holdPacking() {
        // tar and what it starts may read there.
        const std::filesystem::path hold = bundle / "Helpers/hold";
        std::filesystem::create_directories(hold.parent_path());
        checked(::mkfifo(hold.c_str(), S_IRUSR | S_IWUSR), "mkfifo");
        packingHold = UniqueFd(checked(::open(hold.c_str(), O_RDWR | O_CLOEXEC), "open"));
        bundle.write("Helpers/gzip", "#!/bin/sh\n"
                                     ": >'" +
                                         (records / "started").string() +
                                         "'\n"
                                         "read line <'" +
                                         hold.string() +
                                         "'\n"
                                         "exec /usr/bin/gzip \"$@\"\n");
        checked(::chmod((bundle / "Helpers/gzip").c_str(), S_IRWXU), "chmod");
    }
    [[nodiscard]] bool isPackingHeld() const { return std::filesystem::exists(records / "started"); }
    void releasePacking() const { checked(::write(packingHold.get(), "\n", 1), "write"); }

    TestFolder site;
    TestFolder records;
    TestFolder bundle;
    TestFolder temporary;
    tests::FolderWatch made{temporary.path(), IN_CREATE};
    ScopedVariable temporaryVariable{"TMPDIR", QByteArray::fromStdString(temporary.path().string())};
    ScopedVariable tokenVariable{"DW_TOKEN", std::nullopt};

    PlatformServer server;
    std::optional<PlatformServer::Hold> hold;
    PlatformConfig config{QString::fromStdString(server.origin())};
    ConfigStore store{records / "config.json"};
    QString name = QStringLiteral("my-site");
    std::stop_source stop;
    std::stop_source end;
    StageLog log;
    std::mutex progressMutex;
    std::vector<DeployProgress> reported;
    std::vector<std::vector<std::string>> scanned;
    std::vector<DeployStage> stagesAtScan;
    std::function<void(DeployStage)> atStage;
    UniqueFd packingHold;
    tests::ProcessState before;
    std::optional<PlatformClient> client;
};

TEST_F(DeployTest, TellsOnceWhatItPacksBeforeItIsSent) {
    site.write("index.html", "x");
    site.write(".env", "secret");
    deploy();
    EXPECT_THAT(scanned, ElementsAre(ElementsAre("index.html")));
    EXPECT_THAT(stagesAtScan, ElementsAre(DeployStage::packing()));
}

TEST_F(DeployTest, TellsOfAnEmptyFolderToo) {
    EXPECT_EQ(failure().description(), QStringLiteral("folder has no deployable files"));
    EXPECT_THAT(scanned, ElementsAre(IsEmpty()));
}

TEST_F(DeployTest, SendsTheFolderAsAnArchiveAndGivesThePlatformsAnswer) {
    site.write("index.html", "<p>hello</p>");
    site.write("a/empty", "");
    site.write(".env", "secret");

    const DeployResponse expected{true, QStringLiteral("my-site"), QStringLiteral("https://my-site.example.org"), 12, 3,
                                  1};
    EXPECT_EQ(deploy(), expected);

    ASSERT_EQ(server.requests().size(), 1U);
    const std::vector<tests::ArchiveMember> members = tests::readArchive(server.requests().front().body);
    ASSERT_EQ(members.size(), 2U);
    EXPECT_EQ(members[0].name, "a/empty");
    EXPECT_EQ(members[1].name, "index.html");
    EXPECT_EQ(members[1].content, "<p>hello</p>");
    expectArchiveIsClosed();
    expectNothingIsLeft();
}

TEST_F(DeployTest, MakesOneRequestWithTheHeadersOfAnUpload) {
    site.write("index.html", "x");
    deploy();
    ASSERT_EQ(server.connections(), 1);
    ASSERT_EQ(server.requests().size(), 1U);
    const PlatformServer::Request request = server.requests().front();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.target, "/api/deploy?site=my-site");
    EXPECT_THAT(request.headers, Contains(Pair("content-type", "application/gzip")));
    EXPECT_THAT(request.headers, Contains(Pair("accept", "application/json")));
    EXPECT_THAT(request.headers, Contains(Pair("authorization", "Bearer token-1")));
    EXPECT_THAT(request.headers, Contains(Pair("content-length", std::to_string(request.body.size()))));
    EXPECT_THAT(request.headers, Not(Contains(Key("expect"))));
    EXPECT_THAT(request.headers, Not(Contains(Key("transfer-encoding"))));
}

TEST_F(DeployTest, SendsNoAuthorizationWithoutAToken) {
    store.signOut(config);
    site.write("index.html", "x");
    deploy();
    ASSERT_EQ(server.requests().size(), 1U);
    EXPECT_THAT(server.requests().front().headers, Not(Contains(Key("authorization"))));
}

TEST_F(DeployTest, PercentEncodesWhatCannotStandInAQuery) {
    site.write("index.html", "x");
    name = QStringLiteral("a b%#\u00e9\"/?&+-._~\n");
    deploy();
    ASSERT_EQ(server.requests().size(), 1U);
    EXPECT_EQ(server.requests().front().target, "/api/deploy?site=a%20b%25%23%C3%A9%22/?&+-._~%0A");
}

TEST_F(DeployTest, ReportsPackingThenTheUploadFromNothingToAll) {
    site.write("large", randomBytes(largerThanBuffers));
    deploy();
    const std::vector<DeployStage> stages = log.stages();
    ASSERT_GE(stages.size(), 4U) << "the upload was not reported on its way";
    EXPECT_EQ(stages[0], DeployStage::packing());
    EXPECT_EQ(stages[1], DeployStage::uploading(0));
    for (std::size_t i = 2; i < stages.size(); ++i) {
        EXPECT_EQ(stages[i].step, DeployStage::Step::Uploading);
        EXPECT_GT(stages[i].fraction, stages[i - 1].fraction);
    }
    EXPECT_EQ(stages.back().fraction, 1.0);
}

TEST_F(DeployTest, ReportsHowMuchOfTheArchiveIsSent) {
    site.write("large", randomBytes(largerThanBuffers));
    deploy();
    const std::scoped_lock lock(progressMutex);
    std::vector<DeployProgress> sent = reported;
    std::erase_if(sent, [](const DeployProgress& progress) { return progress.sentBytes == 0; });
    ASSERT_GE(sent.size(), 2U) << "the upload was not reported on its way";
    EXPECT_GE(sent.back().archiveBytes, static_cast<std::int64_t>(largerThanBuffers));
    EXPECT_EQ(sent.back().sentBytes, sent.back().archiveBytes);
    EXPECT_LT(sent.front().sentBytes, sent.back().sentBytes);
}

TEST_F(DeployTest, ReportsTheWholeUploadBeforeThePlatformAnswers) {
    site.write("index.html", "x");
    hold = server.holdAnswer(deployPath);
    const std::shared_ptr<Ending> ending = start();
    tests::waitUntil([&] { return hold->arrived() && log.stages().back() == DeployStage::uploading(1); });
    EXPECT_FALSE(ending->isThere());
    hold->release();
    tests::waitUntil([&] { return ending->isThere(); });
    EXPECT_TRUE(ending->response);
}

TEST_F(DeployTest, WorksInAPrivateTemporaryFolderUntilThePlatformHasAnswered) {
    site.write("b", "x");
    site.write("a/c", "x");
    hold = server.holdAnswer(deployPath);
    const std::shared_ptr<Ending> ending = start();
    tests::waitUntil([&] { return hold->arrived(); });

    ASSERT_EQ(temporaryFolders().size(), 1U);
    const std::filesystem::path working = temporaryFolders().front();
    const std::regex pattern("dw-deploy-[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
    EXPECT_TRUE(std::regex_match(working.filename().string(), pattern)) << working;
    struct stat attributes {};
    ASSERT_EQ(::stat(working.c_str(), &attributes), 0);
    EXPECT_EQ(attributes.st_mode & ALLPERMS, S_IRWXU);
    EXPECT_EQ(temporary.read((working.filename() / "files.txt").string()), "a/c\nb");
    EXPECT_EQ(temporary.read((working.filename() / "site.tgz").string()), server.requests().front().body);

    EXPECT_EQ(made.events().size(), 1U);
    hold->release();
    tests::waitUntil([&] { return ending->isThere(); });
    expectNothingIsLeft();
}

TEST_F(DeployTest, PacksTheFolderAsItIsNow) {
    site.write("old", "before");
    const FolderScan shown = FolderScan::scan(site.path());
    std::filesystem::remove(site / "old");
    site.write("new", "after");
    deploy();
    const std::vector<tests::ArchiveMember> members = tests::readArchive(server.requests().front().body);
    ASSERT_EQ(members.size(), 1U);
    EXPECT_EQ(members[0].name, "new");
    EXPECT_THAT(shown.paths, ElementsAre("old"));
}

TEST_F(DeployTest, TellsWhatCouldNotBeReadAndHowManyFilesWereSent) {
    site.write("file", "x");
    site.write("a/file", "x");
    site.write("locked/file", "x");
    for (const TestFolder* folder : {&site, &temporary, &records, &bundle}) {
        tests::giveToUnprivileged(folder->path());
    }
    const tests::Unprivileged person;
    const tests::ScopedMode locked(site / "locked", 0);
    server.answer(deployPath, 200, R"({"ok":true,"site":"s","url":"u","bytes":2,"files":1,"skipped":1})");
    const std::shared_ptr<Ending> ending = start();
    tests::waitUntil([&] { return ending->isThere(); });
    ASSERT_TRUE(ending->result) << describeFailure(*ending);
    EXPECT_EQ(ending->result->unreadable, (FolderScan::Unreadable{1, {"locked"}}));
    EXPECT_EQ(ending->result->sentFiles, 2);
    EXPECT_TRUE(countsAllFiles(ending->result->response, 2));
    EXPECT_FALSE(countsAllFiles(ending->result->response, 3));
}

TEST_F(DeployTest, RemovesWhatAKilledDeploymentHasLeftBehind) {
    const std::string left = "dw-deploy-01234567-89AB-4DEF-8123-456789ABCDEF";
    temporary.write(left + "/site.tgz", "large");
    site.write("index.html", "x");
    deploy();
    expectNothingIsLeft();
}

TEST_F(DeployTest, DeploysAgainOverAConnectionOfItsOwn) {
    site.write("index.html", "x");
    deploy();
    deploy();
    EXPECT_EQ(server.requests().size(), 2U);
    EXPECT_EQ(server.connections(), 2);
    expectArchiveIsClosed();
    expectNothingIsLeft();
}

TEST_F(DeployTest, LeavesTheFolderUntouched) {
    site.write("index.html", "x");
    site.write("a/b", "y");
    const tests::FolderWatch watch(site.path(), IN_CREATE | IN_DELETE | IN_MODIFY | IN_MOVE | IN_ATTRIB);
    deploy();
    EXPECT_THAT(watch.events(), IsEmpty());
}

TEST_F(DeployTest, FailsOnAFolderWithoutFilesBeforeAnythingIsMade) {
    site.write(".env", "x");
    site.write("node_modules/a", "x");
    const PlatformError error = failure();
    EXPECT_EQ(error.kind(), PlatformError::Kind::Api);
    EXPECT_EQ(error.description(), QStringLiteral("folder has no deployable files"));
    EXPECT_THAT(made.events(), IsEmpty());
    EXPECT_EQ(server.connections(), 0);
    EXPECT_THAT(log.stages(), ElementsAre(DeployStage::packing()));
    expectNothingIsLeft();
}

TEST_F(DeployTest, FailsOnAFolderThatCannotBeRead) {
    std::filesystem::remove(site.path());
    EXPECT_EQ(failure().description().toStdString(), "cannot read " + site.path().string());
    EXPECT_EQ(server.connections(), 0);
    expectNothingIsLeft();
}

TEST_F(DeployTest, SendsNothingWhenPackingFails) {
    site.write("a\nb", "x");
    EXPECT_EQ(failure().description().toStdString(),
              "tar exited with status 2: the name of “a␤b” holds a line break and cannot be packed");
    EXPECT_EQ(server.connections(), 0);
    EXPECT_THAT(log.stages(), ElementsAre(DeployStage::packing()));
    expectNothingIsLeft();
}

TEST_F(DeployTest, SendsNothingWhenAnArchiveOfThePiecesOfANameWasMade) {
    site.write(".env", "secret");
    site.write("a", "x");
    site.write("a\n.env", "x");
    EXPECT_THAT(failure().description().toStdString(), HasSubstr("holds a line break"));
    EXPECT_EQ(server.connections(), 0);
    expectNothingIsLeft();
}

TEST_F(DeployTest, FailsWithTheSystemsErrorWhereNoTemporaryFolderCanBeMade) {
    site.write("index.html", "x");
    const ScopedVariable nowhere("TMPDIR", QByteArray::fromStdString((site / "index.html").string()));
    EXPECT_THROW(deploy(), std::system_error);
    EXPECT_EQ(server.connections(), 0);
    expectNothingIsLeft();
}

TEST_F(DeployTest, FailsWithThePlatformsWordsAfterAllBytesWereSent) {
    site.write("index.html", "x");
    server.answer(deployPath, 507, R"({"error":"no room for this site","code":"full"})");
    const PlatformError error = failure();
    EXPECT_EQ(error.kind(), PlatformError::Kind::Api);
    EXPECT_EQ(error.description(), QStringLiteral("no room for this site"));
    EXPECT_EQ(server.requests().size(), 1U) << "once, and whole";
    EXPECT_EQ(server.connections(), 1);
    expectArchiveIsClosed();
    expectNothingIsLeft();
}

TEST_F(DeployTest, FailsWithTheStatusWhereThePlatformSaysNothing) {
    site.write("index.html", "x");
    server.answer(deployPath, 500, "");
    EXPECT_EQ(failure().description(), QStringLiteral("HTTP 500"));
    expectNothingIsLeft();
}

TEST_F(DeployTest, FailsAsNotSignedInWhereTheTokenIsRefused) {
    site.write("index.html", "x");
    server.answer(deployPath, 401, R"({"error":"who are you","code":"auth"})");
    EXPECT_EQ(failure().kind(), PlatformError::Kind::Unauthenticated);
    expectNothingIsLeft();
}

TEST_F(DeployTest, FailsOnAnAnswerThatIsNoRecord) {
    site.write("index.html", "x");
    server.answer(deployPath, 200, R"({"ok":true})");
    EXPECT_EQ(failure().description(), QStringLiteral("unexpected response for /api/deploy?site=my-site"));
    expectNothingIsLeft();
}

TEST_F(DeployTest, FailsOnceWhereTheConnectionIsLostBeforeTheAnswer) {
    site.write("index.html", "x");
    server.closeWithoutAnswer(deployPath);
    const PlatformError error = failure();
    EXPECT_EQ(error.kind(), PlatformError::Kind::Unreachable);
    EXPECT_EQ(error.description(), QStringLiteral("The connection to 127.0.0.1 was lost."));
    EXPECT_EQ(server.requests().size(), 1U);
    EXPECT_EQ(server.connections(), 1);
    expectNothingIsLeft();
}

TEST_F(DeployTest, FailsWhereThePlatformDoesNotAnswerInTime) {
    HttpLimits limits;
    limits.idle = std::chrono::milliseconds(300);
    client.emplace(Bundle(bundle.path()), store, limits);
    site.write("index.html", "x");
    hold = server.holdAnswer(deployPath);
    const PlatformError error = failure();
    EXPECT_EQ(error.kind(), PlatformError::Kind::Unreachable);
    EXPECT_EQ(error.description(), QStringLiteral("127.0.0.1 did not answer in time."));
    expectArchiveIsClosed();
    expectNothingIsLeft();
}

TEST_F(DeployTest, StoppedBeforeTheScanMakesNothing) {
    site.write("index.html", "x");
    atStage = [this](DeployStage) {
        stop.request_stop();
    };
    expectCancelled(start());
    EXPECT_THAT(made.events(), IsEmpty());
    EXPECT_EQ(server.connections(), 0);
    EXPECT_THAT(log.stages(), ElementsAre(DeployStage::packing()));
    expectNothingIsLeft();
}

TEST_F(DeployTest, StoppedWhileItScansSendsNothing) {
    for (int i = 0; i < 3'000; ++i) {
        site.write(std::to_string(i) + "/file", "x");
    }
    const std::shared_ptr<Ending> ending = start();
    EXPECT_FALSE(ending->isThere());
    stop.request_stop();
    expectCancelled(ending);
    EXPECT_EQ(server.connections(), 0);
    EXPECT_THAT(log.stages(), ElementsAre(DeployStage::packing()));
    expectNothingIsLeft();
}

TEST_F(DeployTest, StoppedWhileTarRunsEndsWhenTarHasEndedAndSendsNothing) {
    site.write("index.html", "x");
    holdPacking();
    const std::shared_ptr<Ending> ending = start();
    tests::waitUntil([this] { return isPackingHeld(); });
    const std::set<pid_t> running = tests::ProcessState::now().children;
    EXPECT_EQ(running.size(), 1U);

    stop.request_stop();
    tests::settle();
    EXPECT_FALSE(ending->isThere());
    EXPECT_EQ(tests::ProcessState::now().children, running) << "tar was ended";
    EXPECT_EQ(temporaryFolders().size(), 1U);

    releasePacking();
    expectCancelled(ending);
    EXPECT_EQ(server.connections(), 0);
    EXPECT_THAT(log.stages(), ElementsAre(DeployStage::packing()));
    expectNothingIsLeft();
}

TEST_F(DeployTest, TheEndOfTheProcessInterruptsPacking) {
    site.write("index.html", "x");
    holdPacking();
    const std::shared_ptr<Ending> ending = start();
    tests::waitUntil([this] { return isPackingHeld(); });
    end.request_stop();
    expectCancelled(ending);
    EXPECT_EQ(server.connections(), 0);
    expectNothingIsLeft();
}

TEST_F(DeployTest, StoppedBetweenPackingAndUploadingSendsNothing) {
    site.write("index.html", "x");
    atStage = [this](DeployStage stage) {
        if (stage.step == DeployStage::Step::Uploading) {
            stop.request_stop();
        }
    };
    expectCancelled(start());
    EXPECT_EQ(server.connections(), 0);
    EXPECT_THAT(log.stages(), ElementsAre(DeployStage::packing(), DeployStage::uploading(0)));
    expectNothingIsLeft();
}

TEST_F(DeployTest, StoppedWhileItUploadsEndsAtOnce) {
    site.write("large", randomBytes(largerThanBuffers));
    hold = server.holdBody(deployPath);
    const std::shared_ptr<Ending> ending = start();
    tests::waitUntil([this] { return hold->arrived() && log.stages().back().fraction > 0; });
    EXPECT_FALSE(ending->isThere());

    stop.request_stop();
    expectCancelled(ending);
    // What the kernel has taken in comes before the end of the connection.
    hold->release();
    tests::waitUntil([this] { return hold->abandoned(); });
    EXPECT_LT(log.stages().back().fraction, 1.0);
    expectNothingIsLeft();
    EXPECT_THAT(server.requests(), IsEmpty()) << "the archive came whole";
}

TEST_F(DeployTest, StoppedWhileThePlatformWorksEndsAtOnce) {
    site.write("index.html", "x");
    hold = server.holdAnswer(deployPath);
    const std::shared_ptr<Ending> ending = start();
    tests::waitUntil([this] { return hold->arrived(); });
    EXPECT_FALSE(ending->isThere());

    stop.request_stop();
    expectCancelled(ending);
    tests::waitUntil([this] { return hold->abandoned(); });
    expectNothingIsLeft();
}

TEST_F(DeployTest, IsStoppedFromAnyThread) {
    site.write("index.html", "x");
    hold = server.holdAnswer(deployPath);
    const std::shared_ptr<Ending> ending = start();
    tests::waitUntil([this] { return hold->arrived(); });
    std::thread([this] { stop.request_stop(); }).join();
    expectCancelled(ending);
    expectNothingIsLeft();
}

TEST_F(DeployTest, ChangesNothingWhenAStopComesAfterItsEnd) {
    site.write("index.html", "x");
    const std::shared_ptr<Ending> ending = start();
    tests::waitUntil([&] { return ending->isThere(); });
    stop.request_stop();
    tests::settle();
    EXPECT_TRUE(ending->response);
    expectNothingIsLeft();
}

TEST_F(DeployTest, EndsWhenTheClientGoesWhileItUploads) {
    site.write("large", randomBytes(largerThanBuffers));
    hold = server.holdBody(deployPath);
    const std::shared_ptr<Ending> ending = start();
    tests::waitUntil([this] { return hold->arrived() && log.stages().back().fraction > 0; });
    client.reset();
    expectCancelled(ending);
    expectNothingIsLeft();
}

} // namespace
} // namespace driftwell
