#include "bench/Report.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <thread>

namespace driftwell::bench {

namespace {

std::string processorName() {
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);) {
        if (line.starts_with("model name")) {
            return line.substr(line.find(':') + 2);
        }
    }
    return "an unknown processor";
}

/// What a page says below its rows, which is measured in other ways.
std::string sectionsOf(const std::filesystem::path& page) {
    std::ifstream file(page);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const std::size_t first = text.find("\n## ");
    return first == std::string::npos ? std::string() : text.substr(first);
}

std::string today() {
    const std::time_t now = std::time(nullptr);
    char text[16];
    std::strftime(text, sizeof text, "%Y-%m-%d", std::gmtime(&now));
    return text;
}

} // namespace

double median(std::vector<double> figures) {
    std::sort(figures.begin(), figures.end());
    const std::size_t middle = figures.size() / 2;
    return figures.size() % 2 == 1 ? figures[middle] : (figures[middle - 1] + figures[middle]) / 2;
}

Pair inTurn(int rounds, const std::function<double()>& ours, const std::function<double()>& theirs) {
    std::vector<double> a;
    std::vector<double> b;
    std::vector<double> ratios;
    for (int i = 0; i < rounds; ++i) {
        a.push_back(ours());
        b.push_back(theirs());
        ratios.push_back(b.back() / a.back());
    }
    return {median(a), median(b), median(ratios)};
}

std::string fixed(double value, int decimals, const std::string& unit) {
    std::ostringstream text;
    text.setf(std::ios::fixed);
    text.precision(decimals);
    text << value << (unit.empty() ? "" : " ") << unit;
    return text.str();
}

void printRows(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        std::cout << row.work << '\t' << row.ours << '\t' << row.against << '\t' << row.ratio << '\t' << row.goal
                  << '\t' << (row.met ? "yes" : "no") << '\n';
    }
}

std::vector<Row> readRows(const std::string& text) {
    std::vector<Row> rows;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::vector<std::string> columns;
        std::istringstream cells(line);
        for (std::string cell; std::getline(cells, cell, '\t');) {
            columns.push_back(cell);
        }
        if (columns.size() == 6) {
            rows.push_back({columns[0], columns[1], columns[2], columns[3], columns[4], columns[5] == "yes"});
        }
    }
    return rows;
}

void publish(const std::vector<Row>& rows, const std::filesystem::path& page) {
    std::ostringstream text;
    text << "# Benchmarks\n\n"
         << "Measured by `./dev bench` on " << today() << ", " << std::thread::hardware_concurrency() << " cores, "
         << processorName()
         << ". Medians of runs in turn with what they are compared with; whole processes, unless the "
         << "line says otherwise.\n\n"
         << "| work | Driftwell | against | ratio | goal | met |\n|---|---|---|---|---|---|\n";
    for (const Row& row : rows) {
        text << "| " << row.work << " | " << row.ours << " | " << row.against << " | " << row.ratio << " | " << row.goal
             << " | " << (row.met ? "yes" : "no") << " |\n";
    }
    std::cout << text.str();
    text << sectionsOf(page);
    std::ofstream(page) << text.str();
}

} // namespace driftwell::bench
