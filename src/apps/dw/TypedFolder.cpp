#include "apps/dw/TypedFolder.h"

#include "apps/dw/CommandFailure.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace driftwell::dw {

std::filesystem::path existingFolder(const std::string& typed, const std::string& command) {
    if (typed.empty()) {
        throw WrongUsage(QStringLiteral("The folder's name is empty"),
                         QStringLiteral("Run dw help %1.").arg(QString::fromStdString(command)));
    }
    std::error_code failed;
    const std::filesystem::path folder = std::filesystem::canonical(typed, failed);
    if (failed) {
        throw std::system_error(failed, typed);
    }
    if (!std::filesystem::is_directory(folder)) {
        throw std::system_error(std::make_error_code(std::errc::not_a_directory), typed);
    }
    if (::faccessat(AT_FDCWD, folder.c_str(), R_OK | X_OK, AT_EACCESS) != 0) {
        throw cannotRead(folder, std::error_code(errno, std::generic_category()));
    }
    return folder;
}

ArgumentRecord linkedFolderArgument() {
    return {"FOLDER", "The linked folder (default: the present one)", {Candidates::Kind::Folders}};
}

} // namespace driftwell::dw
