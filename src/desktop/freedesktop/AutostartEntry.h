#pragma once

#include "desktop/LoginItem.h"
#include "support/Bundle.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace driftwell {

/// The login item of a freedesktop.org desktop: the file autostart/driftwell.desktop in the person's configuration
/// folder, and below the system's folders for configuration (Desktop Application Autostart Specification 0.5; XDG Base
/// Directory Specification). The first that is there counts, so an entry of the system's is switched off by a hidden
/// one of the person's.
class AutostartEntry final : public LoginItem {
public:
    /// The entry of the running program, which is copied from the bundle.
    explicit AutostartEntry(const Bundle& bundle);

    /// `original` is copied when the item is switched on, and `program` is what is to start.
    AutostartEntry(std::filesystem::path original, std::filesystem::path program);

    [[nodiscard]] bool isEnabled() const override;
    void setEnabled(bool enabled) override;
    [[nodiscard]] std::unique_ptr<QObject> watch(std::function<void()> changed) override;

    /// Whether a desktop starts what this entry names (Desktop Entry Specification 1.5, and GNOME's key of its own).
    [[nodiscard]] static bool startsProgram(std::string_view entry);

    /// The entry with `program`, an absolute path, as the first word of its command.
    [[nodiscard]] static std::string withProgram(std::string_view entry, const std::filesystem::path& program);

private:
    [[nodiscard]] const std::filesystem::path& personsFile() const { return m_files.front(); }
    [[nodiscard]] std::string personsEntry() const;
    void write(std::string_view entry) const;

    std::filesystem::path m_original;
    std::filesystem::path m_program;
    /// Where an entry can be; the first that is there counts.
    std::vector<std::filesystem::path> m_files;
};

} // namespace driftwell
