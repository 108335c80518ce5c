#include "apps/dw/FolderCaution.h"

#include "apps/dw/CommandFailure.h"
#include "support/HomeFolder.h"

#include <algorithm>
#include <optional>
#include <system_error>

namespace driftwell::dw {

namespace {

constexpr const char* firstPage = "index.html";

// Of a folder with more the first ones will do.
constexpr int mostFoldersLookedAt = 200;

/// A folder directly below that has a page to begin with, the first by its name.
std::optional<std::filesystem::path> folderWithFirstPage(const std::filesystem::path& folder) {
    std::optional<std::filesystem::path> found;
    std::error_code failed;
    int seen = 0;
    for (auto entry = std::filesystem::directory_iterator(folder, failed);
         !failed && entry != std::filesystem::directory_iterator() && seen < mostFoldersLookedAt;
         entry.increment(failed), ++seen) {
        std::error_code absent;
        const std::filesystem::path name = entry->path().filename();
        const bool isHidden = name.string().starts_with('.');
        if (!isHidden && std::filesystem::is_regular_file(entry->path() / firstPage, absent) &&
            (!found || name < *found)) {
            found = name;
        }
    }
    return found;
}

} // namespace

void refuseTooMuch(const std::filesystem::path& folder) {
    std::error_code failed;
    const std::filesystem::path home = std::filesystem::canonical(homeFolder(), failed);
    if (failed) {
        return;
    }
    const auto end = std::mismatch(folder.begin(), folder.end(), home.begin(), home.end()).first;
    if (end != folder.end()) {
        return;
    }
    const QString path = QString::fromStdString(folder.string());
    throw WrongUsage(folder == home ? QStringLiteral("%1 is your home folder").arg(path)
                                    : QStringLiteral("%1 holds your home folder").arg(path),
                     QStringLiteral("Publish a folder of its own, or add --anyway."));
}

QStringList warningsOf(const std::filesystem::path& folder) {
    std::error_code absent;
    if (std::filesystem::exists(folder / firstPage, absent)) {
        return {};
    }
    const std::optional<std::filesystem::path> below = folderWithFirstPage(folder);
    QString text = QStringLiteral("There is no index.html at the top of the folder");
    text +=
        below ? QStringLiteral(", but one in %1.").arg(QString::fromStdString(below->string())) : QStringLiteral(".");
    return {text};
}

} // namespace driftwell::dw
