#include "desktop/freedesktop/FolderChooser.h"

#include "desktop/freedesktop/PortalFolderDialog.h"
#include "desktop/freedesktop/WidgetFolderDialog.h"

namespace driftwell {

FolderChooser::FolderChooser(QDBusConnection bus, std::chrono::milliseconds timeout)
    : m_bus(std::move(bus)), m_timeout(timeout) {}

FolderChooser::~FolderChooser() {
    m_answer.succeed(std::nullopt);
}

Task<std::optional<std::filesystem::path>> FolderChooser::choose(QString prompt, QString message,
                                                                 std::optional<std::filesystem::path> startFolder) {
    if (m_dialog) {
        m_dialog->bringForward();
        co_return std::nullopt;
    }
    // A copy of this coroutine's own, since the dialog may outlive everything else here.
    const Answer answer = m_answer = Answer();
    show(new PortalFolderDialog(m_bus, m_timeout, this), {prompt, message, startFolder ? startFolder : m_lastPlace});
    co_return co_await answer;
}

void FolderChooser::show(FolderDialog* dialog, const FolderQuestion& question) {
    m_dialog = dialog;
    connect(dialog, &FolderDialog::finished, this, &FolderChooser::finish);
    connect(dialog, &FolderDialog::unavailable, this, [this, question] {
        removeDialog();
        show(new WidgetFolderDialog(this), question);
    });
    dialog->open(question);
}

void FolderChooser::finish(const std::optional<std::filesystem::path>& folder) {
    removeDialog();
    if (folder) {
        m_lastPlace = folder->parent_path();
    }
    m_answer.succeed(folder);
}

void FolderChooser::removeDialog() {
    // It is still in the middle of saying that it has ended.
    m_dialog->deleteLater();
    m_dialog = nullptr;
}

} // namespace driftwell
