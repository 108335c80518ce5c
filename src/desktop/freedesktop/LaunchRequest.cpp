#include "desktop/freedesktop/LaunchRequest.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <system_error>

namespace driftwell {

namespace {

constexpr std::string_view formatMark = "driftwell launch 1";

std::string environmentVariable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

bool isAddress(std::string_view argument) {
    if (argument.starts_with("driftwell:") || argument.starts_with("file:")) {
        return true;
    }
    const std::string_view scheme = argument.substr(0, std::min(argument.find("://"), argument.size()));
    const auto belongsToScheme = [](unsigned char letter) {
        return std::isalnum(letter) || letter == '+' || letter == '-' || letter == '.';
    };
    return scheme.size() < argument.size() && !scheme.empty() &&
           std::all_of(scheme.begin(), scheme.end(), belongsToScheme);
}

std::string absolutePath(const std::string& argument, const std::filesystem::path& workingFolder) {
    std::filesystem::path path = workingFolder / argument;
    if (!path.has_filename()) {
        path = path.parent_path();
    }
    if (path.filename() == "." || path.filename() == "..") {
        std::error_code missing;
        const std::filesystem::path meant = std::filesystem::canonical(path, missing);
        return missing ? path.string() : meant.string();
    }
    return path.string();
}

void append(std::string& encoding, std::string_view text) {
    encoding += text;
    encoding += '\0';
}

/// Takes the next text off the encoding.
std::optional<std::string> takeText(std::string_view& encoding) {
    const std::size_t end = encoding.find('\0');
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    std::string text(encoding.substr(0, end));
    encoding.remove_prefix(end + 1);
    return text;
}

std::optional<std::size_t> numberIn(const std::optional<std::string>& text) {
    std::size_t number = 0;
    if (!text) {
        return std::nullopt;
    }
    const char* end = text->data() + text->size();
    const std::from_chars_result result = std::from_chars(text->data(), end, number);
    return result.ec == std::errc() && result.ptr == end ? std::optional(number) : std::nullopt;
}

} // namespace

LaunchRequest LaunchRequest::ofThisProcess(int argc, const char* const* argv) {
    LaunchRequest request;
    request.arguments.assign(argv + std::min(argc, 1), argv + argc);
    std::error_code gone;
    const std::filesystem::path workingFolder = std::filesystem::current_path(gone);
    if (!gone) {
        request.arguments = absoluteArguments(std::move(request.arguments), workingFolder);
    }
    request.activationToken = environmentVariable("XDG_ACTIVATION_TOKEN");
    if (request.activationToken.empty()) {
        request.activationToken = environmentVariable("DESKTOP_STARTUP_ID");
    }
    return request;
}

std::string LaunchRequest::encoded() const {
    std::string encoding;
    append(encoding, formatMark);
    append(encoding, std::to_string(arguments.size()));
    append(encoding, activationToken);
    for (const std::string& argument : arguments) {
        append(encoding, argument);
    }
    return encoding;
}

std::optional<LaunchRequest> LaunchRequest::decoded(std::string_view encoding) {
    const std::optional<std::string> mark = takeText(encoding);
    const std::optional<std::size_t> number = numberIn(takeText(encoding));
    std::optional<std::string> token = takeText(encoding);
    if (mark != formatMark || !number || !token) {
        return std::nullopt;
    }
    LaunchRequest request{{}, *std::move(token)};
    while (std::optional<std::string> argument = takeText(encoding)) {
        request.arguments.push_back(*std::move(argument));
    }
    const bool isWhole = encoding.empty() && request.arguments.size() == *number;
    return isWhole ? std::optional(std::move(request)) : std::nullopt;
}

std::vector<std::string> absoluteArguments(std::vector<std::string> arguments,
                                           const std::filesystem::path& workingFolder) {
    bool optionsEnded = false;
    for (std::string& argument : arguments) {
        const bool isOption = !optionsEnded && argument.starts_with('-');
        optionsEnded = optionsEnded || argument == "--";
        if (!isOption && !argument.empty() && !isAddress(argument)) {
            argument = absolutePath(argument, workingFolder);
        }
    }
    return arguments;
}

} // namespace driftwell
