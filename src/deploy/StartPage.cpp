#include "deploy/StartPage.h"

#include <algorithm>
#include <string_view>

namespace driftwell {

StartPage StartPage::of(const FolderScan& files) {
    constexpr std::string_view page = "index.html";
    if (std::binary_search(files.paths.begin(), files.paths.end(), page)) {
        return {};
    }
    StartPage result{.isThere = false};
    std::ptrdiff_t fewest = 0;
    for (const std::string_view path : files.paths) {
        const bool isPage =
            path.ends_with(page) && path.size() > page.size() && path[path.size() - page.size() - 1] == '/';
        if (isPage) {
            const std::ptrdiff_t depth = std::count(path.begin(), path.end(), '/');
            if (result.folder.empty() || depth < fewest) {
                result.folder = path.substr(0, path.size() - page.size() - 1);
                fewest = depth;
            }
        }
    }
    return result;
}

QString StartPage::text() const {
    if (isThere) {
        return {};
    }
    const QString missing = QStringLiteral("There is no index.html at the top, so the address has no page to show.");
    return folder.empty() ? missing
                          : missing + QStringLiteral(" The folder “%1” has one.").arg(QString::fromStdString(folder));
}

} // namespace driftwell
