#pragma once

#include "tests/support/TestFolder.h"

#include <QString>

#include <filesystem>
#include <string>
#include <vector>

namespace driftwell::tests {

/// Folders that are linked to sites of a platform, made by git itself, without a platform that serves any.
class CollabFolders {
public:
    /// Folders are made below `root`; `origin` is the platform's address.
    CollabFolders(const TestFolder& root, const QString& origin) : m_root(root), m_origin(origin.toStdString()) {}

    /// Ties an existing folder to a site. It has one commit afterwards.
    void link(const std::string& site, const std::filesystem::path& folder) const;

    /// A folder with one commit of "index.html".
    [[nodiscard]] std::filesystem::path linked(const std::string& site) const;

    /// A folder in the middle of a merge in which `teammate` and the person have changed the same line of each file.
    [[nodiscard]] std::filesystem::path conflicted(const std::string& site,
                                                   const std::vector<std::string>& files = {"index.html"},
                                                   const std::string& teammate = "Grace Hopper") const;

    /// As an agent does it: the file without markers.
    static void repair(const std::filesystem::path& folder, const std::string& file);

private:
    const TestFolder& m_root;
    std::string m_origin;
};

} // namespace driftwell::tests
