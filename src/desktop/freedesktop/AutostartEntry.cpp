#include "desktop/freedesktop/AutostartEntry.h"

#include "support/AtomicFile.h"
#include "support/HomeFolder.h"
#include "support/SystemError.h"
#include "support/UniqueFd.h"

#include <QFile>
#include <QFileSystemWatcher>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <set>
#include <utility>

namespace driftwell {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view group = "[Desktop Entry]";
/// Such files have a few hundred bytes.
constexpr std::size_t largestEntry = 65536;
constexpr mode_t readableByAll = 0644;

std::string variable(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::vector<fs::path> split(std::string_view list) {
    std::vector<fs::path> paths;
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(':'), list.size());
        paths.emplace_back(list.substr(0, end));
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return paths;
}

/// The person's configuration folder, then the system's, as the base directory specification has them.
std::vector<fs::path> configFolders() {
    const fs::path own = variable("XDG_CONFIG_HOME");
    std::vector<fs::path> folders{own.is_absolute() ? own : homeFolder() / ".config"};
    const std::string systems = variable("XDG_CONFIG_DIRS");
    for (const fs::path& folder : split(systems.empty() ? "/etc/xdg" : systems)) {
        if (folder.is_absolute()) {
            folders.push_back(folder);
        }
    }
    return folders;
}

std::vector<fs::path> entryFiles() {
    std::vector<fs::path> files;
    for (const fs::path& folder : configFolders()) {
        files.push_back(folder / "autostart" / "driftwell.desktop");
    }
    return files;
}

/// What a regular file holds; absent with errno: EINVAL for what is no regular file, EFBIG for one that is too large.
std::optional<std::string> contentOf(const fs::path& path) {
    // Anything may lie there: opening must not wait for another end.
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (file.get() < 0 || ::fstat(file.get(), &status) != 0) {
        return std::nullopt;
    }
    if (!S_ISREG(status.st_mode) || static_cast<std::size_t>(status.st_size) > largestEntry) {
        errno = S_ISREG(status.st_mode) ? EFBIG : EINVAL;
        return std::nullopt;
    }
    std::string content(static_cast<std::size_t>(status.st_size), '\0');
    std::size_t length = 0;
    while (length < content.size()) {
        const ssize_t count = ::read(file.get(), content.data() + length, content.size() - length);
        if (count < 0) {
            return std::nullopt;
        }
        if (count == 0) {
            break;
        }
        length += static_cast<std::size_t>(count);
    }
    content.resize(length);
    return content;
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r";
    const std::size_t start = std::min(text.find_first_not_of(blanks), text.size());
    return text.substr(start, text.find_last_not_of(blanks) + 1 - start);
}

struct Line {
    /// Without the line feed.
    std::string_view text;
    /// Empty for what is no key of the group that counts.
    std::string_view key;
    std::string_view value;
};

std::vector<Line> linesOf(std::string_view entry) {
    std::vector<Line> lines;
    bool counts = false;
    while (!entry.empty()) {
        const std::size_t end = std::min(entry.find('\n'), entry.size());
        Line line{.text = entry.substr(0, end), .key = {}, .value = {}};
        entry.remove_prefix(std::min(end + 1, entry.size()));
        const std::string_view text = trimmed(line.text);
        const std::size_t equals = text.find('=');
        if (text.starts_with('[')) {
            counts = text == group;
        } else if (counts && !text.starts_with('#') && equals != std::string_view::npos) {
            line.key = trimmed(text.substr(0, equals));
            line.value = trimmed(text.substr(equals + 1));
        }
        lines.push_back(line);
    }
    return lines;
}

/// A word of a command, quoted as the Exec key wants it, in a value whose backslashes are escaped once more.
std::string quotedWord(const fs::path& program) {
    std::string word = "\"";
    for (const char letter : program.native()) {
        switch (letter) {
        case '\\':
            word += R"(\\\\)";
            break;
        case '"':
        case '`':
        case '$':
            word += R"(\\)";
            word += letter;
            break;
        case '\n':
            word += R"(\n)";
            break;
        case '%':
            word += "%%";
            break;
        default:
            word += letter;
        }
    }
    return word + '"';
}

/// Whether a session that looks for the program's name finds just this program.
bool isFoundByName(const fs::path& program) {
    for (const fs::path& folder : split(variable("PATH"))) {
        const fs::path candidate = folder / program.filename();
        if (folder.is_absolute() && ::access(candidate.c_str(), X_OK) == 0) {
            std::error_code failed;
            return fs::equivalent(candidate, program, failed);
        }
    }
    return false;
}

fs::path runningProgram() {
    std::error_code failed;
    return fs::read_symlink("/proc/self/exe", failed);
}

/// Looks at where the entries are, or at the folders above that are there, and tells when the truth has changed.
class Watch final : public QObject {
public:
    Watch(const AutostartEntry& entry, std::vector<fs::path> files, std::function<void()> changed)
        : m_entry(entry), m_files(std::move(files)), m_changed(std::move(changed)) {
        connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, &Watch::look);
        connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, &Watch::look);
        follow();
        m_enabled = m_entry.isEnabled();
    }

private:
    void look() {
        follow();
        if (std::exchange(m_enabled, m_entry.isEnabled()) != m_enabled) {
            m_changed();
        }
    }

    /// A folder can come while it is not looked at yet, so the search is made again until it finds nothing new.
    void follow() {
        for (QStringList paths = missingPaths(); !paths.isEmpty(); paths = missingPaths()) {
            if (!m_watcher.addPaths(paths).isEmpty()) {
                return;
            }
        }
    }

    /// What there is and is not looked at.
    [[nodiscard]] QStringList missingPaths() const {
        std::set<fs::path> wanted;
        for (const fs::path& file : m_files) {
            std::error_code failed;
            if (fs::is_regular_file(file, failed)) {
                wanted.insert(file);
            }
            fs::path folder = file.parent_path();
            while (folder.has_relative_path() && !fs::is_directory(folder, failed)) {
                folder = folder.parent_path();
            }
            wanted.insert(folder);
        }
        QStringList missing;
        const QStringList known = m_watcher.files() + m_watcher.directories();
        for (const fs::path& path : wanted) {
            const QString name = QFile::decodeName(path.c_str());
            if (!known.contains(name)) {
                missing.append(name);
            }
        }
        return missing;
    }

    const AutostartEntry& m_entry;
    std::vector<fs::path> m_files;
    std::function<void()> m_changed;
    QFileSystemWatcher m_watcher;
    bool m_enabled = false;
};

} // namespace

AutostartEntry::AutostartEntry(const Bundle& bundle)
    : AutostartEntry(bundle.share() / "driftwell-autostart.desktop", runningProgram()) {}

AutostartEntry::AutostartEntry(std::filesystem::path original, std::filesystem::path program)
    : m_original(std::move(original)), m_program(std::move(program)), m_files(entryFiles()) {}

bool AutostartEntry::startsProgram(std::string_view entry) {
    bool hasCommand = false;
    for (const Line& line : linesOf(entry)) {
        const bool isTrue = line.value == "true" || line.value == "1";
        if ((line.key == "Hidden" && isTrue) || (line.key == "X-GNOME-Autostart-enabled" && !isTrue)) {
            return false;
        }
        hasCommand = hasCommand || (line.key == "Exec" && !line.value.empty());
    }
    return hasCommand;
}

std::string AutostartEntry::withProgram(std::string_view entry, const std::filesystem::path& program) {
    std::string result;
    for (const Line& line : linesOf(entry)) {
        if (line.key == "Exec") {
            const std::size_t arguments = std::min(line.value.find(' '), line.value.size());
            result += "Exec=" + quotedWord(program);
            result += line.value.substr(arguments);
        } else {
            result += line.text;
        }
        result += '\n';
    }
    return result;
}

bool AutostartEntry::isEnabled() const {
    for (const fs::path& file : m_files) {
        if (const std::optional<std::string> entry = contentOf(file)) {
            return startsProgram(*entry);
        }
        if (errno != ENOENT && errno != ENOTDIR) {
            // It is there, and the session cannot read it either.
            return false;
        }
    }
    return false;
}

std::string AutostartEntry::personsEntry() const {
    const std::optional<std::string> entry = contentOf(m_original);
    if (!entry) {
        throwSystemError(m_original);
    }
    return isFoundByName(m_program) ? *entry : withProgram(*entry, m_program);
}

void AutostartEntry::setEnabled(bool enabled) {
    if (enabled) {
        write(personsEntry());
        return;
    }
    fs::remove(personsFile());
    if (isEnabled()) {
        write(std::string(group) + "\nHidden=true\n");
    }
}

void AutostartEntry::write(std::string_view entry) const {
    fs::create_directories(personsFile().parent_path());
    if (fs::is_symlink(personsFile())) {
        // The file that it leads to is somebody else's.
        fs::remove(personsFile());
    }
    replaceFile(personsFile(), entry, readableByAll, Writers::Several);
}

std::unique_ptr<QObject> AutostartEntry::watch(std::function<void()> changed) {
    return std::make_unique<Watch>(*this, m_files, std::move(changed));
}

} // namespace driftwell
