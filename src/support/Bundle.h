#pragma once

#include <QString>
#include <QVariantList>
#include <QVariantMap>

#include <filesystem>
#include <optional>

namespace driftwell {

/// The application's own tree, Driftwell/Contents/…, relocatable: where it lies is found from where the running program
/// lies. Its information dictionary is Contents/Info.json, written by the build.
class Bundle {
public:
    /// No bundle: no information and no helpers, as for a program that runs outside a tree.
    Bundle() = default;

    /// The bundle whose Contents folder this is. A missing or damaged Info.json reads as empty.
    explicit Bundle(std::filesystem::path contents);

    /// The bundle that the running program lies in, or none.
    [[nodiscard]] static Bundle ofRunningProgram();

    /// The information dictionary has the key, with any value but null.
    [[nodiscard]] bool has(const QString& key) const;

    /// The value of a key of the information dictionary when it is a string.
    [[nodiscard]] std::optional<QString> string(const QString& key) const;

    /// The value of a key of the information dictionary when it is a list, or else an empty one.
    [[nodiscard]] QVariantList list(const QString& key) const;

    /// Contents/Helpers, with the programs that the application brings along. Empty without a bundle.
    [[nodiscard]] std::filesystem::path helpers() const;

private:
    std::filesystem::path m_contents;
    QVariantMap m_information;
};

} // namespace driftwell
