#pragma once

#include "archive/ArchiveMember.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace driftwell {

/// The environment variable in which the compressor finds the path of the file for its record.
inline constexpr const char* memberRecordVariable = "DRIFTWELL_ARCHIVE_MEMBERS";

/// Writes down the members of an archive as they go by: what the compressor saw, for whoever started it. Of each one
/// its type, size, time and name, ended by a zero byte, soon enough for somebody who watches; at the end how many bytes
/// the compressed archive has.
class MemberRecordWriter {
public:
    /// `file` is a descriptor open for writing, and stays the caller's.
    explicit MemberRecordWriter(int file) : m_file(file) {}

    /// Throws std::system_error.
    void add(const ArchiveMember& member);
    void finish(std::uint64_t archiveSize);

private:
    void flush();

    int m_file;
    std::string m_pending;
    std::chrono::steady_clock::time_point m_written = std::chrono::steady_clock::now();
};

/// Reads a record, in pieces as they come from a file, and gives the compressed archive's size. Throws ArchiveError
/// when it is not whole.
class MemberRecordReader {
public:
    explicit MemberRecordReader(MemberSink onMember) : m_onMember(std::move(onMember)) {}

    void read(std::string_view bytes);
    /// After the last piece.
    [[nodiscard]] std::uint64_t finish() const;

private:
    void readEntry(std::string_view entry);

    MemberSink m_onMember;
    std::string m_begun;
    std::uint64_t m_archiveSize = 0;
    bool m_ended = false;
};

} // namespace driftwell
