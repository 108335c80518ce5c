#include "apps/sandbox/Publishing.h"

#include "apps/sandbox/HttpError.h"
#include "apps/sandbox/Secrets.h"
#include "apps/sandbox/Text.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <system_error>
#include <utility>

namespace driftwell::sandbox {

namespace {

constexpr size_t writeBuffer = 1024 * 1024;

class Cleanup {
public:
    explicit Cleanup(std::function<void()> action) : m_action(std::move(action)) {}
    ~Cleanup() {
        if (m_action) {
            m_action();
        }
    }
    Cleanup(const Cleanup&) = delete;
    Cleanup& operator=(const Cleanup&) = delete;
    void dismiss() { m_action = nullptr; }

private:
    std::function<void()> m_action;
};

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

Publishing::Publishing(const DataFolder& folder, Store& store, Sweeper& sweeper, const UploadLimits& limits,
                       const StopSignal& stop)
    : m_folder(folder), m_store(store), m_sweeper(sweeper), m_limits(limits), m_stop(stop) {}

Unpacked Publishing::deploy(Exchange& exchange, const std::string& site, const std::string& person) {
    const std::string id = freshId();
    const std::filesystem::path file = m_folder.upload(id);
    const Cleanup removeFile([&file] {
        std::error_code ignored;
        std::filesystem::remove(file, ignored);
    });
    receive(exchange, file);

    const std::filesystem::path folder = m_folder.version(id);
    // Elsewhere and one after the other: removing a deep folder keeps each level open.
    Cleanup removeFolder([this, &folder] { m_sweeper.remove(folder); });
    std::filesystem::create_directory(folder);
    const Unpacked unpacked = unpack(file, folder, m_limits.unpacked, m_stop);

    std::string detail =
        "Deployed " + counted(unpacked.files, "file", "files") + " (" + byteCount(unpacked.bytes) + ")";
    if (unpacked.skipped > 0) {
        detail += ", left out " + counted(unpacked.skipped, "link or device", "links or devices");
    }
    const auto dropped = m_store.publish(site, id, person, detail);
    removeFolder.dismiss();
    if (dropped) {
        discard(*dropped);
    }
    return unpacked;
}

void Publishing::discard(const std::string& version) {
    m_sweeper.remove(m_folder.version(version));
}

void Publishing::receive(Exchange& exchange, const std::filesystem::path& file) const {
    const HttpError tooLarge(413, "too_large", "The upload is larger than " + byteCount(m_limits.upload));
    if (exchange.bodyRemaining().value_or(0) > m_limits.upload) {
        throw tooLarge;
    }
    const int output = open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (output < 0) {
        throw std::system_error(errno, std::generic_category(), "receiving the upload");
    }
    const Cleanup closeOutput([output] { close(output); });

    // The pieces that arrive are small; the disk is better off with large ones.
    std::string pending;
    pending.reserve(writeBuffer);
    std::uint64_t received = 0;
    int writeFailure = 0;
    const auto flush = [&] {
        if (!writeAll(output, pending)) {
            writeFailure = errno;
        }
        pending.clear();
        return writeFailure == 0;
    };
    const bool whole = exchange.readBody([&](const char* data, size_t size) {
        received += size;
        if (received > m_limits.upload) {
            return false;
        }
        if (pending.size() + size > writeBuffer && !flush()) {
            return false;
        }
        pending.append(data, size);
        return true;
    });
    if (received > m_limits.upload) {
        throw tooLarge;
    }
    if (whole) {
        flush();
    }
    if (writeFailure != 0) {
        throw std::system_error(writeFailure, std::generic_category(), "receiving the upload");
    }
    if (!whole) {
        throw HttpError(400, "incomplete_body", "The upload did not arrive whole");
    }
    if (received == 0) {
        throw HttpError(400, "empty_archive", "The upload is empty");
    }
}

} // namespace driftwell::sandbox
