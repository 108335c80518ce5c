#include "collab/LeftLocks.h"
#include "support/ChildProcess.h"
#include "tests/collab/CollabFixture.h"
#include "tests/support/TestSize.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <set>
#include <sstream>

namespace driftwell::tests {
namespace {

using Outcome = CollabEngine::SyncOutcome;
using Side = CollabEngine::Side;

/// A folder, its site and what is done with them.
struct Scene {
    std::string operation;
    /// How the person goes on where there is a conflict.
    Side side = Side::Ours;
    bool isLinked = true;
    /// What a teammate pushes after the folder was linked, and what the person then does in the folder.
    std::string theirs = "echo theirs > other.html && echo new > theirs.html && rm gone.html";
    std::string mine = "echo mine > index.html && echo new > mine.html && rm page.html";
    /// The folder is in the middle of a merge; then this is done in it.
    std::optional<std::string> inMerge = {};

    friend void PrintTo(const Scene& scene, std::ostream* stream) { *stream << scene.operation << ": " << scene.mine; }
};

enum class Victim { Git, Application };
/// A step is the start of a git, or a change that one makes to a file. Somebody is killed at one of this many; with
/// DRIFTWELL_TEST_EVERY_KILL at each, which takes an hour.
long stride() {
    return std::getenv("DRIFTWELL_TEST_EVERY_KILL") ? 1 : rounds(61, 13);
}

class KilledGit : public CollabFixture, public testing::WithParamInterface<std::tuple<Scene, Victim>> {
protected:
    KilledGit() {
        const Scene& scene = std::get<Scene>(GetParam());
        m_platform.addSite("site", "echo base > index.html && echo base > other.html && echo base > page.html && echo "
                                   "base > gone.html && mkdir sub && echo base > sub/deep.html");
        if (scene.isLinked) {
            m_folder = linkedFolder("folder");
        } else if (scene.operation == "link") {
            m_folder = newFolder("folder");
        }
        m_platform.push("site", scene.theirs);
        if (scene.operation != "clone") {
            asTeammate(m_folder, scene.mine);
        }
        m_before = contents();
        if (scene.inMerge) {
            EXPECT_EQ(await(CollabEngine::update(m_folder, access(), identity(), {})), Outcome::conflict());
            if (!scene.inMerge->empty()) {
                asTeammate(m_folder, *scene.inMerge);
                m_before.merge(contents());
            }
        }
        asTeammate(m_home.path(), "mkdir saved && cp -a " + m_platform.repository("site").string() +
                                      " saved/site && if [ -e folder ]; then cp -a folder saved/folder; fi");
    }

    void restore() const {
        const std::string repository = m_platform.repository("site").string();
        asTeammate(m_home.path(), "rm -rf folder " + repository + " && cp -a saved/site " + repository +
                                      " && if [ -e saved/folder ]; then cp -a saved/folder .; fi");
    }

    /// Does the operation, in which somebody is killed at a step, and gives how many steps there were.
    long operate(long step) {
        const std::filesystem::path counter = m_home / "counter";
        m_home.write("counter", "");
        ChildProcess::Command command;
        command.program = COLLAB_OPERATION;
        command.arguments = {std::get<Scene>(GetParam()).operation, m_platform.origin(), "site", m_folder.string()};
        command.environment = ProcessEnvironment::inherited();
        command.environment.set("FAULTY_GIT_COUNTER", counter.string());
        command.environment.set("FAULTY_GIT_AT", std::to_string(step));
        command.environment.set("FAULTY_GIT_KILLS",
                                std::get<Victim>(GetParam()) == Victim::Git ? "git" : "application");
        const ChildProcess::Result result = await(ChildProcess::run(std::move(command), {}));
        m_told = result.standardOutput + result.standardError;
        waitUntil([this] { return !isGitAtWork(m_folder); });
        return static_cast<long>(std::filesystem::file_size(counter));
    }

    /// Of an operation with this many steps. Not the same for every scene.
    [[nodiscard]] static long firstStep(long steps) {
        const std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
        return 1 + static_cast<long>(name.size()) * 7 % std::min(stride(), steps);
    }

    /// The object names of what is in the folder's files.
    [[nodiscard]] std::set<std::string> contents() const {
        return std::filesystem::exists(m_folder)
                   ? words(asTeammate(m_folder, "find . -path ./.git -prune -o -type f -print0 | xargs -0 git "
                                                "hash-object --no-filters --"))
                   : std::set<std::string>();
    }

    /// The object names of all that a reference or its log reaches.
    [[nodiscard]] std::set<std::string> history() const {
        return words(asTeammate(m_folder, "git rev-list --objects --all --reflog HEAD 2>/dev/null || true"));
    }

    static std::set<std::string> words(const std::string& text) {
        std::istringstream stream(text);
        return {std::istream_iterator<std::string>(stream), {}};
    }

    void expectThatNothingIsLost() const {
        std::set<std::string> kept = contents();
        if (!std::includes(kept.begin(), kept.end(), m_before.begin(), m_before.end())) {
            kept.merge(history());
        }
        EXPECT_TRUE(std::includes(kept.begin(), kept.end(), m_before.begin(), m_before.end()));
    }

    [[nodiscard]] std::optional<CollabState> state() const {
        return await(CollabEngine::siteState(site(m_platform.head("site")), m_folder, config(), {}));
    }

    /// Has the person go on as the application offers it, until the work is published.
    void goOn() const {
        const Side side = std::get<Scene>(GetParam()).side;
        Outcome outcome;
        for (int attempt = 0; attempt < 4 && outcome != Outcome::published(); ++attempt) {
            const std::optional<CollabState> standing = state();
            if (!standing || standing->kind == CollabState::Kind::NeedsAttention) {
                begin();
            } else if (standing->kind == CollabState::Kind::Conflict) {
                outcome = await(CollabEngine::resolveTaking(side, m_folder, access(), identity(), {}));
            } else {
                outcome = await(CollabEngine::deploy(m_folder, access(), identity(), {}));
            }
            ASSERT_NE(outcome.kind == Outcome::Kind::Failed && !outcome.text.isEmpty(), true)
                << outcome.text.toStdString();
        }
        EXPECT_EQ(outcome, Outcome::published());
    }

    /// Links or clones.
    void begin() const {
        const bool isClone = std::get<Scene>(GetParam()).operation == "clone";
        const QString name = QStringLiteral("site");
        std::optional<QString> failure = isClone ? await(CollabEngine::clone(name, m_folder, access(), {}))
                                                 : await(CollabEngine::link(name, m_folder, access(), {}));
        if (failure == QStringLiteral("the folder already has version control")) {
            // A git that had failed when one of its own was killed has left it, and the state says so.
            EXPECT_EQ(state(), CollabState::needsAttention(QStringLiteral("the folder’s history is unreadable")));
            asTeammate(m_folder, "rm -rf .git");
            failure = await(CollabEngine::link(name, m_folder, access(), {}));
        }
        EXPECT_EQ(failure, std::nullopt) << failure->toStdString();
    }

    [[nodiscard]] std::string published() const {
        return asTeammate(m_platform.repository("site"), "git ls-tree -r main");
    }

    std::filesystem::path m_folder = m_home / "folder";
    std::set<std::string> m_before;
    std::string m_told;
};

TEST_P(KilledGit, LosesNothingAndIsGoneOnFrom) {
    const long steps = operate(0);
    ASSERT_GT(steps, 0);
    goOn();
    const std::string whole = published();
    long kills = 0;
    for (long step = firstStep(steps);; step += stride()) {
        restore();
        if (operate(step) < step) {
            break;
        }
        ++kills;
        SCOPED_TRACE("killed at step " + std::to_string(step) + "; it told: " + m_told);
        if (std::filesystem::exists(m_folder)) {
            expectThatNothingIsLost();
            // What the next start would wait for.
            asTeammate(m_folder, "find .git -name '*.lock' -exec touch -d '1 hour ago' {} + 2>/dev/null || true");
        }
        goOn();
        EXPECT_EQ(published(), whole);
        EXPECT_EQ(asTeammate(m_folder, "git status --porcelain; git ls-tree -r HEAD"), whole);
        expectThatNothingIsLost();
    }
    EXPECT_GT(kills, 0);
    RecordProperty("kills", static_cast<int>(kills));
}

std::vector<Scene> scenes() {
    const std::string both = "echo theirs > index.html && echo theirs > other.html";
    Scene deploy{"deploy"};
    Scene update{"update"};
    Scene conflicting{"deploy"};
    conflicting.theirs = both;
    Scene takingMine = conflicting;
    takingMine.operation = "take-mine";
    takingMine.inMerge = "";
    Scene takingTheirs = takingMine;
    takingTheirs.operation = "take-theirs";
    takingTheirs.side = Side::Theirs;
    Scene completing = takingMine;
    completing.operation = "complete-merge";
    completing.inMerge = "echo both > index.html";
    Scene link{"link"};
    link.isLinked = false;
    link.mine = "echo mine > index.html && echo new > mine.html";
    Scene clone = link;
    clone.operation = "clone";
    return {deploy, update, conflicting, takingMine, takingTheirs, completing, link, clone};
}

std::string nameOf(const testing::TestParamInfo<KilledGit::ParamType>& test) {
    constexpr std::array<const char*, 8> scenes{"Deploying",  "Updating",     "DeployingIntoAConflict",
                                                "TakingMine", "TakingTheirs", "Completing",
                                                "Linking",    "Cloning"};
    return std::string(scenes.at(test.index / 2)) +
           (std::get<Victim>(test.param) == Victim::Git ? "WithoutGit" : "WithoutTheApplication");
}

INSTANTIATE_TEST_SUITE_P(At, KilledGit,
                         testing::Combine(testing::ValuesIn(scenes()),
                                          testing::Values(Victim::Git, Victim::Application)),
                         nameOf);

} // namespace
} // namespace driftwell::tests
