#include "deploy/ArchiveCheck.h"

#include "archive/ArchiveError.h"
#include "archive/GzipReader.h"
#include "archive/MemberRecord.h"
#include "archive/TarReader.h"
#include "deploy/PackingFailure.h"
#include "platform/PlatformError.h"
#include "support/Cancellation.h"
#include "support/SystemError.h"
#include "support/UniqueFd.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

namespace driftwell {

namespace {

constexpr std::size_t pieceSize = 256 * 1024;

/// Compares one member after another with the files of a scan.
class Comparison {
public:
    Comparison(const FolderScan& files, ArchivedTimes times) : m_files(files), m_times(times) {}

    void add(const ArchiveMember& member) {
        if (m_next == m_files.paths.size()) {
            throw PlatformError::ofFolder(changedText(member.name));
        }
        const std::string& path = m_files.paths[m_next];
        const FolderScan::Attributes& attributes = m_files.attributes[m_next];
        const bool isTheFile = member.name == path && member.type == '0' &&
                               member.size == static_cast<std::uint64_t>(attributes.size) &&
                               (m_times == ArchivedTimes::OfThePacking || member.modified == attributes.modified);
        if (!isTheFile) {
            throw PlatformError::ofFolder(changedText(path));
        }
        ++m_next;
    }

    void finish() const {
        if (m_next < m_files.paths.size()) {
            throw PlatformError::ofFolder(QStringLiteral("only %1 of %2 files were packed, nothing was sent")
                                              .arg(m_next)
                                              .arg(m_files.paths.size()));
        }
    }

private:
    const FolderScan& m_files;
    ArchivedTimes m_times;
    std::size_t m_next = 0;
};

void readRecord(int file, std::int64_t archiveSize, Comparison& comparison, const std::stop_token& stop) {
    MemberRecordReader record([&comparison](const ArchiveMember& member) { comparison.add(member); });
    std::vector<char> piece(pieceSize);
    for (;;) {
        throwIfCancelled(stop);
        const ssize_t got = ::read(file, piece.data(), piece.size());
        if (got < 0 && errno == EINTR) {
            continue;
        }
        checked(got, "could not read what was packed");
        if (got == 0) {
            break;
        }
        record.read({piece.data(), static_cast<std::size_t>(got)});
    }
    if (record.finish() != static_cast<std::uint64_t>(archiveSize)) {
        throw ArchiveError("the archive is not as long as it was written");
    }
}

void readArchive(int archive, Comparison& comparison, const std::stop_token& stop) {
    TarReader tar([&comparison](const ArchiveMember& member) { comparison.add(member); });
    readGzip(archive, [&tar, &stop](std::string_view bytes) {
        throwIfCancelled(stop);
        tar.read(bytes);
    });
    tar.finish();
}

} // namespace

void checkArchive(const std::filesystem::path& archive, const std::filesystem::path& record, const FolderScan& files,
                  ArchivedTimes times, const std::stop_token& stop) {
    const UniqueFd packed(checked(::open(archive.c_str(), O_RDONLY | O_CLOEXEC), "could not open the archive"));
    struct stat attributes {};
    checked(::fstat(packed.get(), &attributes), "could not look at the archive");
    const UniqueFd recorded(::open(record.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (!recorded && errno != ENOENT) {
        throwSystemError("could not open what was packed");
    }
    Comparison comparison(files, times);
    try {
        if (recorded) {
            readRecord(recorded.get(), attributes.st_size, comparison, stop);
        } else {
            readArchive(packed.get(), comparison, stop);
        }
    } catch (const ArchiveError& failure) {
        throw PlatformError::ofFolder(QStringLiteral("the archive was not written as a whole (%1), nothing was sent")
                                          .arg(QString::fromUtf8(failure.what())));
    }
    comparison.finish();
}

} // namespace driftwell
