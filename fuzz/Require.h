#pragma once

#include <QString>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace driftwell::fuzz {

/// Ends the program, so that the fuzzer reports and keeps the input, unless the property holds.
inline void require(bool holds, const char* property) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", property);
        std::abort();
    }
}

/// The input as a text: UTF-8, or, when its first byte is zero, raw UTF-16 with whatever surrogates come.
inline QString textOf(const std::uint8_t* data, std::size_t size) {
    if (size > 0 && data[0] == 0) {
        QString text;
        for (std::size_t i = 1; i + 1 < size; i += 2) {
            text.append(QChar(static_cast<ushort>(data[i] | data[i + 1] << 8)));
        }
        return text;
    }
    return QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
}

} // namespace driftwell::fuzz
