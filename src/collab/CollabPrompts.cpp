#include "collab/CollabPrompts.h"

#include "support/HomeFolder.h"

namespace driftwell {

namespace {

QString abbreviated(const std::filesystem::path& folder) {
    return QString::fromStdString(abbreviateHome(folder));
}

QString inProse(const QStringList& items) {
    if (items.size() <= 2) {
        return items.join(QStringLiteral(" and "));
    }
    return QStringList(items.first(items.size() - 1)).join(QStringLiteral(", ")) + QStringLiteral(", and ") +
           items.last();
}

QString filesInProse(const QStringList& files) {
    if (files.isEmpty()) {
        return QStringLiteral("the files it lists");
    }
    QStringList items;
    for (const QString& file : files) {
        items.append(QLatin1Char('`') + file + QLatin1Char('`'));
    }
    return inProse(items);
}

} // namespace

QString CollabPrompts::conflict(const std::filesystem::path& folder, const QStringList& files,
                                const std::optional<QString>& counterpart) {
    return QStringLiteral("The folder `") + abbreviated(folder) +
           QStringLiteral("` has two versions of some files merged together. In ") + filesInProse(files) +
           QStringLiteral(", look for blocks marked `<<<<<<<` … `=======` … `>>>>>>>`. The part above `=======` is my "
                          "edit; below it is ") +
           counterpart.value_or(QStringLiteral("a teammate")) +
           QStringLiteral("’s. Combine them so both changes are kept where possible, remove all the marker lines, and "
                          "make sure each file is still valid. Don’t run any git commands — just fix the files. "
                          "Publishing happens automatically once they’re fixed.");
}

QString CollabPrompts::needsAttention(const std::filesystem::path& folder, const QString& detail) {
    return QStringLiteral("The folder `") + abbreviated(folder) +
           QStringLiteral("` is a project folder managed by the Driftwell app. It should have exactly one branch, "
                          "`main`, checked out, tracking the `driftwell` remote — but right now ") +
           detail +
           QStringLiteral(". Using git, carefully put it back on `main` with all recent work preserved (merge or "
                          "cherry-pick if needed), don’t push anything, and leave no other branch checked out. The "
                          "Driftwell app will take it from there.");
}

} // namespace driftwell
