#include "ui/share/LibsModel.h"

#include "ui/share/ShareTexts.h"

namespace driftwell {

void LibsModel::show(const QList<LibInfo>& libs, const SiteInfo& site, const QSet<QString>& togglesInFlight) {
    const QList<QString> used = site.libs.value_or(QList<QString>());
    QList<LibSetting> settings;
    for (const LibInfo& lib : libs) {
        settings.append({.key = lib.name,
                         .title = titleOfLib(lib.manifest.name),
                         .description = lib.manifest.description,
                         .on = used.contains(lib.name),
                         .busy = togglesInFlight.contains(site.name + u'/' + lib.name)});
    }
    RowList::show(settings);
}

QVariant LibsModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    const LibSetting& setting = rows()[index.row()];
    switch (role) {
    case NameRole:
        return setting.key;
    case SymbolRole:
        return symbolOfLib(setting.key);
    case Qt::DisplayRole:
    case TitleRole:
        return setting.title;
    case DescriptionRole:
        return setting.description;
    case OnRole:
        return setting.on;
    case BusyRole:
        return setting.busy;
    default:
        return {};
    }
}

QHash<int, QByteArray> LibsModel::roleNames() const {
    return {{NameRole, "name"}, {SymbolRole, "symbol"},           {TitleRole, "title"},
            {OnRole, "on"},     {DescriptionRole, "description"}, {BusyRole, "busy"}};
}

} // namespace driftwell
