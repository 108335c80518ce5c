#pragma once

namespace driftwell::tests {

/// In this test program names that end in ".invalid" are looked up without a network, and not found. While an object of
/// this class lives, the lookup of "slow.invalid" hangs, as with a name server that does not answer.
class SlowLookup {
public:
    SlowLookup();
    ~SlowLookup();
    SlowLookup(const SlowLookup&) = delete;
    SlowLookup& operator=(const SlowLookup&) = delete;

    /// A lookup of the slow name is under way.
    [[nodiscard]] bool isUnderWay() const;

    /// Lets the lookups end.
    void release();
};

} // namespace driftwell::tests
