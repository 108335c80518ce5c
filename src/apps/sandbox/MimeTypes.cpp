#include "apps/sandbox/MimeTypes.h"

#include "apps/sandbox/Text.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace driftwell::sandbox {

namespace {

constexpr std::array<std::pair<std::string_view, std::string_view>, 47> types = {{
    {"aac", "audio/aac"},
    {"atom", "application/atom+xml"},
    {"avif", "image/avif"},
    {"bmp", "image/bmp"},
    {"css", "text/css; charset=utf-8"},
    {"csv", "text/csv; charset=utf-8"},
    {"flac", "audio/flac"},
    {"gif", "image/gif"},
    {"glb", "model/gltf-binary"},
    {"gltf", "model/gltf+json"},
    {"gz", "application/gzip"},
    {"htm", "text/html; charset=utf-8"},
    {"html", "text/html; charset=utf-8"},
    {"ico", "image/vnd.microsoft.icon"},
    {"ics", "text/calendar; charset=utf-8"},
    {"jpeg", "image/jpeg"},
    {"jpg", "image/jpeg"},
    {"js", "text/javascript; charset=utf-8"},
    {"json", "application/json"},
    {"jsonld", "application/ld+json"},
    {"m4a", "audio/mp4"},
    {"map", "application/json"},
    {"md", "text/markdown; charset=utf-8"},
    {"mjs", "text/javascript; charset=utf-8"},
    {"mov", "video/quicktime"},
    {"mp3", "audio/mpeg"},
    {"mp4", "video/mp4"},
    {"oga", "audio/ogg"},
    {"ogg", "audio/ogg"},
    {"ogv", "video/ogg"},
    {"otf", "font/otf"},
    {"pdf", "application/pdf"},
    {"png", "image/png"},
    {"rss", "application/rss+xml"},
    {"svg", "image/svg+xml"},
    {"tar", "application/x-tar"},
    {"ttf", "font/ttf"},
    {"txt", "text/plain; charset=utf-8"},
    {"wasm", "application/wasm"},
    {"wav", "audio/wav"},
    {"webm", "video/webm"},
    {"webmanifest", "application/manifest+json"},
    {"webp", "image/webp"},
    {"woff", "font/woff"},
    {"woff2", "font/woff2"},
    {"xml", "text/xml; charset=utf-8"},
    {"zip", "application/zip"},
}};

} // namespace

std::string_view mimeType(std::string_view fileName) {
    const size_t dot = fileName.rfind('.');
    const std::string ending = dot == std::string_view::npos ? std::string() : lowerCased(fileName.substr(dot + 1));
    const auto found = std::find_if(types.begin(), types.end(), [&](const auto& type) { return type.first == ending; });
    return found == types.end() ? "application/octet-stream" : found->second;
}

} // namespace driftwell::sandbox
