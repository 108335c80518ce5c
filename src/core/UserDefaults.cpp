#include "core/UserDefaults.h"

namespace driftwell {

std::unique_ptr<QSettings> openUserDefaults(const std::filesystem::path& configFile) {
    const std::filesystem::path file = configFile.parent_path() / "defaults.ini";
    return std::make_unique<QSettings>(QString::fromStdString(file.string()), QSettings::IniFormat);
}

} // namespace driftwell
