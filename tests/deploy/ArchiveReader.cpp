#include "tests/deploy/ArchiveReader.h"

#include <archive.h>
#include <archive_entry.h>

#include <array>
#include <memory>
#include <stdexcept>

namespace driftwell::tests {

namespace {

constexpr std::size_t block = 512;

std::string decompressed(std::string_view compressed) {
    if (!compressed.starts_with("\x1f\x8b")) {
        throw std::runtime_error("not compressed with gzip");
    }
    const std::unique_ptr<archive, int (*)(archive*)> reader(archive_read_new(), archive_read_free);
    archive_read_support_filter_gzip(reader.get());
    archive_read_support_format_raw(reader.get());
    archive_entry* entry = nullptr;
    if (archive_read_open_memory(reader.get(), compressed.data(), compressed.size()) != ARCHIVE_OK ||
        archive_read_next_header(reader.get(), &entry) != ARCHIVE_OK) {
        throw std::runtime_error(archive_error_string(reader.get()));
    }
    std::string text;
    std::array<char, 64 * 1024> buffer;
    for (;;) {
        const la_ssize_t got = archive_read_data(reader.get(), buffer.data(), buffer.size());
        if (got < 0) {
            throw std::runtime_error(archive_error_string(reader.get()));
        }
        if (got == 0) {
            return text;
        }
        text.append(buffer.data(), static_cast<std::size_t>(got));
    }
}

std::string textField(std::string_view field) {
    return std::string(field.substr(0, field.find('\0')));
}

std::uint64_t octalField(std::string_view field) {
    return std::stoull(textField(field), nullptr, 8);
}

void checkSum(std::string_view header) {
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < block; ++i) {
        const bool isTheSumItself = i >= 148 && i < 156;
        sum += isTheSumItself ? ' ' : static_cast<unsigned char>(header[i]);
    }
    if (sum != octalField(header.substr(148, 8))) {
        throw std::runtime_error("a header's sum is wrong");
    }
}

ArchiveMember memberOf(std::string_view header) {
    if (header.substr(257, 8) != std::string_view("ustar\00000", 8)) {
        throw std::runtime_error("a header is not ustar");
    }
    checkSum(header);
    ArchiveMember member;
    const std::string prefix = textField(header.substr(345, 155));
    member.name = (prefix.empty() ? prefix : prefix + "/") + textField(header.substr(0, 100));
    member.type = header[156];
    member.mode = octalField(header.substr(100, 8));
    member.owner = octalField(header.substr(108, 8));
    member.group = octalField(header.substr(116, 8));
    member.modified = octalField(header.substr(136, 12));
    member.ownerName = textField(header.substr(265, 32));
    member.groupName = textField(header.substr(297, 32));
    member.linkTarget = textField(header.substr(157, 100));
    return member;
}

} // namespace

std::vector<ArchiveMember> readArchive(std::string_view compressed) {
    const std::string tar = decompressed(compressed);
    std::vector<ArchiveMember> members;
    for (std::size_t at = 0;;) {
        const std::string_view header = std::string_view(tar).substr(at, block);
        if (header.size() < block) {
            throw std::runtime_error("the archive has no end");
        }
        if (header.find_first_not_of('\0') == std::string_view::npos) {
            return members;
        }
        const std::uint64_t size = octalField(header.substr(124, 12));
        ArchiveMember& member = members.emplace_back(memberOf(header));
        at += block;
        member.content = tar.substr(at, size);
        if (member.content.size() != size) {
            throw std::runtime_error("a member is cut off");
        }
        at += (size + block - 1) / block * block;
    }
}

} // namespace driftwell::tests
