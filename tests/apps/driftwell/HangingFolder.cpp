// A library that is loaded into a program before all others (LD_PRELOAD, ld.so(8)). In it the listing of one folder
// never returns, as with a server that has gone: the folder that HANGING_FOLDER names. When that is reached, the file
// HANGING_FOLDER_REACHED is made.

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace {

void hangInFolder(DIR* folder) {
    const char* hanging = std::getenv("HANGING_FOLDER");
    const char* mark = std::getenv("HANGING_FOLDER_REACHED");
    char path[4096] = {};
    const std::string link = "/proc/self/fd/" + std::to_string(::dirfd(folder));
    if (!hanging || !mark || ::readlink(link.c_str(), path, sizeof path - 1) < 0 || std::string(path) != hanging) {
        return;
    }
    ::close(::open(mark, O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    for (;;) {
        ::pause();
    }
}

template <class Entry> Entry* read(DIR* folder, const char* function) {
    hangInFolder(folder);
    return reinterpret_cast<Entry* (*)(DIR*)>(::dlsym(RTLD_NEXT, function))(folder);
}

} // namespace

extern "C" dirent* readdir(DIR* folder) {
    return read<dirent>(folder, "readdir");
}

extern "C" dirent64* readdir64(DIR* folder) {
    return read<dirent64>(folder, "readdir64");
}
