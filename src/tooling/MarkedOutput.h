#pragma once

#include <QStringDecoder>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace driftwell {

/// Finds what a program prints between two markers among whatever else is printed before and after, banners of start-up
/// files for one. However much comes, little of it is kept.
class MarkedOutput {
public:
    static constexpr std::string_view marker = "__DW__";
    /// The most that may stand between the markers, in bytes. More counts as nothing.
    static constexpr std::size_t longest = 1024 * 1024;

    void append(std::string_view piece);

    /// What stands between the first two markers; absent unless both have come, and when not all of the output is
    /// UTF-8.
    [[nodiscard]] std::optional<std::string> value();

private:
    enum class State { BeforeFirst, Between, AfterSecond };

    QStringDecoder m_decoder{QStringDecoder::Utf8};
    State m_state = State::BeforeFirst;
    /// As much as may belong to a marker, or to the value.
    std::string m_kept;
    std::optional<std::string> m_value;
};

} // namespace driftwell
