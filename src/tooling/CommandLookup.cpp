#include "tooling/CommandLookup.h"

#include "support/UniqueFd.h"

#include <QByteArrayView>
#include <QUtf8StringView>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <set>
#include <system_error>

namespace driftwell {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view toolOfACopy = "/Contents/Helpers/dw";
constexpr std::size_t largestPathFile = 1024 * 1024;

QString shown(const fs::path& path) {
    return QString::fromStdString(path.string());
}

std::optional<fs::path> resolved(const fs::path& path) {
    std::error_code failed;
    fs::path result = fs::canonical(path, failed);
    return failed ? std::nullopt : std::optional(std::move(result));
}

fs::file_type typeOf(const fs::path& path) {
    std::error_code failed;
    return fs::symlink_status(path, failed).type();
}

std::vector<fs::path> foldersOf(const std::vector<std::string>& searchPath, const fs::path& linkFolder) {
    std::vector<fs::path> folders;
    std::set<fs::path> seen;
    const auto add = [&](const fs::path& folder) {
        // With and without a slash at its end it is one folder.
        if (seen.insert(folder / "").second) {
            folders.push_back(folder);
        }
    };
    for (const std::string& entry : searchPath) {
        add(entry);
    }
    add(linkFolder);
    return folders;
}

class Lookup {
public:
    Lookup(const fs::path& helper, const fs::path& linkPath)
        : m_helper(resolved(helper).value_or(helper)), m_linkPath(linkPath) {}

    /// What the item at a place of the search path is; absent when the search goes on.
    [[nodiscard]] std::optional<CommandLookup> answer(const fs::path& candidate) const {
        switch (typeOf(candidate)) {
        case fs::file_type::none:
        case fs::file_type::not_found:
            return std::nullopt;
        case fs::file_type::symlink:
            return answerOfLink(candidate);
        default:
            return executable(candidate);
        }
    }

    [[nodiscard]] bool hasOwnLink() const {
        return typeOf(m_linkPath) == fs::file_type::symlink && resolved(m_linkPath) == m_helper;
    }

private:
    [[nodiscard]] std::optional<CommandLookup> answerOfLink(const fs::path& candidate) const {
        const bool isTheLink = candidate == m_linkPath;
        const std::optional<fs::path> target = resolved(candidate);
        if (!target) {
            return isTheLink ? std::optional(CommandLookup{CLIStatus::linkedElsewhere(destinationOf(candidate))})
                             : std::nullopt;
        }
        if (*target == m_helper) {
            return CommandLookup{CLIStatus::linkedToThisApp(), candidate};
        }
        if (isTheLink && std::string_view(target->native()).ends_with(toolOfACopy)) {
            return CommandLookup{CLIStatus::linkedElsewhere(shown(*target))};
        }
        return executable(*target);
    }

    [[nodiscard]] static std::optional<CommandLookup> executable(const fs::path& path) {
        return isExecutableFile(path) ? std::optional(CommandLookup{CLIStatus::otherInstall(shown(path))})
                                      : std::nullopt;
    }

    [[nodiscard]] static QString destinationOf(const fs::path& link) {
        std::error_code failed;
        const fs::path destination = fs::read_symlink(link, failed);
        return failed ? QStringLiteral("?") : shown(destination);
    }

    fs::path m_helper;
    fs::path m_linkPath;
};

/// Absent for what is no file of text, without waiting for a pipe that nobody writes to.
std::optional<std::string> textOf(const fs::path& path) {
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    std::string text;
    std::array<char, 4096> block{};
    for (;;) {
        const ssize_t got = ::read(file.get(), block.data(), block.size());
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got == 0) {
            break;
        }
        if (got < 0 || text.size() > largestPathFile) {
            return std::nullopt;
        }
        text.append(block.data(), static_cast<std::size_t>(got));
    }
    return QUtf8StringView(text.data(), static_cast<qsizetype>(text.size())).isValidUtf8() ? std::optional(text)
                                                                                           : std::nullopt;
}

std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> pieces;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(separator), text.size());
        if (end > 0) {
            pieces.emplace_back(text.substr(0, end));
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return pieces;
}

std::vector<fs::path> entriesOf(const fs::path& folder) {
    std::vector<fs::path> entries;
    std::error_code failed;
    for (fs::directory_iterator entry(folder, failed), end; !failed && entry != end; entry.increment(failed)) {
        entries.push_back(entry->path());
    }
    std::sort(entries.begin(), entries.end());
    return entries;
}

} // namespace

bool isExecutableFile(const fs::path& path) {
    std::error_code failed;
    return fs::status(path, failed).type() == fs::file_type::regular && ::access(path.c_str(), X_OK) == 0;
}

CommandLookup classify(const fs::path& helper, const fs::path& linkPath, const std::string& name,
                       const std::vector<std::string>& searchPath) {
    if (!isExecutableFile(helper)) {
        return {CLIStatus::unavailable()};
    }
    const Lookup lookup(helper, linkPath);
    CommandLookup result{CLIStatus::notInstalled()};
    for (const fs::path& folder : foldersOf(searchPath, linkPath.parent_path())) {
        if (std::optional<CommandLookup> answer = lookup.answer(folder / name)) {
            result = std::move(*answer);
            break;
        }
    }
    result.hasOwnLink = lookup.hasOwnLink();
    return result;
}

std::vector<std::string> splitSearchPath(std::string_view path) {
    return split(path, ':');
}

std::vector<std::string> tidied(const std::vector<std::string>& entries) {
    constexpr const char* blanks = " \t";
    std::vector<std::string> result;
    for (const std::string& entry : entries) {
        const std::size_t first = entry.find_first_not_of(blanks);
        if (first != std::string::npos) {
            result.push_back(entry.substr(first, entry.find_last_not_of(blanks) + 1 - first));
        }
    }
    return result;
}

std::vector<std::string> systemSearchPath(const fs::path& pathsFile, const fs::path& pathsFolder) {
    std::vector<fs::path> files = entriesOf(pathsFolder);
    files.insert(files.begin(), pathsFile);
    std::vector<std::string> result;
    for (const fs::path& file : files) {
        const std::vector<std::string> lines = split(textOf(file).value_or(std::string()), '\n');
        result.insert(result.end(), lines.begin(), lines.end());
    }
    return result;
}

} // namespace driftwell
