#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace driftwell::bench {

/// One line of the report.
struct Row {
    std::string work;
    std::string ours;
    std::string against;
    std::string ratio;
    std::string goal;
    bool met = true;
};

/// The median of figures.
[[nodiscard]] double median(std::vector<double> figures);

/// Two works measured in turn, so that a machine that changes its speed changes both: A B A B …
struct Pair {
    double ours = 0;
    double theirs = 0;
    /// The median of theirs / ours, pair by pair: how many times faster ours is.
    double faster = 0;
};
[[nodiscard]] Pair inTurn(int rounds, const std::function<double()>& ours, const std::function<double()>& theirs);

[[nodiscard]] std::string fixed(double value, int decimals, const std::string& unit);

/// Rows on their way from one program of the benchmarks to the one that publishes: a line each, its columns apart by
/// tabs. Lines that are no row are left out.
void printRows(const std::vector<Row>& rows);
[[nodiscard]] std::vector<Row> readRows(const std::string& text);

/// Prints the rows and writes them as a page with the machine's processors and the date. The page's further sections
/// stay.
void publish(const std::vector<Row>& rows, const std::filesystem::path& page);

} // namespace driftwell::bench
