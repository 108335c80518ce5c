#pragma once

#include "bench/LoopbackServer.h"
#include "core/AppState.h"
#include "desktop/DesktopServices.h"
#include "desktop/LoginItem.h"
#include "desktop/WindowManager.h"
#include "desktop/WindowServices.h"
#include "platform/PlatformClient.h"
#include "support/TemporaryFolder.h"

#include <string>
#include <vector>

namespace driftwell::bench {

inline constexpr int sampleSiteCount = 10'000;

/// It is off and stays so.
class NoLoginItem final : public LoginItem {
public:
    [[nodiscard]] bool isEnabled() const override { return false; }
    void setEnabled(bool) override {}
    [[nodiscard]] std::unique_ptr<QObject> watch(std::function<void()>) override { return nullptr; }
};

class NoWindowManager final : public WindowManager {
public:
    [[nodiscard]] WindowButtons buttons() const override { return {}; }
    [[nodiscard]] bool showMenu(QWindow&, QPoint) override { return false; }
    [[nodiscard]] bool canMoveFromMenu() const override { return false; }
    void moveFromMenu(QWindow&) override {}
};

/// A desktop on which nothing happens.
class NoDesktop final : public WindowServices, public DesktopServices {
public:
    Task<std::optional<std::filesystem::path>> chooseFolder(QString, QString,
                                                            std::optional<std::filesystem::path>) override {
        co_return std::nullopt;
    }
    void openUrl(const QUrl&) override {}
    void showInFileManager(const std::filesystem::path&) override {}
    void promptInstall(const QString&) override {}
    void copyText(const QString&) override {}
    [[nodiscard]] ColorScheme colorScheme() const override { return ColorScheme::Light; }
    [[nodiscard]] LoginItem& loginItem() override { return m_loginItem; }
    [[nodiscard]] WindowManager& windowManager() override { return m_windowManager; }

private:
    NoLoginItem m_loginItem;
    NoWindowManager m_windowManager;
};

/// A model that is connected to a server on this machine. Made before the process has other threads: the server is a
/// copy of it.
class SampleModel {
public:
    /// The server answers with these lists of sites in turn.
    explicit SampleModel(const std::vector<std::string>& sites);

    /// One refresh, to its end. Throws when it fails.
    void refresh();

    [[nodiscard]] AppState& state() { return m_state; }
    [[nodiscard]] NoDesktop& desktop() { return m_desktop; }
    [[nodiscard]] const std::filesystem::path& config() const { return m_config; }

private:
    LoopbackServer m_server;
    TemporaryFolder m_folder{"driftwell-bench-"};
    std::filesystem::path m_config{m_folder.path() / "config.json"};
    NoDesktop m_desktop;
    AppState m_state;
};

} // namespace driftwell::bench
