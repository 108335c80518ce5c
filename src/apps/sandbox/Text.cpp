#include "apps/sandbox/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <ctime>

namespace driftwell::sandbox {

namespace {

std::optional<unsigned> hexDigit(char character) {
    if (character >= '0' && character <= '9') {
        return static_cast<unsigned>(character - '0');
    }
    if (character >= 'a' && character <= 'f') {
        return static_cast<unsigned>(character - 'a') + 10;
    }
    if (character >= 'A' && character <= 'F') {
        return static_cast<unsigned>(character - 'A') + 10;
    }
    return std::nullopt;
}

bool isLowerOrDigit(char character) {
    return (character >= 'a' && character <= 'z') || (character >= '0' && character <= '9');
}

} // namespace

std::optional<std::string> percentDecoded(std::string_view text) {
    std::string decoded;
    decoded.reserve(text.size());
    for (size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '%') {
            decoded += text[at];
            continue;
        }
        const auto high = at + 1 < text.size() ? hexDigit(text[at + 1]) : std::nullopt;
        const auto low = at + 2 < text.size() ? hexDigit(text[at + 2]) : std::nullopt;
        if (!high || !low) {
            return std::nullopt;
        }
        decoded += static_cast<char>(*high * 16 + *low);
        at += 2;
    }
    return decoded;
}

std::string percentEncoded(std::string_view text) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    constexpr std::string_view unreserved = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
    std::string encoded;
    for (const char character : text) {
        if (unreserved.find(character) != std::string_view::npos) {
            encoded += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            encoded += '%';
            encoded += digits[byte >> 4U];
            encoded += digits[byte & 15U];
        }
    }
    return encoded;
}

std::map<std::string, std::string> formFields(std::string_view text) {
    std::map<std::string, std::string> fields;
    const auto decode = [](std::string_view part) {
        std::string blanks(part);
        std::replace(blanks.begin(), blanks.end(), '+', ' ');
        return percentDecoded(blanks);
    };
    for (const std::string_view field : split(text, '&')) {
        const size_t equals = std::min(field.find('='), field.size());
        const auto key = decode(field.substr(0, equals));
        const auto value = decode(equals < field.size() ? field.substr(equals + 1) : std::string_view());
        if (key && value && !key->empty()) {
            fields.emplace(*key, *value);
        }
    }
    return fields;
}

std::string htmlEscaped(std::string_view text) {
    std::string escaped;
    for (const char character : text) {
        switch (character) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\'':
            escaped += "&#39;";
            break;
        default:
            escaped += character;
        }
    }
    return escaped;
}

std::string lowerCased(std::string_view text) {
    std::string lower(text);
    for (char& character : lower) {
        if (character >= 'A' && character <= 'Z') {
            character = static_cast<char>(character - 'A' + 'a');
        }
    }
    return lower;
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (;;) {
        const size_t end = text.find(separator);
        parts.push_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return parts;
        }
        text.remove_prefix(end + 1);
    }
}

std::optional<std::uint64_t> decimal(std::string_view text) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

bool isSiteName(std::string_view name) {
    constexpr std::array<std::string_view, 6> reserved = {"api", "ws", "sdk", "www", "dw", "admin"};
    if (name.empty() || name.size() > 63 || !isLowerOrDigit(name.front())) {
        return false;
    }
    return std::all_of(name.begin(), name.end(), [](char c) { return isLowerOrDigit(c) || c == '-'; }) &&
           std::find(reserved.begin(), reserved.end(), name) == reserved.end();
}

std::string timestamp(std::chrono::system_clock::time_point time) {
    using namespace std::chrono;
    const auto since = duration_cast<milliseconds>(time.time_since_epoch()).count();
    const auto seconds = static_cast<std::time_t>(since / 1000);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    std::array<char, 32> date{};
    const size_t length = std::strftime(date.data(), date.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    std::array<char, 8> fraction{};
    std::snprintf(fraction.data(), fraction.size(), ".%03dZ", static_cast<int>(since % 1000));
    return std::string(date.data(), length) + fraction.data();
}

std::string counted(std::uint64_t count, std::string_view one, std::string_view many) {
    return std::to_string(count) + ' ' + std::string(count == 1 ? one : many);
}

std::string byteCount(std::uint64_t bytes) {
    constexpr std::array<const char*, 4> units = {"kB", "MB", "GB", "TB"};
    if (bytes < 1000) {
        return counted(bytes, "byte", "bytes");
    }
    double amount = static_cast<double>(bytes) / 1000;
    size_t unit = 0;
    while (amount >= 999.95 && unit + 1 < units.size()) {
        amount /= 1000;
        ++unit;
    }
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f %s", amount, units[unit]);
    return text.data();
}

} // namespace driftwell::sandbox
