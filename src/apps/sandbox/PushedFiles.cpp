#include "apps/sandbox/PushedFiles.h"

#include "apps/sandbox/Text.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <functional>
#include <memory>
#include <system_error>
#include <vector>

namespace driftwell::sandbox {

namespace {

/// All names of one site together, in bytes: they are held in memory.
constexpr std::size_t longestNames = std::size_t{64} << 20U;
/// One line about an entry of a tree or about an object.
constexpr std::size_t longestLine = 16 * 1024;

/// What git prints, in lines and in pieces of known sizes.
class GitReader {
public:
    explicit GitReader(GitProcess& git) : m_git(git) {}

    /// Without its end; nothing at the end of all.
    std::optional<std::string> line(char end) {
        std::string text;
        for (;;) {
            if (m_piece.empty() && !refill()) {
                if (!text.empty()) {
                    throw GitFailure("git stopped in the middle of a line");
                }
                return std::nullopt;
            }
            const std::size_t found = m_piece.find(end);
            text += m_piece.substr(0, found);
            if (text.size() > longestLine) {
                throw HttpError(400, "bad_push", "The push holds a name that cannot be stored");
            }
            if (found != std::string_view::npos) {
                m_piece.remove_prefix(found + 1);
                return text;
            }
            m_piece = {};
        }
    }

    void bytes(std::uint64_t count, const std::function<void(std::string_view)>& take) {
        while (count > 0) {
            if (m_piece.empty() && !refill()) {
                throw GitFailure("git stopped in the middle of a file");
            }
            const auto part =
                m_piece.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(count, m_piece.size())));
            take(part);
            m_piece.remove_prefix(part.size());
            count -= part.size();
        }
    }

private:
    bool refill() {
        m_piece = m_git.read();
        return !m_piece.empty();
    }

    GitProcess& m_git;
    std::string_view m_piece;
};

struct PushedFile {
    std::string path;
    std::string object;
    std::uint64_t size = 0;
};

HttpError cannotHold(const std::string& what, std::string_view path) {
    return {400, "bad_push", "A site cannot hold " + what + ": " + std::string(path)};
}

/// "MODE TYPE OBJECT SIZE<tab>PATH", the size filled up with blanks from the left (git-ls-tree(1)).
PushedFile parseEntry(const std::string& entry) {
    const std::size_t tab = entry.find('\t');
    const auto fields = split(std::string_view(entry).substr(0, tab), ' ');
    if (tab == std::string::npos || fields.size() < 4) {
        throw GitFailure("git lists a tree in a way that is not understood");
    }
    PushedFile file{entry.substr(tab + 1), std::string(fields[2]), 0};
    if (!isPartOfSite(file.path)) {
        return file;
    }
    const std::string_view mode = fields[0];
    if (mode == "120000") {
        throw cannotHold("a symbolic link", file.path);
    }
    if (mode == "160000") {
        throw cannotHold("another git repository", file.path);
    }
    const auto size = decimal(fields.back());
    if (!mode.starts_with("100") || !size) {
        throw cannotHold("what is no file", file.path);
    }
    file.size = *size;
    return file;
}

GitCommand commandOn(const PushedCommit& commit, std::vector<std::string> arguments) {
    GitCommand command;
    command.arguments = std::move(arguments);
    command.repository = commit.repository;
    command.variables = commit.variables;
    return command;
}

/// The names are those of objects that git itself has listed, and so of a limited number.
std::vector<PushedFile> filesOf(const PushedCommit& commit, SiteFiles& files, const UnpackLimits& limits,
                                const GitHost& host) {
    GitProcess git(commandOn(commit, {"ls-tree", "-r", "-z", "-l", "--full-tree", commit.name}), host);
    GitReader reader(git);
    std::vector<PushedFile> list;
    std::size_t names = 0;
    std::uint64_t bytes = 0;
    while (const auto entry = reader.line('\0')) {
        PushedFile file = parseEntry(*entry);
        files.countMember();
        if (!isPartOfSite(file.path)) {
            continue;
        }
        static_cast<void>(files.partsOf(file.path));
        names += file.path.size();
        if (names > longestNames) {
            throw HttpError(413, "too_large", "The push holds names that are too long altogether");
        }
        if (file.size > limits.bytes || bytes > limits.bytes - file.size) {
            throw HttpError(413, "too_large", "The push unpacks to more than " + byteCount(limits.bytes));
        }
        bytes += file.size;
        list.push_back(std::move(file));
    }
    if (git.wait() != 0) {
        throw GitFailure("git ls-tree failed: " + git.complaint());
    }
    return list;
}

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

void writeList(const std::filesystem::path& path, const std::vector<PushedFile>& files) {
    std::unique_ptr<std::FILE, FileCloser> list(std::fopen(path.c_str(), "wxe"));
    bool written = list != nullptr;
    for (const PushedFile& file : files) {
        written = written && std::fputs((file.object + '\n').c_str(), list.get()) >= 0;
    }
    written = written && std::fflush(list.get()) == 0;
    if (!written) {
        throw std::system_error(errno, std::generic_category(), "unpacking");
    }
}

} // namespace

bool isPartOfSite(std::string_view path) {
    if (path == "CLAUDE.md" || path.starts_with("skills/")) {
        return false;
    }
    const auto parts = split(path, '/');
    const auto isHidden = [](std::string_view part) {
        return part.starts_with('.');
    };
    return std::none_of(parts.begin(), parts.end(), isHidden) &&
           std::find(parts.begin(), parts.end() - 1, "node_modules") == parts.end() - 1;
}

Unpacked unpackCommit(const PushedCommit& commit, const std::filesystem::path& folder,
                      const std::filesystem::path& list, const UnpackLimits& limits, const GitHost& host) {
    SiteFiles files(folder, limits, "push");
    const std::vector<PushedFile> pushed = filesOf(commit, files, limits, host);
    writeList(list, pushed);

    GitCommand command = commandOn(commit, {"cat-file", "--batch", "--buffer"});
    command.input = GitCommand::Input::File;
    command.inputFile = list;
    GitProcess git(command, host);
    GitReader reader(git);
    for (const PushedFile& file : pushed) {
        // "OBJECT blob SIZE", the content, a line feed (git-cat-file(1)).
        if (reader.line('\n') != file.object + " blob " + std::to_string(file.size)) {
            throw GitFailure("git does not have " + file.object);
        }
        const Descriptor output = files.makeFile(files.partsOf(file.path), file.size);
        off_t offset = 0;
        reader.bytes(file.size, [&](std::string_view piece) {
            SiteFiles::writeAll(output, piece.data(), piece.size(), offset);
            offset += static_cast<off_t>(piece.size());
        });
        reader.bytes(1, [](std::string_view) {});
    }
    if (reader.line('\n') || git.wait() != 0) {
        throw GitFailure("git cat-file failed: " + git.complaint());
    }
    return files.finished();
}

} // namespace driftwell::sandbox
