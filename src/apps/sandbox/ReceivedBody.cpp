#include "apps/sandbox/ReceivedBody.h"

#include "apps/sandbox/Descriptor.h"
#include "apps/sandbox/HttpError.h"
#include "apps/sandbox/Text.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace driftwell::sandbox {

namespace {

constexpr size_t writeBuffer = 1024 * 1024;

bool writeAll(int file, const std::string& data) {
    for (size_t at = 0; at < data.size();) {
        const ssize_t written = write(file, data.data() + at, data.size() - at);
        if (written < 0 && errno != EINTR) {
            return false;
        }
        at += written < 0 ? 0 : static_cast<size_t>(written);
    }
    return true;
}

} // namespace

ReceivedBody::ReceivedBody(Exchange& exchange, std::filesystem::path path, std::uint64_t limit, const std::string& name)
    : m_path(std::move(path)) {
    try {
        receive(exchange, limit, name);
    } catch (...) {
        remove();
        throw;
    }
}

ReceivedBody::~ReceivedBody() {
    remove();
}

void ReceivedBody::remove() const {
    std::error_code ignored;
    std::filesystem::remove(m_path, ignored);
}

void ReceivedBody::receive(Exchange& exchange, std::uint64_t limit, const std::string& name) {
    const auto tooLarge = [&] {
        return HttpError(413, "too_large", "The " + name + " is larger than " + byteCount(limit));
    };
    if (exchange.bodyRemaining().value_or(0) > limit) {
        throw tooLarge();
    }
    const Descriptor output(open(m_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!output.isOpen()) {
        throw std::system_error(errno, std::generic_category(), "receiving the " + name);
    }

    // The pieces that arrive are small; the disk is better off with large ones.
    std::string pending;
    pending.reserve(writeBuffer);
    int writeFailure = 0;
    const auto flush = [&] {
        if (!writeAll(output.number(), pending)) {
            writeFailure = errno;
        }
        pending.clear();
        return writeFailure == 0;
    };
    const bool whole = exchange.readBody([&](const char* data, size_t size) {
        m_size += size;
        if (m_size > limit) {
            return false;
        }
        if (pending.size() + size > writeBuffer && !flush()) {
            return false;
        }
        pending.append(data, size);
        return true;
    });
    if (m_size > limit) {
        throw tooLarge();
    }
    if (whole) {
        flush();
    }
    if (writeFailure != 0) {
        throw std::system_error(writeFailure, std::generic_category(), "receiving the " + name);
    }
    if (!whole) {
        throw HttpError(400, "incomplete_body", "The " + name + " did not arrive whole");
    }
}

} // namespace driftwell::sandbox
