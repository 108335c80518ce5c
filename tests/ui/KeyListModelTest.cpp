#include "ui/window/KeyListModel.h"

#include <gmock/gmock.h>

#include <fstream>
#include <string>
#include <vector>

namespace driftwell::tests {
namespace {

/// What stands in the first column of the manual's table of keys.
std::vector<std::string> keysOfManual() {
    std::ifstream manual(DRIFTWELL_REPOSITORY "/docs/application.md");
    std::vector<std::string> keys;
    bool isTable = false;
    for (std::string line; std::getline(manual, line);) {
        if (line.starts_with('#')) {
            isTable = line == "## Keys";
        } else if (isTable && line.starts_with("| ") && !line.starts_with("| key")) {
            keys.push_back(line.substr(2, line.find(" |", 2) - 2));
        }
    }
    return keys;
}

TEST(KeyListModel, HasTheKeysOfTheManual) {
    const KeyListModel model(nullptr);
    std::vector<std::string> keys;
    for (int row = 0; row < model.rowCount(); ++row) {
        keys.push_back(model.index(row).data(KeyListModel::KeysRole).toString().toStdString());
        EXPECT_FALSE(model.index(row).data(KeyListModel::ActionRole).toString().isEmpty()) << keys.back();
    }
    EXPECT_FALSE(keys.empty());
    EXPECT_EQ(keys, keysOfManual());
}

} // namespace
} // namespace driftwell::tests
