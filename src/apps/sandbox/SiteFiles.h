#pragma once

#include "apps/sandbox/Descriptor.h"
#include "apps/sandbox/HttpError.h"

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace driftwell::sandbox {

struct UnpackLimits {
    std::uint64_t bytes = std::uint64_t{8} << 30U;
    std::uint64_t files = 500'000;
};

struct Unpacked {
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
    /// Members that were left out because they are neither files nor folders: links, devices, pipes.
    std::uint64_t skipped = 0;
};

/// The files of a version while they are written, under the same rules whichever way they come: no name leads out of
/// the folder, none is too long or too deep, and there are neither too many nor too large ones. Functions throw
/// HttpError for what breaks a rule, and std::system_error when the disk fails.
class SiteFiles {
public:
    /// `folder` must exist and be empty. `source` is what the files come from, in the words of errors: "archive".
    SiteFiles(const std::filesystem::path& folder, const UnpackLimits& limits, std::string source);

    /// The parts of a name without "." and doubled slashes; none for the root folder itself. They point into `name`.
    [[nodiscard]] std::vector<std::string_view> partsOf(std::string_view name) const;

    /// Members count, and so does a folder that only the names of others imply: each takes an entry on the disk, or
    /// time.
    void countMember();

    void makeFolder(std::span<const std::string_view> parts) { enterFolder(parts, Named::AsMember); }

    /// Makes a file to be written, and what is missing of its folders. Of two with one name the later counts, as tar
    /// itself has it. At most `size` bytes may be written.
    [[nodiscard]] Descriptor makeFile(std::span<const std::string_view> parts, std::uint64_t size);

    void skip() { ++m_done.skipped; }

    [[nodiscard]] const Unpacked& done() const { return m_done; }
    /// The same for the end: throws when there is no file at all.
    [[nodiscard]] const Unpacked& finished() const;

    static void writeAll(const Descriptor& file, const void* data, std::size_t size, off_t offset);
    [[nodiscard]] static std::uint64_t sizeOf(const Descriptor& file);

private:
    enum class Named { AsMember, ByAnother };
    void enterFolder(std::span<const std::string_view> parts, Named named);
    [[nodiscard]] Descriptor openFolder(int parent, const std::string& name) const;
    [[nodiscard]] Descriptor create(const std::string& name);
    void addBytes(std::uint64_t size);
    [[nodiscard]] HttpError bad(const std::string& whatItHolds) const;
    /// The source's fault, or the disk's.
    [[noreturn]] void refuse(const std::string& path) const;

    const UnpackLimits m_limits;
    const std::string m_source;
    Descriptor m_root;
    /// The folder that was entered last, and its name. Files that follow one another mostly share theirs.
    Descriptor m_openFolder;
    std::vector<std::string> m_openParts;
    std::uint64_t m_members = 0;
    Unpacked m_done;
};

} // namespace driftwell::sandbox
