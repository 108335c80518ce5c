#pragma once

#include "collab/CollabEngine.h"
#include "desktop/WindowServices.h"
#include "support/Sleep.h"
#include "support/Task.h"
#include "support/TaskGroup.h"
#include "ui/collab/CollabTexts.h"
#include "ui/collab/ConflictFilesModel.h"
#include "ui/controls/CopiedMark.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <stop_token>

namespace driftwell {

class Catalog;
class Collaboration;
class Connection;
class PlatformClient;

/// The sheet of a conflict in a site's folder. It looks at the folder every two seconds, so that its list shrinks as
/// files are repaired by whom ever, and goes by itself once all are. Lives as long as the sheet is on screen, and looks
/// no longer than that.
class ConflictSheetModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the window's model")
    Q_PROPERTY(bool resolved READ isResolved NOTIFY resolvedChanged)
    Q_PROPERTY(QString title READ title NOTIFY titleChanged)
    Q_PROPERTY(QString keepTheirsLabel READ keepTheirsLabel NOTIFY titleChanged)
    Q_PROPERTY(driftwell::ConflictFilesModel* files READ files CONSTANT)
    Q_PROPERTY(bool copied READ isCopied NOTIFY copiedChanged)

public:
    static constexpr std::chrono::milliseconds pauseBetweenLooks{2000};
    static constexpr std::chrono::milliseconds resolvedIsShownFor{2500};
    static constexpr std::chrono::milliseconds pauseAfterKeeping{1200};
    static constexpr std::chrono::milliseconds copiedIsShownFor{2000};

    /// The parts of the application's model that the sheet shows and changes. They outlive it.
    struct Parts {
        Connection& connection;
        Catalog& catalog;
        Collaboration& collaboration;
        PlatformClient& client;
        WindowServices& desktop;
        Sleeper sleep;
    };

    ConflictSheetModel(const QString& site, const Parts& parts, QObject* parent);
    ~ConflictSheetModel() override;

    [[nodiscard]] const QString& site() const { return m_site; }
    /// All files have been seen repaired.
    [[nodiscard]] bool isResolved() const { return m_resolved; }
    [[nodiscard]] QString title() const;
    [[nodiscard]] QString keepTheirsLabel() const { return driftwell::keepTheirsLabel(m_counterpart); }
    [[nodiscard]] ConflictFilesModel* files() { return &m_files; }
    [[nodiscard]] bool isCopied() const { return m_copied.isShown(); }

    /// Copies what an agent is to be told, with the files as they were seen last. Does nothing without a folder.
    Q_INVOKABLE void copyPrompt();
    /// Takes one side of every file, publishes, and closes the sheet. What failed is told by an alert.
    Q_INVOKABLE void keepMine() { keep(CollabEngine::Side::Ours); }
    Q_INVOKABLE void keepTheirs() { keep(CollabEngine::Side::Theirs); }
    /// Leaves the folder as it is.
    Q_INVOKABLE void close();

Q_SIGNALS:
    void resolvedChanged();
    void titleChanged();
    void copiedChanged();
    /// The sheet is to go.
    void closed();

private:
    /// What the folder has come to where no file is to be repaired any more.
    enum class Ending { Repaired, MarkersAgain, Abandoned };

    void keep(CollabEngine::Side side);
    Task<> runKeep(CollabEngine::Side side);
    Task<> watch(std::filesystem::path folder);
    Task<Ending> ending(std::filesystem::path folder);
    Task<> showResolved();
    [[nodiscard]] std::optional<std::filesystem::path> folder() const;

    QString m_site;
    Connection& m_connection;
    Catalog& m_catalog;
    Collaboration& m_collaboration;
    PlatformClient& m_client;
    WindowServices& m_desktop;
    Sleeper m_sleep;
    ConflictFilesModel m_files;
    std::optional<QString> m_counterpart;
    CopiedMark m_copied;
    bool m_resolved = false;
    bool m_keeping = false;
    TaskGroup m_tasks;
};

} // namespace driftwell
