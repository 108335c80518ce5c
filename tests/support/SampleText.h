#pragma once

#include <cstddef>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace driftwell::tests {

/// Bytes that no compression makes shorter, the same each time.
[[nodiscard]] inline std::string noise(std::size_t size) {
    std::mt19937 random(7);
    std::string bytes(size, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random());
    }
    return bytes;
}

/// The lines of a text without their ends.
[[nodiscard]] inline std::vector<std::string> linesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

} // namespace driftwell::tests
