#include "tests/apps/sandbox/Archive.h"

#include "tests/support/TestFolder.h"

#include <archive.h>
#include <archive_entry.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace driftwell::tests {

namespace {

la_ssize_t append(archive*, void* text, const void* data, size_t size) {
    static_cast<std::string*>(text)->append(static_cast<const char*>(data), size);
    return static_cast<la_ssize_t>(size);
}

} // namespace

std::string tar(const std::vector<std::string>& options) {
    const TestFolder folder;
    const std::string file = (folder.path() / "site.tgz").string();
    std::vector<std::string> arguments = {"tar", "-c", "-z", "-f", file};
    arguments.insert(arguments.end(), options.begin(), options.end());
    std::vector<char*> argv;
    for (std::string& argument : arguments) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    pid_t pid = 0;
    int status = -1;
    if (posix_spawn(&pid, "/usr/bin/tar", nullptr, nullptr, argv.data(), environ) != 0 ||
        waitpid(pid, &status, 0) != pid || status != 0) {
        throw std::runtime_error("tar failed");
    }
    return fileContent(file);
}

std::string tarOf(const std::filesystem::path& folder) {
    return tar({"--format", "ustar", "-C", folder.string(), "."});
}

std::string archiveOf(const std::vector<Member>& members) {
    std::string bytes;
    archive* writer = archive_write_new();
    archive_write_add_filter_gzip(writer);
    archive_write_set_format_ustar(writer);
    // Without this the library fills the last block up behind the compressed data.
    archive_write_set_bytes_in_last_block(writer, 1);
    archive_write_open(writer, &bytes, nullptr, append, nullptr);
    for (const Member& member : members) {
        archive_entry* entry = archive_entry_new();
        archive_entry_set_pathname(entry, member.name.c_str());
        archive_entry_set_perm(entry, 0644);
        archive_entry_set_size(entry, static_cast<la_int64_t>(member.content.size()));
        archive_entry_set_filetype(entry, AE_IFREG);
        switch (member.kind) {
        case Member::Kind::File:
            break;
        case Member::Kind::Folder:
            archive_entry_set_filetype(entry, AE_IFDIR);
            break;
        case Member::Kind::SymbolicLink:
            archive_entry_set_filetype(entry, AE_IFLNK);
            archive_entry_set_symlink(entry, member.target.c_str());
            break;
        case Member::Kind::HardLink:
            archive_entry_set_hardlink(entry, member.target.c_str());
            break;
        case Member::Kind::Device:
            archive_entry_set_filetype(entry, AE_IFCHR);
            break;
        case Member::Kind::Pipe:
            archive_entry_set_filetype(entry, AE_IFIFO);
            break;
        }
        if (archive_write_header(writer, entry) != ARCHIVE_OK) {
            throw std::runtime_error(archive_error_string(writer));
        }
        archive_write_data(writer, member.content.data(), member.content.size());
        archive_entry_free(entry);
    }
    archive_write_close(writer);
    archive_write_free(writer);
    return bytes;
}

std::string rawHeader(const std::string& name, char type, std::uint64_t size) {
    std::string header(512, '\0');
    const auto put = [&header](size_t at, const std::string& text) {
        header.replace(at, text.size(), text);
    };
    const auto octal = [](std::uint64_t number, int digits) {
        std::array<char, 32> text{};
        std::snprintf(text.data(), text.size(), "%0*llo", digits, static_cast<unsigned long long>(number));
        return std::string(text.data());
    };
    put(0, name);
    put(100, octal(0644, 7));
    put(124, octal(size, 11));
    put(148, "        ");
    put(156, std::string(1, type));
    put(257, std::string("ustar\00000", 8));
    std::uint64_t sum = 0;
    for (const char byte : header) {
        sum += static_cast<unsigned char>(byte);
    }
    put(148, octal(sum, 6) + '\0');
    return header;
}

std::string rawContent(const std::string& content) {
    return content + std::string((512 - content.size() % 512) % 512, '\0');
}

std::string rawAttributes(const std::vector<std::pair<std::string, std::string>>& attributes) {
    std::string records;
    for (const auto& [key, value] : attributes) {
        // A record begins with its own length, the digits of that included.
        const std::string rest = ' ' + key + '=' + value + '\n';
        size_t length = rest.size();
        while (std::to_string(length).size() + rest.size() != length) {
            length = std::to_string(length).size() + rest.size();
        }
        records += std::to_string(length) + rest;
    }
    return rawHeader("attributes", 'x', records.size()) + rawContent(records);
}

std::string rawArchive(const std::string& pieces) {
    std::string bytes;
    archive* writer = archive_write_new();
    archive_write_add_filter_gzip(writer);
    archive_write_set_format_raw(writer);
    archive_write_set_bytes_in_last_block(writer, 1);
    archive_write_open(writer, &bytes, nullptr, append, nullptr);
    archive_entry* entry = archive_entry_new();
    archive_entry_set_pathname(entry, "data");
    archive_entry_set_filetype(entry, AE_IFREG);
    archive_write_header(writer, entry);
    const std::string whole = pieces + std::string(1024, '\0');
    archive_write_data(writer, whole.data(), whole.size());
    archive_entry_free(entry);
    archive_write_close(writer);
    archive_write_free(writer);
    return bytes;
}

std::string pageArchive(const std::string& text) {
    return archiveOf({{.name = "index.html", .content = text}});
}

std::string fileContent(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

} // namespace driftwell::tests
