#pragma once

#include "desktop/freedesktop/FolderDialog.h"
#include "support/Completion.h"
#include "support/Task.h"

#include <QDBusConnection>

#include <chrono>
#include <filesystem>
#include <optional>

namespace driftwell {

/// Lets the person choose a folder, in the desktop's own dialog where there is one and in Qt's elsewhere. There is one
/// dialog at a time.
class FolderChooser : public QObject {
    Q_OBJECT

public:
    /// `timeout` is how long the desktop has to show its dialog before Qt's is shown.
    FolderChooser(QDBusConnection bus, std::chrono::milliseconds timeout);
    /// Closes a dialog that is open; its question ends as if the person had cancelled.
    ~FolderChooser() override;

    /// Absent when the person cancels, and at once while another question is open, whose dialog is then brought
    /// forward: the person answers that one, and asks again.
    /// The dialog opens in `startFolder` where there is one, else in the folder that holds the last one chosen.
    [[nodiscard]] Task<std::optional<std::filesystem::path>>
    choose(QString prompt, QString message, std::optional<std::filesystem::path> startFolder = {});

private:
    using Answer = Completion<std::optional<std::filesystem::path>>;

    void show(FolderDialog* dialog, const FolderQuestion& question);
    void removeDialog();
    void finish(const std::optional<std::filesystem::path>& folder);

    QDBusConnection m_bus;
    std::chrono::milliseconds m_timeout;
    /// A child of this, or null while there is no question.
    FolderDialog* m_dialog = nullptr;
    Answer m_answer;
    /// Where the person was the last time, so that sibling folders are near.
    std::optional<std::filesystem::path> m_lastPlace;
};

} // namespace driftwell
