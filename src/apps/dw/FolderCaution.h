#pragma once

#include <filesystem>

/// What is looked at before a folder is published, so that nobody publishes what they did not mean.
namespace driftwell::dw {

/// Throws WrongUsage for the home folder, the root of the file system and whatever else holds the home folder.
void refuseTooMuch(const std::filesystem::path& folder);

} // namespace driftwell::dw
