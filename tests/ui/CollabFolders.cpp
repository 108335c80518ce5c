#include "tests/ui/CollabFolders.h"

#include "tests/collab/GitPlatform.h"

#include <fstream>

namespace driftwell::tests {

namespace {

void write(const std::filesystem::path& file, const std::string& text) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << text;
}

void writeAll(const std::filesystem::path& folder, const std::vector<std::string>& files, const std::string& text) {
    for (const std::string& file : files) {
        write(folder / file, text);
    }
}

std::string as(const std::string& person) {
    return "export GIT_AUTHOR_NAME='" + person + "' && ";
}

} // namespace

void CollabFolders::link(const std::string& site, const std::filesystem::path& folder) const {
    asTeammate(folder, "git init -q -b main . && git remote add driftwell " + m_origin + "/git/" + site +
                           " && git add -A && git commit -q --allow-empty -m first");
}

std::filesystem::path CollabFolders::linked(const std::string& site) const {
    const std::filesystem::path folder = m_root / ("linked/" + site);
    write(folder / "index.html", "first\n");
    link(site, folder);
    return folder;
}

std::filesystem::path CollabFolders::conflicted(const std::string& site, const std::vector<std::string>& files,
                                                const std::string& teammate) const {
    const std::filesystem::path folder = m_root / ("linked/" + site);
    writeAll(folder, files, "first\n");
    link(site, folder);
    asTeammate(folder, "git checkout -q --detach");
    writeAll(folder, files, "theirs\n");
    asTeammate(folder, as(teammate) + "git commit -q -a -m theirs && git rev-parse HEAD > .git/theirs");
    asTeammate(folder, "git checkout -q main");
    writeAll(folder, files, "mine\n");
    asTeammate(folder, "git commit -q -a -m mine && ! git merge -q $(cat .git/theirs) && rm .git/theirs");
    return folder;
}

void CollabFolders::repair(const std::filesystem::path& folder, const std::string& file) {
    write(folder / file, "both\n");
}

} // namespace driftwell::tests
