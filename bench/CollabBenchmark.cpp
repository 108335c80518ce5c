#include "bench/CollabBenchmark.h"

#include "bench/ProcessRun.h"
#include "bench/SampleSite.h"
#include "collab/CollabEngine.h"
#include "support/TemporaryFolder.h"
#include "tests/collab/GitPlatform.h"

#include <QEventLoop>

#include <chrono>
#include <fstream>
#include <stdexcept>

namespace driftwell::bench {

namespace {

using Outcome = CollabEngine::SyncOutcome;

constexpr int rounds = 15;
constexpr int files = 2000;
constexpr int changed = 10;

template <class T> Task<> quitWhenDone(Task<T> work, T& result, QEventLoop& loop) {
    result = co_await std::move(work);
    loop.quit();
}

template <class T> T resultOf(Task<T> work) {
    QEventLoop loop;
    T result{};
    detach(quitWhenDone(std::move(work), result, loop));
    loop.exec();
    return result;
}

/// Somebody with two sites of 2,000 files each and a folder for each.
class Desk {
public:
    Desk() {
        qputenv("HOME", QByteArray::fromStdString(m_home.path().string()));
        for (const char* const name : {"ours", "typed"}) {
            const std::filesystem::path folder = m_home.path() / name;
            makeManyFiles(folder, files);
            m_platform.addSite(name, "cp -a " + folder.string() + "/. .");
            if (const auto failure = resultOf(CollabEngine::link(QString::fromLatin1(name), folder, access(), {}))) {
                throw std::runtime_error(failure->toStdString());
            }
            // As long as a file is as young as git's note of it, git reads it to see whether it has changed.
            std::ignore = outputOf({"/bin/sh", "-c", "sleep 1; git -C " + folder.string() + " status --porcelain"});
        }
    }

    /// Each in seconds.
    double publish() {
        change("ours");
        const auto start = std::chrono::steady_clock::now();
        Identity identity;
        identity.name = QStringLiteral("Ada");
        identity.email = QStringLiteral("ada@example.org");
        const Outcome outcome = resultOf(CollabEngine::deploy(m_home.path() / "ours", access(), identity, {}));
        if (outcome != Outcome::published()) {
            throw std::runtime_error("not published: " + outcome.text.toStdString());
        }
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    double type() {
        change("typed");
        const std::string bearer = std::string("Authorization: Bearer ") + tests::GitPlatform::token;
        return run({"/bin/sh", "-c",
                    "cd " + (m_home.path() / "typed").string() +
                        " && git add -A && git commit --quiet -m 'Ten files' && git pull --quiet --no-rebase "
                        "driftwell main && git push --quiet driftwell main"},
                   {"GIT_CONFIG_COUNT=3", "GIT_CONFIG_KEY_0=http.extraHeader", "GIT_CONFIG_VALUE_0=" + bearer,
                    "GIT_CONFIG_KEY_1=user.name", "GIT_CONFIG_VALUE_1=Ada", "GIT_CONFIG_KEY_2=user.email",
                    "GIT_CONFIG_VALUE_2=ada@example.org"})
            .wallSeconds;
    }

private:
    [[nodiscard]] Git::Access access() const {
        return {PlatformConfig(QString::fromStdString(m_platform.origin())),
                QString::fromLatin1(tests::GitPlatform::token)};
    }

    /// Changes ten of the files, in as many folders.
    void change(const std::string& name) {
        ++m_changes;
        int number = 0;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_home.path() / name)) {
            const bool isOfSite = entry.path().string().find("/.git/") == std::string::npos;
            if (isOfSite && entry.is_regular_file() && number++ % (files / changed) == 0) {
                std::ofstream(entry.path()) << "changed " << m_changes << " " << number << "\n";
            }
        }
    }

    TemporaryFolder m_home{"driftwell-bench-"};
    tests::GitPlatform m_platform;
    int m_changes = 0;
};

} // namespace

std::vector<Row> measureCollab() {
    Desk desk;
    const Pair pair = inTurn(
        rounds, [&desk] { return desk.publish(); }, [&desk] { return desk.type(); });
    const double ratio = 1 / pair.faster;
    return {{"publish ten changed files of 2,000 of a linked folder, in process", fixed(pair.ours, 3, "s"),
             "`git add`, `git commit`, `git pull`, `git push`: " + fixed(pair.theirs, 3, "s"),
             fixed(ratio, 2, "times as long"), "at most 1.10 times", ratio <= 1.1}};
}

} // namespace driftwell::bench
