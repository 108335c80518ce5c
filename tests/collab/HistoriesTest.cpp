#include "collab/LeftLocks.h"
#include "support/ChildProcess.h"
#include "tests/collab/CollabFixture.h"
#include "tests/support/TestSize.h"

#include <QCryptographicHash>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <sstream>

namespace driftwell::tests {
namespace {

namespace fs = std::filesystem;

using Kind = CollabState::Kind;
using Outcome = CollabEngine::SyncOutcome;
using Side = CollabEngine::Side;

std::uint32_t numberFrom(const char* variable, std::uint32_t usual) {
    const char* value = std::getenv(variable);
    return value ? static_cast<std::uint32_t>(std::strtoul(value, nullptr, 10)) : usual;
}

/// One of two people with a folder of the same site.
struct Person {
    std::string name;
    fs::path folder;
    /// What the person saved last under each path, as the name of a git object.
    std::map<std::string, std::string> saved = {};
    /// On a branch of their own.
    bool isAstray = false;
};

/// Histories of two folders and a platform, drawn by lot: people and agents edit, publish, update, solve conflicts,
/// change branches and are killed, and collaboration is switched off and on. DRIFTWELL_TEST_SEED chooses the first
/// history, and DRIFTWELL_TEST_HISTORIES how many there are.
class Histories : public CollabFixture {
protected:
    Histories() {
        m_platform.addSite("site",
                           "mkdir sub && for file in a.html b.html sub/c.html; do seq 12 > $file; done && printf "
                           "'\\0base' > logo.png");
        asTeammate(m_home.path(), "mkdir saved && cp -a " + repository() + " saved/site");
        for (Person& person : m_people) {
            person.folder = linkedFolder(person.name);
            asTeammate(m_home.path(), "mv " + person.name + " saved");
        }
    }

    void begin(std::uint32_t seed) {
        m_random.seed(seed);
        m_story.clear();
        m_isEnabled = true;
        for (Person& person : m_people) {
            person.saved.clear();
            person.isAstray = false;
        }
        asTeammate(m_home.path(), "rm -rf ada bob " + repository() + " " + repository() +
                                      ".off && cp -a saved/ada "
                                      "saved/bob . && cp -a saved/site " +
                                      repository());
    }

    std::uint32_t draw(std::uint32_t below) { return static_cast<std::uint32_t>(m_random() % below); }
    template <class Choice> Choice oneOf(std::vector<Choice> choices) {
        return choices[draw(static_cast<std::uint32_t>(choices.size()))];
    }

    void step() {
        Person& person = m_people[draw(2)];
        switch (draw(14)) {
        case 0:
        case 1:
        case 2:
            return edit(person);
        case 3:
            return remove(person);
        case 4:
        case 5:
        case 6:
            return operate(person, "deploy");
        case 7:
            return operate(person, "update");
        case 8:
        case 9:
            return killIn(person);
        case 10:
            return letAgentRepair(person);
        case 11:
            return solve(person, oneOf<std::string>({"take-mine", "take-theirs"}));
        case 12:
            return changeBranch(person);
        default:
            return switchCollaboration();
        }
    }

    void tell(const Person& person, const std::string& what) { m_story += person.name + " " + what + "\n"; }

    void edit(Person& person) {
        // What is in conflict is for the agent, or for a side.
        if (isMerging(person)) {
            return;
        }
        const std::string path = oneOf<std::string>({"a.html", "b.html", "sub/c.html", "logo.png", "new.html"});
        const fs::path file = person.folder / path;
        const std::string mark = person.name + " " + std::to_string(m_random());
        std::vector<std::string> lines = linesOf(file);
        if (path == "logo.png") {
            lines = {std::string(1, '\0') + mark};
        } else if (lines.empty()) {
            lines = {mark};
        } else {
            lines[draw(static_cast<std::uint32_t>(lines.size()))] = mark;
        }
        save(person, path, lines);
        tell(person, "edits " + path);
    }

    void save(Person& person, const std::string& path, const std::vector<std::string>& lines) const {
        std::error_code error;
        fs::create_directories((person.folder / path).parent_path(), error);
        std::ofstream file(person.folder / path, std::ios::binary | std::ios::trunc);
        for (const std::string& line : lines) {
            file << line << '\n';
        }
        file.close();
        person.saved[path] = objectOf(person.folder / path);
    }

    void remove(Person& person) {
        if (isMerging(person)) {
            return;
        }
        const std::string path = oneOf<std::string>({"a.html", "b.html", "sub/c.html", "new.html"});
        fs::remove(person.folder / path);
        person.saved.erase(path);
        tell(person, "removes " + path);
    }

    void operate(const Person& person, const std::string& operation) {
        tell(person, operation);
        const Identity identity = identityOf(person);
        const Outcome outcome = operation == "deploy"
                                    ? await(CollabEngine::deploy(person.folder, access(), identity, {}))
                                    : await(CollabEngine::update(person.folder, access(), identity, {}));
        m_story += told(outcome);
        judge(person, outcome);
    }

    void solve(const Person& person, const std::string& operation) {
        if (stateOf(person).kind != Kind::Conflict) {
            return;
        }
        tell(person, operation);
        const Side side = operation == "take-mine" ? Side::Ours : Side::Theirs;
        Outcome outcome = await(CollabEngine::resolveTaking(side, person.folder, access(), identityOf(person), {}));
        if (outcome.text.contains(QStringLiteral("version"))) {
            // A side that has removed the file cannot be taken of it.
            const Side other = side == Side::Ours ? Side::Theirs : Side::Ours;
            outcome = await(CollabEngine::resolveTaking(other, person.folder, access(), identityOf(person), {}));
            if (outcome.text.contains(QStringLiteral("version"))) {
                repairByHand(person);
                outcome = await(CollabEngine::deploy(person.folder, access(), identityOf(person), {}));
            }
        }
        m_story += told(outcome);
        judge(person, outcome);
    }

    /// An agent that does run git, where one side of a conflict is no file.
    void repairByHand(const Person& person) {
        tell(person, "has an agent repair with git");
        asTeammate(person.folder, "git add -A && git commit --quiet --no-edit");
    }

    /// Takes the marker lines out, as an agent is told to, and goes on as the application does.
    void letAgentRepair(const Person& person) {
        if (stateOf(person).kind != Kind::Conflict) {
            return;
        }
        tell(person, "has an agent repair the files");
        asTeammate(person.folder, "git diff --name-only --diff-filter=U -z | xargs -0 -r sed -i -E "
                                  "'/^(<{7}|={7}$|>{7})/d' 2>/dev/null || true");
        if (stateOf(person).kind == Kind::Resolved) {
            publishMerge(person);
        }
    }

    void publishMerge(const Person& person) {
        const auto failure = await(CollabEngine::completeMerge(person.folder, identityOf(person), {}));
        m_story += failure ? failure->toStdString() : "";
        operate(person, "deploy");
    }

    void killIn(const Person& person) {
        const std::string operation = oneOf<std::string>({"deploy", "deploy", "update", "take-mine", "take-theirs"});
        if (operation.starts_with("take") != (stateOf(person).kind == Kind::Conflict)) {
            return;
        }
        const std::string victim = oneOf<std::string>({"git", "application"});
        const std::string at = std::to_string(1 + draw(140));
        tell(person, operation + ", in which the " + victim + " is killed at step " + at);
        m_home.write("counter", "");
        ChildProcess::Command command;
        command.program = COLLAB_OPERATION;
        command.arguments = {operation, m_platform.origin(), "site", person.folder.string()};
        command.environment = ProcessEnvironment::inherited();
        command.environment.set("FAULTY_GIT_COUNTER", (m_home / "counter").string());
        command.environment.set("FAULTY_GIT_AT", at);
        command.environment.set("FAULTY_GIT_KILLS", victim);
        const ChildProcess::Result result = await(ChildProcess::run(std::move(command), {}));
        m_story += result.standardOutput + "\n";
        waitUntil([&person] { return !isGitAtWork(person.folder); });
        // What the next start would wait for.
        asTeammate(person.folder, "find .git -name '*.lock' -exec touch -d '1 hour ago' {} +");
    }

    void changeBranch(Person& person) {
        if (person.isAstray) {
            return comeBack(person);
        }
        if (isMerging(person)) {
            return;
        }
        tell(person, "changes to a branch of their own");
        // A git of the person's own would be in the way of nothing; one that was killed before may have left a lock.
        await(removeLeftLocks(person.folder, {}));
        asTeammate(person.folder, "git checkout --quiet -B own");
        person.isAstray = true;
        EXPECT_EQ(stateOf(person),
                  CollabState::needsAttention(QStringLiteral("the folder is on branch “own”, not main")));
    }

    /// As the agent is told: back on "main" with all recent work.
    void comeBack(Person& person) {
        tell(person, "has an agent come back to main");
        await(removeLeftLocks(person.folder, {}));
        asTeammate(person.folder,
                   "git add -A && { git diff --cached --quiet || git commit --quiet -m 'On the way'; } && "
                   "git checkout --quiet main && git merge --quiet own");
        person.isAstray = false;
    }

    void switchCollaboration() {
        m_isEnabled = !m_isEnabled;
        m_story += m_isEnabled ? "collaboration is switched on\n" : "collaboration is switched off\n";
        fs::rename(repository() + (m_isEnabled ? ".off" : ""), repository() + (m_isEnabled ? "" : ".off"));
    }

    /// What an operation says must be so.
    void judge(const Person& person, const Outcome& outcome) {
        const std::string head = "git rev-parse HEAD main && git status --porcelain | head -c 200";
        switch (outcome.kind) {
        case Outcome::Kind::Published: {
            EXPECT_TRUE(m_isEnabled && !person.isAstray);
            const std::string published = headOfPlatform();
            EXPECT_EQ(asTeammate(person.folder, head), published + "\n" + published + "\n");
            break;
        }
        case Outcome::Kind::Updated:
            EXPECT_TRUE(m_isEnabled && !person.isAstray);
            EXPECT_EQ(stateOf(person), CollabState::upToDate());
            break;
        case Outcome::Kind::Conflict:
            EXPECT_EQ(stateOf(person).kind, Kind::Conflict);
            break;
        case Outcome::Kind::Failed:
            EXPECT_TRUE(!m_isEnabled || person.isAstray) << outcome.text.toStdString();
            EXPECT_FALSE(outcome.text.isEmpty());
            break;
        }
    }

    [[nodiscard]] CollabState stateOf(const Person& person) const {
        const auto state = await(CollabEngine::siteState(site(headOfPlatform()), person.folder, config(), {}));
        EXPECT_NE(state, std::nullopt);
        return state.value_or(CollabState());
    }

    void expectAnHonestState(const Person& person) const {
        const CollabState state = stateOf(person);
        if (person.isAstray) {
            EXPECT_EQ(state.kind, Kind::NeedsAttention);
        } else if (isMerging(person)) {
            EXPECT_TRUE(state.kind == Kind::Conflict || state.kind == Kind::Resolved);
            EXPECT_EQ(state.files.isEmpty(), state.kind == Kind::Resolved);
        } else {
            const std::string contains =
                "git merge-base --is-ancestor " + headOfPlatform() + " HEAD && echo yes || true";
            const bool isContained = asTeammate(person.folder, contains).ends_with("yes\n");
            EXPECT_EQ(state, isContained ? CollabState::upToDate() : CollabState::updatesAvailable());
        }
    }

    void expectThatNothingIsLost(const Person& person) const {
        std::set<std::string> kept;
        for (fs::recursive_directory_iterator entries(person.folder), end; entries != end; ++entries) {
            if (entries->path().filename() == ".git") {
                entries.disable_recursion_pending();
            } else if (entries->is_regular_file()) {
                kept.insert(objectOf(entries->path()));
            }
        }
        for (const auto& [path, object] : person.saved) {
            if (!kept.contains(object)) {
                std::istringstream reachable(
                    asTeammate(person.folder, "git rev-list --objects --all --reflog HEAD 2>/dev/null"));
                kept.insert(std::istream_iterator<std::string>(reachable), {});
            }
            EXPECT_TRUE(kept.contains(object)) << person.name << " has lost what was saved as " << path;
        }
    }

    void expectInvariants() const {
        for (const Person& person : m_people) {
            expectAnHonestState(person);
            expectThatNothingIsLost(person);
        }
        EXPECT_EQ(asTeammate(currentRepository(), "git grep -lE '^(<{7}|={7}$|>{7})' main || true"), "");
    }

    /// Whatever has happened: what the application offers leads to folders that have what the platform has.
    void reachAgreement() {
        m_story += "-- all ends\n";
        if (!m_isEnabled) {
            switchCollaboration();
        }
        for (int round = 0; round < 2; ++round) {
            for (Person& person : m_people) {
                if (person.isAstray) {
                    comeBack(person);
                }
                for (int attempt = 0; attempt < 3 && stateOf(person).kind == Kind::Conflict; ++attempt) {
                    solve(person, "take-mine");
                }
                if (stateOf(person).kind == Kind::Resolved) {
                    publishMerge(person);
                }
                operate(person, "deploy");
                for (int attempt = 0; attempt < 3 && stateOf(person).kind == Kind::Conflict; ++attempt) {
                    solve(person, "take-mine");
                }
                expectInvariants();
            }
        }
        operate(m_people[0], "update");
        const std::string tree = asTeammate(repository(), "git ls-tree -r main");
        for (const Person& person : m_people) {
            EXPECT_EQ(asTeammate(person.folder, "git status --porcelain && git ls-tree -r HEAD"), tree);
        }
    }

    [[nodiscard]] static bool isMerging(const Person& person) { return fs::exists(person.folder / ".git/MERGE_HEAD"); }

    [[nodiscard]] static Identity identityOf(const Person& person) {
        Identity identity;
        identity.name = QString::fromStdString(person.name);
        identity.email = identity.name + QStringLiteral("@example.org");
        return identity;
    }

    [[nodiscard]] static std::vector<std::string> linesOf(const fs::path& path) {
        std::ifstream file(path, std::ios::binary);
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    /// The name that git gives a file's content (gitformat-pack(5) leaves it to the SHA-1 of "blob SIZE", NUL,
    /// content).
    [[nodiscard]] static std::string objectOf(const fs::path& path) {
        std::ifstream file(path, std::ios::binary);
        const std::string content(std::istreambuf_iterator<char>(file), {});
        const std::string object = "blob " + std::to_string(content.size()) + std::string(1, '\0') + content;
        const QByteArray bytes(object.data(), static_cast<qsizetype>(object.size()));
        return QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex().toStdString();
    }

    [[nodiscard]] static std::string told(const Outcome& outcome) {
        std::ostringstream words;
        words << "  ";
        PrintTo(outcome, &words);
        return words.str() + "\n";
    }

    [[nodiscard]] std::string repository() const { return m_platform.repository("site").string(); }
    [[nodiscard]] std::string currentRepository() const { return repository() + (m_isEnabled ? "" : ".off"); }
    [[nodiscard]] std::string headOfPlatform() const {
        std::string head = asTeammate(currentRepository(), "git rev-parse main");
        head.pop_back();
        return head;
    }

    std::mt19937 m_random;
    std::string m_story;
    bool m_isEnabled = true;
    std::array<Person, 2> m_people{Person{"ada", {}}, Person{"bob", {}}};
};

TEST_F(Histories, LoseNothingAndEndInAgreement) {
    constexpr std::uint32_t steps = 10;
    const std::uint32_t first = numberFrom("DRIFTWELL_TEST_SEED", 1);
    const std::uint32_t count = numberFrom("DRIFTWELL_TEST_HISTORIES", static_cast<std::uint32_t>(rounds(6, 60)));
    std::cout << "DRIFTWELL_TEST_SEED=" << first << " DRIFTWELL_TEST_HISTORIES=" << count << "\n";
    for (std::uint32_t seed = first; seed < first + count && !HasFailure(); ++seed) {
        RecordProperty("seed", static_cast<int>(seed));
        begin(seed);
        try {
            for (std::uint32_t i = 0; i < steps && !HasFailure(); ++i) {
                step();
                expectInvariants();
            }
            if (!HasFailure()) {
                reachAgreement();
            }
        } catch (const std::exception& failure) {
            ADD_FAILURE() << failure.what();
        }
        EXPECT_FALSE(HasFailure()) << "the history of seed " << seed << ":\n" << m_story;
    }
}

} // namespace
} // namespace driftwell::tests
