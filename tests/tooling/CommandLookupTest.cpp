#include "tooling/CommandLookup.h"

#include "tests/deploy/Seed.h"
#include "tests/support/TestFolder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <set>

namespace driftwell {

void PrintTo(const CommandLookup& lookup, std::ostream* stream) {
    *stream << "kind " << static_cast<int>(lookup.status.kind) << " \"" << lookup.status.text.toStdString()
            << "\", found at " << lookup.commandPath.value_or("none") << (lookup.hasOwnLink ? ", own link" : "");
}

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using tests::below;
using tests::chooseSeed;
using tests::TestFolder;

class CommandLookupTest : public testing::Test {
protected:
    CommandLookupTest() {
        program("App/Contents/Helpers/dw");
        fs::create_directories(m_link.parent_path());
    }

    /// A program as one file.
    fs::path program(const std::string& name) const {
        m_folder.write(name, "#!/bin/sh\n");
        fs::permissions(m_folder / name, fs::perms::owner_all);
        return m_folder / name;
    }

    [[nodiscard]] CommandLookup lookUp(const std::vector<std::string>& folders) const {
        std::vector<std::string> searchPath;
        for (const std::string& folder : folders) {
            searchPath.push_back(m_folder / folder);
        }
        return classify(m_helper, m_link, "dw", searchPath);
    }

    [[nodiscard]] QString text(const std::string& name) const { return QString::fromStdString(m_folder / name); }

    TestFolder m_folder;
    fs::path m_helper = m_folder / "App/Contents/Helpers/dw";
    fs::path m_link = m_folder / "local/bin/dw";
};

TEST_F(CommandLookupTest, NothingAnswersToTheName) {
    fs::create_directories(m_folder / "bin");
    EXPECT_EQ(lookUp({"bin", "missing"}), CommandLookup{CLIStatus::notInstalled()});
}

TEST_F(CommandLookupTest, WithoutAToolOfOurOwnThereIsNothingToLink) {
    fs::remove(m_helper);
    program("bin/dw");
    EXPECT_EQ(lookUp({"bin"}), CommandLookup{CLIStatus::unavailable()});
}

TEST_F(CommandLookupTest, AToolThatCannotBeRunIsNone) {
    fs::permissions(m_helper, fs::perms::owner_read);
    EXPECT_EQ(lookUp({}).status, CLIStatus::unavailable());
}

TEST_F(CommandLookupTest, AFolderInPlaceOfTheToolIsNone) {
    fs::remove(m_helper);
    fs::create_directory(m_helper);
    EXPECT_EQ(lookUp({}).status, CLIStatus::unavailable());
}

TEST_F(CommandLookupTest, TheLinkLeadsToUs) {
    fs::create_symlink(m_helper, m_link);
    EXPECT_EQ(lookUp({"local/bin"}), (CommandLookup{CLIStatus::linkedToThisApp(), m_link, true}));
}

TEST_F(CommandLookupTest, TheLinksFolderIsLookedAtAlsoWhereThePathLacksIt) {
    fs::create_symlink(m_helper, m_link);
    EXPECT_EQ(lookUp({}), (CommandLookup{CLIStatus::linkedToThisApp(), m_link, true}));
}

TEST_F(CommandLookupTest, ALinkThroughOthersLeadsToUs) {
    fs::create_symlink(m_helper, m_folder / "second");
    fs::create_symlink("../../second", m_link);
    EXPECT_EQ(lookUp({}).status, CLIStatus::linkedToThisApp());
}

TEST_F(CommandLookupTest, OurToolMayItselfBeReachedThroughALink) {
    fs::create_directory_symlink(m_folder / "App", m_folder / "Moved");
    fs::create_symlink(m_helper, m_link);
    EXPECT_EQ(classify(m_folder / "Moved/Contents/Helpers/dw", m_link, "dw", {}).status, CLIStatus::linkedToThisApp());
}

TEST_F(CommandLookupTest, ALinkInAnotherFolderCountsAsWell) {
    fs::create_directories(m_folder / "usr/bin");
    fs::create_symlink(m_helper, m_folder / "usr/bin/dw");
    EXPECT_EQ(lookUp({"usr/bin"}), (CommandLookup{CLIStatus::linkedToThisApp(), m_folder / "usr/bin/dw", false}))
        << "there is no link of ours to remove";
}

TEST_F(CommandLookupTest, OurLinkBehindAnotherOneIsThereToBeRemoved) {
    fs::create_directories(m_folder / "usr/bin");
    fs::create_symlink(m_helper, m_folder / "usr/bin/dw");
    fs::create_symlink(m_helper, m_link);
    EXPECT_EQ(lookUp({"usr/bin"}), (CommandLookup{CLIStatus::linkedToThisApp(), m_folder / "usr/bin/dw", true}));
}

TEST_F(CommandLookupTest, TheLinkLeadsToAnotherCopy) {
    program("Old/Contents/Helpers/dw");
    fs::create_symlink(m_folder / "Old/Contents/Helpers/dw", m_link);
    EXPECT_EQ(lookUp({}), CommandLookup{CLIStatus::linkedElsewhere(text("Old/Contents/Helpers/dw"))});
}

TEST_F(CommandLookupTest, ATheLinkToAnotherCopysToolThatCannotBeRunIsOneToo) {
    m_folder.write("Old/Contents/Helpers/dw", "");
    fs::create_symlink(m_folder / "Old/Contents/Helpers/dw", m_link);
    EXPECT_EQ(lookUp({}).status, CLIStatus::linkedElsewhere(text("Old/Contents/Helpers/dw")));
}

TEST_F(CommandLookupTest, AnotherCopysToolInAnyOtherFolderIsAnotherInstall) {
    program("Old/Contents/Helpers/dw");
    fs::create_directories(m_folder / "bin");
    fs::create_symlink(m_folder / "Old/Contents/Helpers/dw", m_folder / "bin/dw");
    EXPECT_EQ(lookUp({"bin"}).status, CLIStatus::otherInstall(text("Old/Contents/Helpers/dw")));
}

TEST_F(CommandLookupTest, TheLinkLeadsToADeletedCopy) {
    fs::create_symlink("/gone/Contents/Helpers/dw", m_link);
    EXPECT_EQ(lookUp({}).status, CLIStatus::linkedElsewhere("/gone/Contents/Helpers/dw"));
}

TEST_F(CommandLookupTest, TheLinkLeadsToItself) {
    fs::create_symlink("dw", m_link);
    EXPECT_EQ(lookUp({}).status, CLIStatus::linkedElsewhere("dw"));
}

TEST_F(CommandLookupTest, TheLinkLeadsToAScript) {
    const fs::path script = program("scripts/publish");
    fs::create_symlink(script, m_link);
    EXPECT_EQ(lookUp({}).status, CLIStatus::otherInstall(text("scripts/publish")));
    EXPECT_FALSE(lookUp({}).status.otherInstallSource());
}

TEST_F(CommandLookupTest, ADanglingLinkInAnotherFolderIsPassedOver) {
    fs::create_directories(m_folder / "bin");
    fs::create_symlink("/gone", m_folder / "bin/dw");
    fs::create_symlink(m_helper, m_link);
    EXPECT_EQ(lookUp({"bin"}).status, CLIStatus::linkedToThisApp());
}

TEST_F(CommandLookupTest, APlainProgramIsAnotherInstall) {
    program("bin/dw");
    EXPECT_EQ(lookUp({"bin"}).status, CLIStatus::otherInstall(text("bin/dw")));
}

TEST_F(CommandLookupTest, AProgramInFrontHidesTheLink) {
    program("bin/dw");
    fs::create_symlink(m_helper, m_link);
    EXPECT_EQ(lookUp({"bin", "local/bin"}), (CommandLookup{CLIStatus::otherInstall(text("bin/dw")), {}, true}));
    EXPECT_EQ(lookUp({"local/bin", "bin"}).status, CLIStatus::linkedToThisApp());
}

TEST_F(CommandLookupTest, WhatCannotBeRunIsPassedOver) {
    m_folder.write("bin/dw", "");
    fs::create_directories(m_folder / "folders/dw");
    fs::create_directories(m_folder / "links");
    fs::create_symlink(m_folder / "bin/dw", m_folder / "links/dw");
    EXPECT_EQ(lookUp({"bin", "folders", "links"}).status, CLIStatus::notInstalled());
}

TEST_F(CommandLookupTest, TheLinksFolderMayBeWrittenWithASlash) {
    program("Old/Contents/Helpers/dw");
    fs::create_symlink(m_folder / "Old/Contents/Helpers/dw", m_link);
    EXPECT_EQ(lookUp({"local/bin/"}).status.kind, CLIStatus::Kind::LinkedElsewhere);
}

TEST_F(CommandLookupTest, TheCommandMayHaveAnotherName) {
    program("bin/dw");
    const fs::path link = m_folder / "local/bin/dw-dev";
    fs::create_symlink(m_helper, link);
    EXPECT_EQ(classify(m_helper, link, "dw-dev", {m_folder / "bin"}).status, CLIStatus::linkedToThisApp());
}

// The model of the random trees.

/// What lies at a place; a place without an item is empty.
struct Item {
    enum class Kind { File, Program, Folder, Link } kind;
    /// Of a link: the name of another place, or of none.
    std::string target = {};
};
using Places = std::map<std::string, Item>;

/// Where a link leads in the end, if it leads anywhere.
std::optional<std::string> endOf(const Places& places, std::string name) {
    for (std::size_t steps = 0; steps <= places.size(); ++steps) {
        const auto found = places.find(name);
        if (found == places.end()) {
            return std::nullopt;
        }
        if (found->second.kind != Item::Kind::Link) {
            return name;
        }
        name = found->second.target;
    }
    return std::nullopt;
}

bool runs(const Places& places, const std::string& name) {
    const std::optional<std::string> end = endOf(places, name);
    return end && places.at(*end).kind == Item::Kind::Program;
}

CommandLookup expected(const Places& places, const std::string& helper, const std::string& link,
                       const std::string& name, std::vector<std::string> folders, const TestFolder& root) {
    const auto shown = [&root](const std::string& place) {
        return QString::fromStdString(root / place);
    };
    if (!runs(places, helper)) {
        return {CLIStatus::unavailable()};
    }
    const std::string tool = *endOf(places, helper);
    const auto linkItem = places.find(link);
    CommandLookup result{CLIStatus::notInstalled()};
    result.hasOwnLink =
        linkItem != places.end() && linkItem->second.kind == Item::Kind::Link && endOf(places, link) == tool;
    folders.push_back(link.substr(0, link.rfind('/')));
    for (const std::string& folder : folders) {
        const std::string candidate = folder + "/" + name;
        const auto item = places.find(candidate);
        if (item == places.end()) {
            continue;
        }
        const bool isLink = item->second.kind == Item::Kind::Link;
        const std::optional<std::string> end = endOf(places, candidate);
        if (isLink && candidate == link && !end) {
            result.status = CLIStatus::linkedElsewhere(shown(item->second.target));
            return result;
        }
        if (isLink && end == tool) {
            result.status = CLIStatus::linkedToThisApp();
            result.commandPath = root / candidate;
            return result;
        }
        if (isLink && candidate == link && end && end->ends_with("/Contents/Helpers/dw")) {
            result.status = CLIStatus::linkedElsewhere(shown(*end));
            return result;
        }
        if (runs(places, candidate)) {
            result.status = CLIStatus::otherInstall(shown(*end));
            return result;
        }
    }
    return result;
}

class RandomTree {
public:
    explicit RandomTree(std::mt19937_64& random) : m_random(random) {
        for (const std::string& place : all()) {
            if (below(m_random, 10) < 7) {
                m_places.emplace(place, item());
            }
        }
        if (below(m_random, 10) > 0) {
            m_places[helper] = {Item::Kind::Program};
        }
    }

    void make(const TestFolder& root) const {
        for (const auto& [name, item] : m_places) {
            fs::create_directories((root / name).parent_path());
            switch (item.kind) {
            case Item::Kind::File:
            case Item::Kind::Program:
                root.write(name, "");
                fs::permissions(root / name,
                                item.kind == Item::Kind::Program ? fs::perms::owner_all : fs::perms::owner_read);
                break;
            case Item::Kind::Folder:
                fs::create_directories(root / name);
                break;
            case Item::Kind::Link:
                fs::create_symlink(root / item.target, root / name);
                break;
            }
        }
    }

    std::vector<std::string> searchPath() {
        std::vector<std::string> chosen;
        for (std::size_t left = below(m_random, 8); left > 0; --left) {
            chosen.push_back(folders()[below(m_random, folders().size())]);
        }
        return chosen;
    }

    [[nodiscard]] const Places& places() const { return m_places; }

    static constexpr const char* helper = "It's \"ours\"/Contents/Helpers/dw";
    static constexpr const char* link = "local bin/dw";

private:
    static const std::vector<std::string>& folders() {
        static const std::vector<std::string> names = {"local bin",   "bin",           "o'clock/bin", "\"quoted\"",
                                                       "back\\slash", "new\nline/bin", "nowhere",     "bin/deep/er"};
        return names;
    }

    static std::vector<std::string> all() {
        std::vector<std::string> places = {helper, "Old/Contents/Helpers/dw", "Older/Contents/Helpers/dw", "x/script",
                                           "x/other"};
        for (const std::string& folder : folders()) {
            if (folder != "nowhere") {
                places.push_back(folder + "/dw");
            }
        }
        return places;
    }

    Item item() {
        switch (below(m_random, 8)) {
        case 0:
            return {Item::Kind::File};
        case 1:
            return {Item::Kind::Folder};
        case 2:
        case 3:
            return {Item::Kind::Program};
        default:
            const std::vector<std::string> targets = all();
            const std::size_t target = below(m_random, targets.size() + 1);
            return {Item::Kind::Link, target < targets.size() ? targets[target] : "gone/dw"};
        }
    }

    std::mt19937_64& m_random;
    Places m_places;
};

TEST(CommandLookupModelTest, TwoThousandSearchPathsAreUnderstoodAsAPlainModelDoes) {
    std::mt19937_64 random(chooseSeed("CommandLookupModelTest"));
    std::set<CLIStatus::Kind> kinds;
    // Making a tree takes far longer than searching in it.
    constexpr int trees = 100;
    constexpr int searchesInEach = 20;
    for (int round = 0; round < trees * searchesInEach; round += searchesInEach) {
        const TestFolder root;
        RandomTree tree(random);
        tree.make(root);
        for (int search = 0; search < searchesInEach; ++search) {
            const std::vector<std::string> folders = tree.searchPath();
            std::vector<std::string> searchPath;
            std::transform(folders.begin(), folders.end(), std::back_inserter(searchPath),
                           [&root](const std::string& folder) { return (root / folder).string(); });
            const CommandLookup found = classify(root / RandomTree::helper, root / RandomTree::link, "dw", searchPath);
            ASSERT_EQ(found, expected(tree.places(), RandomTree::helper, RandomTree::link, "dw", folders, root))
                << "search " << round + search;
            kinds.insert(found.status.kind);
        }
    }
    EXPECT_EQ(kinds.size(), 5U) << "every outcome is to come up";
}

TEST(SystemSearchPathTest, TakesTheFileAndThenThoseOfTheFolderInOrder) {
    const TestFolder folder;
    folder.write("paths", "/usr/bin\n\n/bin\n");
    folder.write("paths.d/20-more", "/opt/more/bin");
    folder.write("paths.d/10-first", "/opt/first bin\n");
    EXPECT_THAT(systemSearchPath(folder / "paths", folder / "paths.d"),
                ElementsAre("/usr/bin", "/bin", "/opt/first bin", "/opt/more/bin"));
}

TEST(SystemSearchPathTest, IsEmptyWhereThereIsNeither) {
    const TestFolder folder;
    EXPECT_THAT(systemSearchPath(folder / "paths", folder / "paths.d"), IsEmpty());
}

TEST(SystemSearchPathTest, LeavesOutWhatIsNoFileOfText) {
    const TestFolder folder;
    folder.write("paths", "/usr/\xff\n");
    folder.write("paths.d/1-large", std::string(2 * 1024 * 1024, '/'));
    fs::create_directory(folder / "paths.d/2-folder");
    ::mkfifo((folder / "paths.d/3-pipe").c_str(), S_IRWXU);
    fs::create_symlink("/gone", folder / "paths.d/4-dangling");
    folder.write("paths.d/5-good", "/bin");
    EXPECT_THAT(systemSearchPath(folder / "paths", folder / "paths.d"), ElementsAre("/bin"));
}

TEST(SearchPathTest, IsSplitAtColonsWithoutEmptyEntries) {
    EXPECT_THAT(splitSearchPath(":/usr/bin::/bin:"), ElementsAre("/usr/bin", "/bin"));
    EXPECT_THAT(splitSearchPath(""), IsEmpty());
}

TEST(SearchPathTest, BlanksAroundEntriesGoAndEntriesOfBlanksToo) {
    EXPECT_THAT(tidied({" /usr/bin\t", "\t ", "", "/opt/my tools"}), ElementsAre("/usr/bin", "/opt/my tools"));
}

} // namespace
} // namespace driftwell
