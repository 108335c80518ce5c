#include "deploy/PublishedFiles.h"

#include "support/AtomicFile.h"

#include <sys/stat.h>

#include <charconv>
#include <fstream>
#include <iterator>
#include <string_view>
#include <system_error>

namespace driftwell {

namespace {

constexpr std::string_view head = "driftwell files 1\n";

struct Entry {
    FolderScan::Attributes attributes;
    std::string_view path;
};

bool takeNumber(std::string_view& text, std::int64_t& number) {
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    if (failure != std::errc() || !text.starts_with(' ')) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

/// Takes the next entry off the text; absent where there is none in it.
std::optional<Entry> takeEntry(std::string_view& text) {
    const std::size_t end = text.find('\0');
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    Entry entry;
    entry.path = text.substr(0, end);
    text.remove_prefix(end + 1);
    const bool isWhole =
        takeNumber(entry.path, entry.attributes.size) && takeNumber(entry.path, entry.attributes.modified);
    return isWhole ? std::optional(entry) : std::nullopt;
}

/// Empty for what cannot be read.
std::string contentOf(const std::filesystem::path& file) {
    try {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    } catch (const std::ios_base::failure&) {
        return {};
    }
}

} // namespace

std::filesystem::path PublishedFiles::fileOf(const std::filesystem::path& sessionFile, const QString& site) {
    return sessionFile.parent_path() / "published" / (site.toStdString() + ".files");
}

std::string PublishedFiles::textOf(const FolderScan& files) {
    std::string text(head);
    for (std::size_t i = 0; i < files.paths.size(); ++i) {
        const FolderScan::Attributes& file = files.attributes[i];
        text += std::to_string(file.size) + ' ' + std::to_string(file.modified) + ' ' + files.paths[i] + '\0';
    }
    return text;
}

void PublishedFiles::save(const std::filesystem::path& file, const std::string& text) {
    std::error_code failed;
    std::filesystem::create_directories(file.parent_path(), failed);
    try {
        replaceFile(file, text, S_IRUSR | S_IWUSR, Writers::Several);
    } catch (const std::exception&) {
        // What is there by then is of an older version.
        forget(file);
    }
}

void PublishedFiles::forget(const std::filesystem::path& file) {
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
}

std::optional<FileChanges> PublishedFiles::changesSince(const std::filesystem::path& file, const FolderScan& files) {
    const std::string kept = contentOf(file);
    std::string_view text = kept;
    if (!text.starts_with(head)) {
        return std::nullopt;
    }
    text.remove_prefix(head.size());
    FileChanges changes;
    std::size_t next = 0;
    while (!text.empty()) {
        const std::optional<Entry> entry = takeEntry(text);
        if (!entry) {
            return std::nullopt;
        }
        for (; next < files.paths.size() && files.paths[next] < entry->path; ++next) {
            ++changes.added;
        }
        if (next == files.paths.size() || files.paths[next] != entry->path) {
            ++changes.removed;
            continue;
        }
        changes.changed += files.attributes[next] == entry->attributes ? 0 : 1;
        ++next;
    }
    changes.added += static_cast<std::int64_t>(files.paths.size() - next);
    return changes;
}

} // namespace driftwell
