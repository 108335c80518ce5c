#pragma once

#include "desktop/DesktopServices.h"
#include "desktop/WindowServices.h"
#include "support/Completion.h"
#include "tests/Await.h"
#include "tests/FakeLoginItem.h"
#include "tests/FakeWindowManager.h"

#include <gtest/gtest.h>

#include <deque>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace driftwell::tests {

/// A desktop that does nothing but remember what it was asked. A question that the test did not expect fails the test,
/// and so does an expected one that never came.
class RecordingDesktopServices final : public WindowServices, public DesktopServices {
public:
    using FolderAnswer = Completion<std::optional<std::filesystem::path>>;

    struct FolderQuestion {
        std::string prompt;
        std::string message;
        std::optional<std::filesystem::path> startFolder = {};
        bool operator==(const FolderQuestion&) const = default;
    };

    ~RecordingDesktopServices() override {
        EXPECT_TRUE(m_folderAnswers.empty()) << "the desktop was never asked for a folder";
        // Whoever still waits for an answer ends with the desktop.
        for (FolderAnswer& answer : m_askedFolderAnswers) {
            answer.succeed(std::nullopt);
        }
        settle();
    }

    /// The next question for a folder is expected; whoever holds the result answers it.
    FolderAnswer expectFolderQuestion() {
        FolderAnswer answer;
        m_folderAnswers.push_back(answer);
        return answer;
    }

    [[nodiscard]] const std::vector<FolderQuestion>& folderQuestions() const { return m_folderQuestions; }

    Task<std::optional<std::filesystem::path>> chooseFolder(QString prompt, QString message,
                                                            std::optional<std::filesystem::path> startFolder) override {
        m_folderQuestions.push_back({prompt.toStdString(), message.toStdString(), startFolder});
        if (m_folderAnswers.empty()) {
            ADD_FAILURE() << "the desktop was asked for a folder unexpectedly: " << message.toStdString();
            co_return std::nullopt;
        }
        FolderAnswer answer = m_folderAnswers.front();
        m_folderAnswers.pop_front();
        m_askedFolderAnswers.push_back(answer);
        co_return co_await answer;
    }

    /// Addresses and paths to open are always expected; whoever asks for them is judged by these lists.
    [[nodiscard]] const std::vector<std::string>& openedUrls() const { return m_openedUrls; }
    [[nodiscard]] const std::vector<std::filesystem::path>& shownPaths() const { return m_shownPaths; }
    [[nodiscard]] const std::string& clipboard() const { return m_clipboard; }

    /// The packages whose installation was offered.
    [[nodiscard]] const std::vector<std::string>& promptedPackages() const { return m_promptedPackages; }

    void promptInstall(const QString& package) override { m_promptedPackages.push_back(package.toStdString()); }
    void openUrl(const QUrl& url) override { m_openedUrls.push_back(url.toString().toStdString()); }
    void showInFileManager(const std::filesystem::path& path) override { m_shownPaths.push_back(path); }
    void copyText(const QString& text) override { m_clipboard = text.toStdString(); }

    /// From now on a copy is taken only from the window that has the keyboard; whoever holds the result says whether it
    /// was.
    Completion<bool> takeCopiesFromWindowsOnly() {
        m_copyAnswer = Completion<bool>();
        return *m_copyAnswer;
    }
    [[nodiscard]] bool copyNeedsKeyboard() const override { return m_copyAnswer.has_value(); }
    Task<bool> copyTextWithKeyboard(QString text) override {
        const bool isTaken = !m_copyAnswer || co_await *m_copyAnswer;
        if (isTaken) {
            copyText(text);
        }
        co_return isTaken;
    }

    [[nodiscard]] FakeLoginItem& loginItem() override { return m_loginItem; }
    [[nodiscard]] FakeWindowManager& windowManager() override { return m_windowManager; }

    [[nodiscard]] ColorScheme colorScheme() const override { return m_colorScheme; }
    void setColorScheme(ColorScheme scheme) {
        m_colorScheme = scheme;
        Q_EMIT colorSchemeChanged();
    }

private:
    std::vector<std::string> m_promptedPackages;
    std::vector<std::string> m_openedUrls;
    std::vector<std::filesystem::path> m_shownPaths;
    std::string m_clipboard;
    std::optional<Completion<bool>> m_copyAnswer;
    FakeLoginItem m_loginItem;
    FakeWindowManager m_windowManager;
    ColorScheme m_colorScheme = ColorScheme::Light;
    std::deque<FolderAnswer> m_folderAnswers;
    std::vector<FolderAnswer> m_askedFolderAnswers;
    std::vector<FolderQuestion> m_folderQuestions;
};

} // namespace driftwell::tests
