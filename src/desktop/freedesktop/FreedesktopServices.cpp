#include "desktop/freedesktop/FreedesktopServices.h"

#include "desktop/freedesktop/FocusedCopy.h"
#include "desktop/XdgOpen.h"

#include <QClipboard>
#include <QGuiApplication>

namespace driftwell {

FreedesktopServices::FreedesktopServices(QDBusConnection sessionBus, std::chrono::milliseconds timeout)
    : m_folderChooser(sessionBus, timeout),
      m_fileManager(sessionBus, timeout),
      m_packageOffer(sessionBus),
      m_colorScheme(sessionBus, timeout),
      m_windowManager(sessionBus, timeout) {
    connect(&m_colorScheme, &ColorSchemeSetting::changed, this, &WindowServices::colorSchemeChanged);
    connect(&m_colorScheme, &ColorSchemeSetting::settled, this, &FreedesktopServices::colorSchemeSettled);
}

Task<std::optional<std::filesystem::path>>
FreedesktopServices::chooseFolder(QString prompt, QString message, std::optional<std::filesystem::path> startFolder) {
    return m_folderChooser.choose(std::move(prompt), std::move(message), std::move(startFolder));
}

void FreedesktopServices::openUrl(const QUrl& url) {
    xdgOpen(url);
}

void FreedesktopServices::showInFileManager(const std::filesystem::path& path) {
    m_fileManager.show(path);
}

void FreedesktopServices::promptInstall(const QString& package) {
    m_packageOffer.make(package);
}

void FreedesktopServices::copyText(const QString& text) {
    QGuiApplication::clipboard()->setText(text);
}

bool FreedesktopServices::copyNeedsKeyboard() const {
    return QGuiApplication::platformName().startsWith(QLatin1StringView("wayland"));
}

Task<bool> FreedesktopServices::copyTextWithKeyboard(QString text) {
    if (!copyNeedsKeyboard()) {
        copyText(text);
        co_return true;
    }
    constexpr std::chrono::seconds patience(5);
    const Completion<bool> isTaken = (new FocusedCopy(std::move(text), patience, this))->isTaken();
    co_return co_await isTaken;
}

} // namespace driftwell
