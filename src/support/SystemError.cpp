#include "support/SystemError.h"

#include <cerrno>
#include <system_error>

namespace driftwell {

void throwSystemError(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

} // namespace driftwell
