#include "archive/TarReader.h"

#include "archive/ArchiveError.h"

#include <algorithm>
#include <charconv>

namespace driftwell {

namespace {

std::string_view textField(std::string_view field) {
    return field.substr(0, field.find('\0'));
}

template <class Number> Number octalField(std::string_view field) {
    const std::string_view text = textField(field);
    const std::size_t start = std::min(text.find_first_not_of(' '), text.size());
    Number number = 0;
    const auto [end, failure] = std::from_chars(text.data() + start, text.data() + text.size(), number, 8);
    const bool isWhole = std::string_view(end, text.data() + text.size()).find_first_not_of(' ') == std::string_view::npos;
    if (failure != std::errc() || !isWhole) {
        throw ArchiveError("a number in a header is damaged");
    }
    return number;
}

bool isZero(std::string_view block) {
    return block.find_first_not_of('\0') == std::string_view::npos;
}

void checkSum(std::string_view header) {
    constexpr std::size_t sumStart = 148;
    constexpr std::size_t sumSize = 8;
    std::uint64_t sum = sumSize * ' ';
    for (std::size_t i = 0; i < header.size(); ++i) {
        const bool isTheSumItself = i >= sumStart && i < sumStart + sumSize;
        sum += isTheSumItself ? 0U : static_cast<unsigned char>(header[i]);
    }
    if (sum != octalField<std::uint64_t>(header.substr(sumStart, sumSize))) {
        throw ArchiveError("the sum of a header is wrong");
    }
}

ArchiveMember memberOf(std::string_view header) {
    if (header.substr(257, 8) != std::string_view("ustar\00000", 8)) {
        throw ArchiveError("a header is not in the ustar format");
    }
    checkSum(header);
    ArchiveMember member;
    member.name = textField(header.substr(345, 155));
    if (!member.name.empty()) {
        member.name += '/';
    }
    member.name += textField(header.substr(0, 100));
    member.type = header[156];
    member.size = octalField<std::uint64_t>(header.substr(124, 12));
    member.modified = octalField<std::int64_t>(header.substr(136, 12));
    return member;
}

} // namespace

void TarReader::read(std::string_view bytes) {
    while (!bytes.empty()) {
        if (m_contentLeft > 0) {
            const std::size_t passed = static_cast<std::size_t>(std::min<std::uint64_t>(m_contentLeft, bytes.size()));
            m_contentLeft -= passed;
            bytes.remove_prefix(passed);
        } else if (m_begunSize == 0 && bytes.size() >= blockSize) {
            readBlock(bytes.substr(0, blockSize));
            bytes.remove_prefix(blockSize);
        } else {
            const std::size_t taken = std::min(blockSize - m_begunSize, bytes.size());
            std::copy_n(bytes.begin(), taken, m_begun.begin() + static_cast<std::ptrdiff_t>(m_begunSize));
            m_begunSize += taken;
            bytes.remove_prefix(taken);
            if (m_begunSize == blockSize) {
                m_begunSize = 0;
                readBlock({m_begun.data(), m_begun.size()});
            }
        }
    }
}

void TarReader::readBlock(std::string_view block) {
    if (isZero(block)) {
        ++m_zeroBlocks;
        return;
    }
    if (m_zeroBlocks > 0) {
        throw ArchiveError("something follows the end of the archive");
    }
    const ArchiveMember member = memberOf(block);
    // No more than an offset in a file can be, so that nothing overflows here.
    if (member.size > INT64_MAX - blockSize) {
        throw ArchiveError("the size in a header is damaged");
    }
    m_contentLeft = (member.size + blockSize - 1) / blockSize * blockSize;
    m_onMember(member);
}

void TarReader::finish() const {
    constexpr int blocksAtTheEnd = 2;
    if (m_zeroBlocks < blocksAtTheEnd || m_begunSize > 0) {
        throw ArchiveError("the archive has no end");
    }
}

} // namespace driftwell
