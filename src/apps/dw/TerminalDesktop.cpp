#include "apps/dw/TerminalDesktop.h"

#include "desktop/XdgOpen.h"

namespace driftwell::dw {

Task<std::optional<std::filesystem::path>> TerminalDesktop::chooseFolder(QString, QString) {
    co_return std::nullopt;
}

void TerminalDesktop::openUrl(const QUrl& url) {
    xdgOpen(url);
}

void TerminalDesktop::showInFileManager(const std::filesystem::path&) {}

void TerminalDesktop::copyText(const QString&) {}

ColorScheme TerminalDesktop::colorScheme() const {
    return ColorScheme::Light;
}

} // namespace driftwell::dw
