#include "apps/dw/FolderCaution.h"

#include "apps/dw/CommandFailure.h"
#include "support/HomeFolder.h"

#include <algorithm>
#include <system_error>

namespace driftwell::dw {

void refuseTooMuch(const std::filesystem::path& folder) {
    const QString hint = QStringLiteral("Publish a folder of its own, or add --anyway.");
    std::error_code failed;
    const std::filesystem::path home = std::filesystem::canonical(homeFolder(), failed);
    if (failed) {
        // An account without a home, as in a container.
        if (folder == folder.root_path()) {
            throw WrongUsage(QStringLiteral("%1 is all of this machine").arg(QString::fromStdString(folder.string())),
                             hint);
        }
        return;
    }
    const auto end = std::mismatch(folder.begin(), folder.end(), home.begin(), home.end()).first;
    if (end != folder.end()) {
        return;
    }
    const QString path = QString::fromStdString(folder.string());
    throw WrongUsage(folder == home ? QStringLiteral("%1 is your home folder").arg(path)
                                    : QStringLiteral("%1 holds your home folder").arg(path),
                     hint);
}

} // namespace driftwell::dw
