#pragma once

#include <gtest/gtest.h>

namespace driftwell::tests {

/// Fails every test during which Qt or QML warns of anything. Made once, before the first test.
class NoWarnings final : public testing::EmptyTestEventListener {
public:
    NoWarnings();

private:
    void OnTestStart(const testing::TestInfo& test) override;
    void OnTestEnd(const testing::TestInfo& test) override;
};

} // namespace driftwell::tests
