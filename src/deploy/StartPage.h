#pragma once

#include "deploy/FolderScan.h"

#include <QString>

#include <string>

namespace driftwell {

/// Whether a scanned folder has the page that a site's address shows, "index.html" at the top.
struct StartPage {
    bool isThere = true;
    /// Where it is not: the uppermost folder below that has one, relative, without a slash at the end; empty when none
    /// has.
    std::string folder = {};

    [[nodiscard]] static StartPage of(const FolderScan& files);

    /// A sentence for a person where it is missing, otherwise empty.
    [[nodiscard]] QString text() const;

    bool operator==(const StartPage&) const = default;
};

} // namespace driftwell
