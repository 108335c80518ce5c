#pragma once

#include "platform/Timestamp.h"

#include <QColor>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <cstdint>

namespace driftwell {

/// Texts and colours made from values, the same everywhere on screen. Pure functions; in QML a singleton.
class Format final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    /// How long ago a moment was, for example "5m ago"; nine weeks back and more its date. "just now" for the future.
    [[nodiscard]] static QString relative(Timestamp date, Timestamp now = driftwell::now());

    /// The same in at most a few letters, for example "5m".
    [[nodiscard]] static QString relativeShort(Timestamp date, Timestamp now = driftwell::now());

    /// The first letters of a name's first two words, in capitals. Empty for a blank name.
    Q_INVOKABLE static QString initials(const QString& name);

    /// The colour of a person or thing: always the same for the same seed, on dark and light.
    Q_INVOKABLE static QColor seedColor(const QString& seed);

    /// A readable name made of an e-mail address; any other text unchanged.
    [[nodiscard]] static QString actor(const QString& text);

    /// A moment to the second in the person's own language and time zone.
    [[nodiscard]] static QString timestamp(Timestamp date);

    /// A number of bytes in decimal units, for example "1.2 MB". Kilobytes are whole, larger units have up to one
    /// decimal, gigabytes up to two.
    [[nodiscard]] static QString byteCount(std::int64_t bytes);

    /// An address as people say it: without its scheme.
    Q_INVOKABLE static QString withoutScheme(const QString& url);

    /// What a reader takes for the first letter, accents included. Empty for an empty text.
    Q_INVOKABLE static QString firstCharacter(const QString& text);

    /// 32-bit FNV-1a over the seed's UTF-8 bytes (draft-eastlake-fnv).
    [[nodiscard]] static std::uint32_t seedHash(const QString& seed);
};

} // namespace driftwell
