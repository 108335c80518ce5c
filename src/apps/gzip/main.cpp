#include "archive/GzipWriter.h"
#include "archive/MemberRecord.h"
#include "archive/TarReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <system_error>

// The gzip that tar finds when a folder is packed: from standard input to standard output. Where it is told a file for
// it, it also writes down which members of the archive went by.

namespace {

constexpr int usageError = 2;

int checked(int result, const char* what) {
    if (result < 0) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    return result;
}

void compress(const char* record) {
    if (record == nullptr) {
        driftwell::writeGzip(STDIN_FILENO, STDOUT_FILENO, [](std::string_view) {});
    } else {
        const int file = checked(
            ::open(record, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR), record);
        driftwell::MemberRecordWriter writer(file);
        driftwell::TarReader tar([&writer](const driftwell::ArchiveMember& member) { writer.add(member); });
        const std::uint64_t size = driftwell::writeGzip(STDIN_FILENO, STDOUT_FILENO,
                                                        [&tar](std::string_view bytes) { tar.read(bytes); });
        tar.finish();
        writer.finish(size);
        checked(::close(file), record);
    }
    // Some file systems report a failed write only here.
    checked(::close(STDOUT_FILENO), "could not write");
}

} // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount > 1) {
        std::cerr << "gzip: cannot do what " << arguments[1]
                  << " asks for: it only compresses from standard input to standard output\n";
        return usageError;
    }
    try {
        compress(std::getenv(driftwell::memberRecordVariable));
        return EXIT_SUCCESS;
    } catch (const std::exception& failure) {
        std::cerr << "gzip: " << failure.what() << '\n';
        return EXIT_FAILURE;
    }
}
