#include "apps/dw/Suggestion.h"

#include <algorithm>
#include <utility>

namespace driftwell::dw {

namespace {

constexpr std::size_t longestWord = 40;

/// The least number of letters left out, added, changed or swapped with the next that makes one of the other.
std::size_t distance(const std::string& one, const std::string& other) {
    std::vector<std::size_t> beforeLast;
    std::vector<std::size_t> last;
    std::vector<std::size_t> row(other.size() + 1);
    for (std::size_t j = 0; j <= other.size(); ++j) {
        row[j] = j;
    }
    for (std::size_t i = 1; i <= one.size(); ++i) {
        beforeLast = std::exchange(last, row);
        row[0] = i;
        for (std::size_t j = 1; j <= other.size(); ++j) {
            const std::size_t change = one[i - 1] == other[j - 1] ? 0 : 1;
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + change});
            const bool areSwapped = i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1];
            if (areSwapped) {
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
            }
        }
    }
    return row[other.size()];
}

} // namespace

QString suggestion(const std::string& typed, const std::vector<std::string>& known, const std::string& dashes) {
    if (typed.size() > longestWord) {
        return {};
    }
    const std::string* nearest = nullptr;
    // One letter of a word of three to five, two of a longer one.
    std::size_t least = std::min<std::size_t>(2, typed.size() / 3) + 1;
    for (const std::string& word : known) {
        if (const std::size_t far = distance(typed, word); far < least) {
            least = far;
            nearest = &word;
        }
    }
    return nearest == nullptr ? QString()
                              : QStringLiteral("Did you mean %1? ").arg(QString::fromStdString(dashes + *nearest));
}

} // namespace driftwell::dw
