#pragma once

#include <string_view>

namespace driftwell::sandbox {

/// The media type for a file's name, by its ending; "application/octet-stream" for one that is not known.
[[nodiscard]] std::string_view mimeType(std::string_view fileName);

} // namespace driftwell::sandbox
