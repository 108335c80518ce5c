#include "support/Bundle.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <system_error>

namespace driftwell {

Bundle::Bundle(std::filesystem::path contents) : m_contents(std::move(contents)) {
    QFile file(m_contents / "Info.json");
    if (file.open(QIODevice::ReadOnly)) {
        m_information = QJsonDocument::fromJson(file.readAll()).object().toVariantMap();
    }
}

Bundle Bundle::ofRunningProgram() {
    std::error_code failed;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", failed);
    for (std::filesystem::path folder = program.parent_path(); folder.has_relative_path();
         folder = folder.parent_path()) {
        if (folder.filename() == "Contents" && std::filesystem::exists(folder / "Info.json", failed)) {
            return Bundle(folder);
        }
    }
    return {};
}

bool Bundle::has(const QString& key) const {
    return m_information.contains(key) && !m_information.value(key).isNull();
}

std::optional<QString> Bundle::string(const QString& key) const {
    const QVariant value = m_information.value(key);
    if (value.typeId() != QMetaType::QString) {
        return std::nullopt;
    }
    return value.toString();
}

QVariantList Bundle::list(const QString& key) const {
    const QVariant value = m_information.value(key);
    // A text converts to the list of its characters.
    return value.typeId() == QMetaType::QVariantList ? value.toList() : QVariantList();
}

std::filesystem::path Bundle::helpers() const {
    return m_contents.empty() ? std::filesystem::path() : m_contents / "Helpers";
}

} // namespace driftwell
