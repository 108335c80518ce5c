#include "apps/dw/FolderCaution.h"

#include "apps/dw/CommandFailure.h"
#include "support/HomeFolder.h"

#include <algorithm>
#include <system_error>

namespace driftwell::dw {

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

} // namespace driftwell::dw
