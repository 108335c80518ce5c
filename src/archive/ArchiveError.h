#pragma once

#include <stdexcept>

namespace driftwell {

/// An archive that is not whole, or not what it says it is.
class ArchiveError final : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace driftwell
