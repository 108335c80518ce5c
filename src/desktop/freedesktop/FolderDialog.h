#pragma once

#include <QObject>
#include <QString>

#include <filesystem>
#include <optional>

namespace driftwell {

/// What a person is asked when a folder is needed.
struct FolderQuestion {
    /// The confirming button.
    QString prompt;
    /// What the folder is for.
    QString message;
    /// Where the dialog begins; absent where the dialog itself knows best.
    std::optional<std::filesystem::path> startFolder;
};

/// One dialog in which a person chooses one folder, on screen from open() until finished() or until it is destroyed.
class FolderDialog : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    virtual void open(const FolderQuestion& question) = 0;

    /// Shows the dialog above everything else, as far as that is possible.
    virtual void bringForward() = 0;

Q_SIGNALS:
    /// Comes once. Absent when the person cancelled.
    void finished(const std::optional<std::filesystem::path>& folder);

    /// Comes instead of finished() when this kind of dialog cannot be shown here.
    void unavailable();
};

} // namespace driftwell
