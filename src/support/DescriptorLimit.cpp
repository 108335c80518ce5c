#include "support/DescriptorLimit.h"

#include "support/UniqueFd.h"

#include <fcntl.h>

#include <vector>

namespace driftwell {

bool canOpenDescriptors(std::size_t count) {
    std::vector<UniqueFd> opened(count);
    for (UniqueFd& descriptor : opened) {
        descriptor = UniqueFd(::open("/", O_PATH | O_CLOEXEC));
        if (!descriptor) {
            return false;
        }
    }
    return true;
}

} // namespace driftwell
