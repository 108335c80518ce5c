#pragma once

#include "desktop/DesktopServices.h"
#include "desktop/freedesktop/AutostartEntry.h"
#include "desktop/freedesktop/ColorSchemeSetting.h"
#include "desktop/freedesktop/FileManager.h"
#include "desktop/freedesktop/FolderChooser.h"
#include "desktop/freedesktop/FreedesktopWindowManager.h"
#include "desktop/freedesktop/PackageOffer.h"
#include "desktop/WindowServices.h"

#include <QDBusConnection>

#include <chrono>

namespace driftwell {

/// A desktop as freedesktop.org describes it, as the application uses it. Every question to another
/// program is asked without waiting, and each has another way where nobody answers. Needs a QApplication.
///
/// Text that was copied is gone with the application, unless a clipboard manager runs, which then takes it over as the
/// application ends: Qt sees to that on X11, and on Wayland the desktop does it or nobody.
class FreedesktopServices final : public WindowServices, public DesktopServices {
    Q_OBJECT

public:
    /// How long another program has to begin with what it was asked to do.
    static constexpr std::chrono::seconds usualTimeout{10};

    explicit FreedesktopServices(QDBusConnection sessionBus = QDBusConnection::sessionBus(),
                                 std::chrono::milliseconds timeout = usualTimeout);

    Task<std::optional<std::filesystem::path>> chooseFolder(QString prompt, QString message,
                                                            std::optional<std::filesystem::path> startFolder) override;
    void openUrl(const QUrl& url) override;
    void showInFileManager(const std::filesystem::path& path) override;
    void promptInstall(const QString& package) override;
    void copyText(const QString& text) override;
    [[nodiscard]] bool copyNeedsKeyboard() const override;
    Task<bool> copyTextWithKeyboard(QString text) override;
    [[nodiscard]] ColorScheme colorScheme() const override { return m_colorScheme.value(); }
    [[nodiscard]] LoginItem& loginItem() override { return m_loginItem; }
    [[nodiscard]] WindowManager& windowManager() override { return m_windowManager; }

    /// Whether the colour scheme is what the desktop said, or all that there will be to know. A window that is first
    /// shown after this does not change its colours in front of the person; it takes a few milliseconds as a rule.
    [[nodiscard]] bool isColorSchemeSettled() const { return m_colorScheme.isSettled(); }

Q_SIGNALS:
    void colorSchemeSettled();

private:
    FolderChooser m_folderChooser;
    FileManager m_fileManager;
    PackageOffer m_packageOffer;
    ColorSchemeSetting m_colorScheme;
    FreedesktopWindowManager m_windowManager;
    AutostartEntry m_loginItem{Bundle::ofRunningProgram()};
};

} // namespace driftwell
