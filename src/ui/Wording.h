#pragma once

#include <QObject>
#include <QString>
#include <QStringView>
#include <QtQml/qqmlregistration.h>

#include <span>

namespace driftwell {

/// The texts that are written for another system and would be false on this one. Screens name a text as it is given and
/// show what it is here:
///
///     text: Wording.here("Reveal Folder in Finder")
///
/// A further text is a further line of the table. In QML a singleton.
class Wording final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    struct Entry {
        QStringView given;
        QStringView here;
    };

    [[nodiscard]] static std::span<const Entry> table();

    /// What a given text is here; a text that is not in the table stays as it is given.
    [[nodiscard]] Q_INVOKABLE static QString here(const QString& given);
};

} // namespace driftwell
