#include "apps/dw/Texts.h"

#include "core/Format.h"
#include "platform/Timestamp.h"

#include <QDateTime>
#include <QLocale>

#include <cmath>
#include <optional>

namespace driftwell::dw {

QString sizeText(std::int64_t bytes) {
    if (bytes == 1) {
        return QStringLiteral("1 byte");
    }
    const int decimals = bytes < 1000 ? 0 : 1;
    return QLocale::c().formattedDataSize(bytes, decimals, QLocale::DataSizeSIFormat);
}

QString countText(std::int64_t files) {
    return Format::counted(files, QStringLiteral("file"));
}

QString durationText(std::chrono::milliseconds duration) {
    if (duration < std::chrono::seconds(1)) {
        return QStringLiteral("%1 ms").arg(duration.count());
    }
    return QStringLiteral("%1 s").arg(static_cast<double>(duration.count()) / 1000.0, 0, 'f', 1);
}

QString localTimeText(const QString& timestamp) {
    const std::optional<Timestamp> time = timestampFromIso(timestamp);
    if (!time) {
        return timestamp;
    }
    const auto sinceEpoch = std::chrono::floor<std::chrono::milliseconds>(time->time_since_epoch());
    return QDateTime::fromMSecsSinceEpoch(sinceEpoch.count()).toString(QStringLiteral("yyyy-MM-dd HH:mm"));
}

QString fieldsText(QStringList fields) {
    for (QString& field : fields) {
        for (const QChar separator : {u'\t', u'\n', u'\r'}) {
            field.replace(separator, u' ');
        }
    }
    return fields.join(u'\t');
}

QString personText(const QString& address) {
    return address.section(u'@', 0, 0);
}

QString stageText(DeployStage stage) {
    const QString name = stageName(stage);
    return stage.step == DeployStage::Step::Uploading
               ? name + QStringLiteral(" %1 %").arg(static_cast<int>(std::floor(stage.fraction * 100)))
               : name;
}

QString stageName(DeployStage stage) {
    switch (stage.step) {
    case DeployStage::Step::Packing:
        return QStringLiteral("Packing…");
    case DeployStage::Step::Uploading:
        return QStringLiteral("Uploading…");
    case DeployStage::Step::Publishing:
        return QStringLiteral("Publishing…");
    }
    Q_UNREACHABLE();
}

QString problemText(const QString& name, SiteName::Problem problem) {
    switch (problem) {
    case SiteName::Problem::None:
        return {};
    case SiteName::Problem::Empty:
        return QStringLiteral("A site needs a name");
    case SiteName::Problem::Reserved:
        return QStringLiteral("“%1” is reserved").arg(name);
    case SiteName::Problem::ForbiddenCharacter:
        return QStringLiteral("“%1” is no site name: lowercase letters, digits and dashes only").arg(name);
    case SiteName::Problem::BeginsWithDash:
        return QStringLiteral("“%1” is no site name: it must begin with a letter or digit").arg(name);
    case SiteName::Problem::TooLong:
        return QStringLiteral("“%1” is no site name: it has %2 characters, and at most %3 are allowed")
            .arg(name)
            .arg(name.size())
            .arg(SiteName::maximumLength);
    }
    Q_UNREACHABLE();
}

} // namespace driftwell::dw
