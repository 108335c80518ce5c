#include "bench/LinkedRefreshBenchmark.h"

#include "bench/ProcessRun.h"
#include "bench/SampleModel.h"
#include "collab/Git.h"
#include "core/Catalog.h"
#include "core/Collaboration.h"
#include "core/Connection.h"
#include "support/TemporaryFolder.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <stdexcept>

namespace driftwell::bench {

namespace {

constexpr int rounds = 15;
constexpr int folders = 20;

std::string nameOf(int number) {
    return "site-" + std::to_string(number);
}

std::string shell(const std::string& script) {
    return outputOf({"/bin/sh", "-c", script});
}

/// Folders that are a commit ahead of their sites, so that every look has to run all its commands.
class LinkedFolders {
public:
    LinkedFolders() {
        qputenv("HOME", QByteArray::fromStdString(m_home.path().string()));
        for (int i = 0; i < folders; ++i) {
            std::string head = shell("git init --quiet -b main " + path(i) + " && cd " + path(i) +
                                     " && git config user.name Ada && git config user.email ada@example.org"
                                     " && echo one > index.html && git add -A && git commit --quiet -m one"
                                     " && git rev-parse HEAD && echo two > index.html && git commit --quiet -a -m two");
            head.pop_back();
            m_heads.push_back(head);
        }
    }

    [[nodiscard]] std::string sites() const {
        nlohmann::json sites = nlohmann::json::array();
        for (int i = 0; i < folders; ++i) {
            sites.push_back({{"name", nameOf(i)},
                             {"url", "https://" + nameOf(i) + ".sites.example.org/"},
                             {"hasPrevious", false},
                             {"collab", {{"enabled", true}, {"head", m_heads[static_cast<std::size_t>(i)]}}}});
        }
        return nlohmann::json{{"sites", sites}}.dump();
    }

    void linkTo(SampleModel& model) const {
        const PlatformConfig config = *model.state().connection().config();
        nlohmann::json paths = nlohmann::json::object();
        for (int i = 0; i < folders; ++i) {
            const std::string url = Git::remoteUrl(config, QString::fromStdString(nameOf(i))).toStdString();
            std::ignore = shell("git -C " + path(i) + " remote add driftwell " + url);
            paths[nameOf(i)] = path(i);
        }
        model.state().client().store().saveConfig({{"folders", paths}});
    }

    /// The same commands, typed. Gives the seconds.
    [[nodiscard]] double loop() const {
        std::string script;
        for (int i = 0; i < folders; ++i) {
            script += "cd " + path(i) +
                      " && git config --file .git/config --no-includes --list -z && git remote get-url driftwell"
                      " && git symbolic-ref --short HEAD && git rev-parse HEAD && git merge-base --is-ancestor " +
                      m_heads[static_cast<std::size_t>(i)] + " HEAD || exit 1\n";
        }
        return run({"/bin/sh", "-c", script}).wallSeconds;
    }

private:
    [[nodiscard]] std::string path(int number) const { return (m_home.path() / nameOf(number)).string(); }

    TemporaryFolder m_home{"driftwell-bench-"};
    std::vector<std::string> m_heads;
};

/// Counts what a window would be woken for.
void countChanges(AppState& state, int& changes) {
    const auto count = [&changes] {
        ++changes;
    };
    Collaboration& collaboration = state.collaboration();
    QObject* const context = &collaboration;
    QObject::connect(&collaboration, &Collaboration::collabStatesChanged, context, count);
    QObject::connect(&collaboration, &Collaboration::collabBusyChanged, context, count);
    QObject::connect(&collaboration, &Collaboration::collabErrorChanged, context, count);
    QObject::connect(&state.catalog(), &Catalog::sitesChanged, context, count);
    QObject::connect(&state.connection(), &Connection::statusChanged, context, count);
}

} // namespace

std::vector<Row> measureLinkedRefresh() {
    const LinkedFolders linked;
    SampleModel model({linked.sites()});
    linked.linkTo(model);
    model.refresh();
    if (model.state().collaboration().collabStates().size() != folders) {
        throw std::runtime_error("not every folder was looked at");
    }
    int changes = 0;
    countChanges(model.state(), changes);
    const auto refresh = [&model] {
        const auto start = std::chrono::steady_clock::now();
        model.refresh();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    const Pair pair = inTurn(rounds, refresh, [&linked] { return linked.loop(); });
    const double ratio = 1 / pair.faster;
    return {{"a refresh with 20 linked folders, nothing changed, in process",
             fixed(pair.ours, 3, "s, ") + std::to_string(changes) + " notifications",
             "the same five git commands in each, in a shell: " + fixed(pair.theirs, 3, "s"),
             fixed(ratio, 2, "times as long"), "at most 1.10 times, and no observer notified",
             ratio <= 1.1 && changes == 0}};
}

} // namespace driftwell::bench
