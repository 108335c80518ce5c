#pragma once

#include "apps/sandbox/Exchange.h"

#include <cstdint>
#include <filesystem>

namespace driftwell::sandbox {

/// The body of a request as a file, which is removed with the object.
class ReceivedBody {
public:
    /// Makes the file `path`, which must not be there, of the whole body, at most `limit` bytes. `name` is what it is
    /// in the words of errors: "upload". Throws HttpError and std::system_error.
    ReceivedBody(Exchange& exchange, std::filesystem::path path, std::uint64_t limit, const std::string& name);
    ~ReceivedBody();
    ReceivedBody(const ReceivedBody&) = delete;
    ReceivedBody& operator=(const ReceivedBody&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }
    [[nodiscard]] std::uint64_t size() const { return m_size; }

private:
    void receive(Exchange& exchange, std::uint64_t limit, const std::string& name);
    void remove() const;

    const std::filesystem::path m_path;
    std::uint64_t m_size = 0;
};

} // namespace driftwell::sandbox
