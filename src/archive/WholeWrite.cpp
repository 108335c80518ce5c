#include "archive/WholeWrite.h"

#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace driftwell {

void writeWhole(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(file, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            throw std::system_error(errno, std::generic_category(), "could not write");
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

} // namespace driftwell
