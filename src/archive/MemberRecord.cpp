#include "archive/MemberRecord.h"

#include "archive/ArchiveError.h"
#include "archive/WholeWrite.h"

#include <charconv>

namespace driftwell {

namespace {

constexpr std::size_t writtenAtOnce = 64 * 1024;
constexpr std::chrono::milliseconds writtenAfter(100);
constexpr std::string_view endMark = "end";

template <class Number> Number takeNumber(std::string_view& text) {
    Number number = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (failure != std::errc()) {
        throw ArchiveError("the record of the archive is damaged");
    }
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

void takeBlank(std::string_view& text) {
    if (!text.starts_with(' ')) {
        throw ArchiveError("the record of the archive is damaged");
    }
    text.remove_prefix(1);
}

} // namespace

void MemberRecordWriter::add(const ArchiveMember& member) {
    // The type is a byte of any value.
    m_pending += std::to_string(static_cast<unsigned char>(member.type)) + ' ' + std::to_string(member.size) + ' ' +
                 std::to_string(member.modified) + ' ' + member.name + '\0';
    if (m_pending.size() >= writtenAtOnce || std::chrono::steady_clock::now() >= m_written + writtenAfter) {
        flush();
    }
}

void MemberRecordWriter::finish(std::uint64_t archiveSize) {
    m_pending += std::string(endMark) + ' ' + std::to_string(archiveSize) + '\0';
    flush();
}

void MemberRecordWriter::flush() {
    writeWhole(m_file, m_pending);
    m_pending.clear();
    m_written = std::chrono::steady_clock::now();
}

void MemberRecordReader::read(std::string_view bytes) {
    for (std::size_t end = bytes.find('\0'); end != std::string_view::npos; end = bytes.find('\0')) {
        if (m_begun.empty()) {
            readEntry(bytes.substr(0, end));
        } else {
            m_begun += bytes.substr(0, end);
            readEntry(m_begun);
            m_begun.clear();
        }
        bytes.remove_prefix(end + 1);
    }
    m_begun += bytes;
}

void MemberRecordReader::readEntry(std::string_view entry) {
    if (m_ended) {
        throw ArchiveError("the record of the archive is damaged");
    }
    if (entry.starts_with(endMark)) {
        entry.remove_prefix(endMark.size());
        takeBlank(entry);
        m_archiveSize = takeNumber<std::uint64_t>(entry);
        m_ended = true;
        return;
    }
    ArchiveMember member;
    member.type = static_cast<char>(takeNumber<unsigned char>(entry));
    takeBlank(entry);
    member.size = takeNumber<std::uint64_t>(entry);
    takeBlank(entry);
    member.modified = takeNumber<std::int64_t>(entry);
    takeBlank(entry);
    member.name = entry;
    m_onMember(member);
}

std::uint64_t MemberRecordReader::finish() const {
    if (!m_ended || !m_begun.empty()) {
        throw ArchiveError("the record of the archive has no end");
    }
    return m_archiveSize;
}

} // namespace driftwell
