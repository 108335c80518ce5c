#pragma once

#include "desktop/DesktopServices.h"

namespace driftwell::dw {

/// The desktop as a tool without windows has it: addresses open in the browser, and nothing else is ever asked.
class TerminalDesktop final : public DesktopServices {
public:
    Task<std::optional<std::filesystem::path>> chooseFolder(QString prompt, QString message) override;
    void openUrl(const QUrl& url) override;
    void showInFileManager(const std::filesystem::path& path) override;
    void copyText(const QString& text) override;
    [[nodiscard]] ColorScheme colorScheme() const override;
};

} // namespace driftwell::dw
