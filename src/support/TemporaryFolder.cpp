#include "support/TemporaryFolder.h"

#include "support/SystemError.h"

#include <QUuid>

#include <sys/stat.h>

#include <system_error>

namespace driftwell {

TemporaryFolder::TemporaryFolder(std::string_view prefix) {
    const std::string uuid = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper().toStdString();
    const std::filesystem::path parent = std::filesystem::absolute(std::filesystem::temp_directory_path());
    m_path = parent / (std::string(prefix) + uuid);
    checked(::mkdir(m_path.c_str(), S_IRWXU), "could not make a temporary folder");
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

} // namespace driftwell
