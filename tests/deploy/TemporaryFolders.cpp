#include "tests/ScopedVariable.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>

namespace driftwell::tests {
namespace {

/// Puts temporary folders into memory where that can be, unless a place was chosen: these tests make many small files.
class TemporaryFolders : public testing::Environment {
public:
    void SetUp() override {
        if (!qEnvironmentVariableIsSet("TMPDIR") && ::access(memory, W_OK | X_OK) == 0) {
            m_variable.emplace("TMPDIR", memory);
        }
    }
    void TearDown() override { m_variable.reset(); }

private:
    static constexpr const char* memory = "/dev/shm";
    std::optional<ScopedVariable> m_variable;
};

[[maybe_unused]] const testing::Environment* const registered =
    testing::AddGlobalTestEnvironment(new TemporaryFolders); // owned by the framework

} // namespace
} // namespace driftwell::tests
