#include "apps/sandbox/SiteRepository.h"

#include "apps/sandbox/Descriptor.h"
#include "apps/sandbox/PushedFiles.h"
#include "apps/sandbox/Team.h"
#include "apps/sandbox/Text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <system_error>
#include <utility>

namespace driftwell::sandbox {

namespace {

constexpr const char* branch = "refs/heads/main";
/// Where a commit is made before "main" moves to it.
constexpr const char* draft = "refs/driftwell/draft";
constexpr size_t readBuffer = 256 * 1024;

/// As git reads it from a stream (git-fast-import(1)).
std::string quoted(std::string_view path) {
    constexpr std::string_view octal = "01234567";
    std::string text = "\"";
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\' || byte < ' ' || byte >= 127) {
            if (c == '"' || c == '\\') {
                text += {'\\', c};
            } else {
                text += {'\\', octal[byte >> 6U], octal[(byte >> 3U) & 7U], octal[byte & 7U]};
            }
        } else {
            text += c;
        }
    }
    return text + '"';
}

/// Names that git takes for its own and refuses in a tree. Uploads may have them.
bool isGitsOwn(std::string_view path) {
    const auto parts = split(path, '/');
    return std::any_of(parts.begin(), parts.end(), [](std::string_view part) {
        const std::string name = lowerCased(part.substr(0, part.find(':')));
        const size_t end = name.find_last_not_of(" .");
        const std::string_view plain = std::string_view(name).substr(0, end == std::string::npos ? 0 : end + 1);
        return plain == ".git" || plain == "git~1";
    });
}

bool isDecimalOrHexadecimal(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
}

/// A commit's name as it is given on.
std::string commitName(const std::string& output) {
    const std::string name(trimmed(output));
    if (name.empty() || !std::all_of(name.begin(), name.end(), isDecimalOrHexadecimal)) {
        throw GitFailure("git names a commit in a way that is not understood");
    }
    return name;
}

std::string committer(const std::string& email) {
    const auto everybody = people();
    const auto found = std::find_if(everybody.begin(), everybody.end(),
                                    [&email](const Person& person) { return person.email == email; });
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return (found == everybody.end() ? email : std::string(found->name)) + " <" + email + "> " +
           std::to_string(std::chrono::duration_cast<std::chrono::seconds>(now).count()) + " +0000";
}

} // namespace

/// A commit on its way into the repository, as a stream.
class SiteRepository::Import {
public:
    Import(const SiteRepository& repository, const std::optional<std::string>& parent, const Commit& commit)
        : m_git(commandFor(repository), repository.m_host), m_buffer(readBuffer) {
        // Without the word "done" at its end the stream was cut, and nothing of it counts.
        std::string head = "feature done\ncommit " + std::string(draft) + "\ncommitter " + committer(commit.person) +
                           "\ndata " + std::to_string(commit.message.size()) + '\n' + commit.message + '\n';
        if (parent) {
            head += "from " + *parent + '\n';
        }
        m_git.write(head);
    }

    void removeAll() { m_git.write("deleteall\n"); }

    void keep(std::string_view mode, std::string_view object, std::string_view path) {
        std::string line = "M ";
        line += mode;
        line += ' ';
        line += object;
        line += ' ';
        m_git.write(line + quoted(path) + '\n');
    }

    void addText(std::string_view path, const std::string& content) {
        begin(path, content.size());
        m_git.write(content);
        m_git.write("\n");
    }

    void addFile(std::string_view path, const std::filesystem::path& file) {
        const Descriptor input(open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
        struct stat state {};
        if (!input.isOpen() || fstat(input.number(), &state) != 0) {
            throw std::system_error(errno, std::generic_category(), "recording a version");
        }
        auto left = static_cast<std::uint64_t>(state.st_size);
        begin(path, left);
        while (left > 0) {
            const ssize_t got = read(input.number(), m_buffer.data(), std::min<std::uint64_t>(left, m_buffer.size()));
            if (got < 0 && errno == EINTR) {
                continue;
            }
            if (got <= 0) {
                throw std::system_error(got < 0 ? errno : EIO, std::generic_category(), "recording a version");
            }
            m_git.write({m_buffer.data(), static_cast<size_t>(got)});
            left -= static_cast<size_t>(got);
        }
        m_git.write("\n");
    }

    void finish() {
        m_git.write("done\n");
        m_git.closeInput();
        while (!m_git.read().empty()) {
        }
        if (m_git.wait() != 0) {
            throw GitFailure("git fast-import failed: " + m_git.complaint());
        }
    }

private:
    static GitCommand commandFor(const SiteRepository& repository) {
        GitCommand command;
        command.arguments = {"fast-import", "--quiet", "--force", "--done", "--date-format=raw"};
        command.repository = repository.m_folder;
        command.input = GitCommand::Input::Pipe;
        return command;
    }

    void begin(std::string_view path, std::uint64_t size) {
        m_git.write("M 100644 inline " + quoted(path) + "\ndata " + std::to_string(size) + '\n');
    }

    GitProcess m_git;
    std::vector<char> m_buffer;
};

SiteRepository::SiteRepository(std::filesystem::path folder, const GitHost& host)
    : m_folder(std::move(folder)), m_host(host) {}

std::string SiteRepository::git(std::vector<std::string> arguments) const {
    GitCommand command;
    command.arguments = std::move(arguments);
    command.repository = m_folder;
    return outputOfGit(command, m_host);
}

void SiteRepository::create() const {
    static_cast<void>(git({"init", "--quiet", "--bare", "--template=", "--initial-branch=main", m_folder}));
}

std::optional<std::string> SiteRepository::head() const {
    // Unlike a question about one branch this does not fail where there is none.
    const std::string listed = git({"for-each-ref", "--format=%(objectname)", branch});
    return listed.empty() ? std::nullopt : std::optional(commitName(listed));
}

std::string SiteRepository::record(const std::filesystem::path& version, const Commit& commit) const {
    const auto before = head();
    const std::string listed = before ? git({"ls-tree", "-r", "-z", "--full-tree", *before}) : std::string();
    Import import(*this, before, commit);
    import.removeAll();
    for (const std::string_view entry : split(listed, '\0')) {
        const size_t tab = entry.find('\t');
        const auto fields = split(entry.substr(0, tab), ' ');
        if (tab != std::string_view::npos && fields.size() == 3 && !isPartOfSite(entry.substr(tab + 1))) {
            import.keep(fields[0], fields[2], entry.substr(tab + 1));
        }
    }
    for (const auto& entry : std::filesystem::recursive_directory_iterator(version)) {
        const std::string path = entry.path().lexically_relative(version);
        if (entry.symlink_status().type() == std::filesystem::file_type::regular && !isGitsOwn(path)) {
            import.addFile(path, entry.path());
        }
    }
    import.finish();
    return finish(before);
}

std::string SiteRepository::recordFile(const std::string& path, const std::string& content,
                                       const Commit& commit) const {
    const auto before = head();
    Import import(*this, before, commit);
    import.addText(path, content);
    import.finish();
    return finish(before);
}

std::string SiteRepository::finish(const std::optional<std::string>& before) const {
    const std::string commit = commitName(git({"rev-parse", "--verify", std::string(draft) + "^{commit}"}));
    const bool isSame = before && git({"rev-parse", "--verify", commit + "^{tree}"}) ==
                                      git({"rev-parse", "--verify", *before + "^{tree}"});
    if (!isSame) {
        moveHead(before.value_or(std::string()), commit);
    }
    static_cast<void>(git({"update-ref", "-d", draft}));
    return isSame ? *before : commit;
}

void SiteRepository::moveHead(const std::string& from, const std::optional<std::string>& to) const {
    if (to) {
        static_cast<void>(git({"update-ref", branch, *to, from}));
    } else {
        static_cast<void>(git({"update-ref", "-d", branch, from}));
    }
}

void SiteRepository::removeLeftovers() const {
    namespace fs = std::filesystem;
    std::vector<fs::path> left;
    for (fs::recursive_directory_iterator entry(m_folder), end; entry != end; ++entry) {
        const std::string name = entry->path().filename();
        const bool isObjects = entry.depth() == 1 && name.size() == 2;
        if (isObjects && entry->is_directory()) {
            entry.disable_recursion_pending();
        }
        if (name.ends_with(".lock") || name.starts_with("tmp_") || name.starts_with("tmp-") ||
            name.starts_with("incoming-") || name.starts_with("fast_import_crash_")) {
            left.push_back(entry->path());
            entry.disable_recursion_pending();
        }
    }
    for (const fs::path& path : left) {
        fs::remove_all(path);
    }
}

void SiteRepository::tidyUp() const {
    static_cast<void>(git({"gc", "--auto", "--quiet"}));
}

} // namespace driftwell::sandbox
