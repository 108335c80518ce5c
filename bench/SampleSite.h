#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace driftwell::bench {

/// A website of about `bytes`: two thirds pictures and fonts, which do not compress, one third pages, styles and
/// scripts, which do. Always the same for the same size.
void makeSite(const std::filesystem::path& folder, std::int64_t bytes);

/// `count` small files in folders of a hundred.
void makeManyFiles(const std::filesystem::path& folder, int count);

/// A file of `bytes` that takes no room on the disk.
void makeHollowFile(const std::filesystem::path& file, std::int64_t bytes);

/// The answer to "which sites are there" with `count` sites.
[[nodiscard]] std::string sitesAnswer(int count, const std::string& newestTime);

} // namespace driftwell::bench
