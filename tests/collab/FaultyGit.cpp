// A library that is loaded into each git before all others (LD_PRELOAD, ld.so(8)), and makes it fail or die where a
// test wants it. It does nothing in a program whose name does not begin with "git". What it does is in the environment:
//
// FAULTY_GIT_REFUSES  the git whose arguments, its own options apart, begin with these ends with status 128
// FAULTY_GIT_COUNTER  a file that grows by one byte with each step of any git: its start, or a change to a file
// FAULTY_GIT_AT       the number of the step at which somebody is killed; a git's own last write is cut in half
// FAULTY_GIT_KILLS    who is killed: "git", or the number of a process

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

namespace {

template <class Function> Function* original(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

bool isGit() {
    static const bool is = std::strncmp(program_invocation_short_name, "git", 3) == 0;
    return is;
}

const char* variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

/// Whether this step is the one at which somebody is killed.
bool isTheStep() {
    const char* counter = std::getenv("FAULTY_GIT_COUNTER");
    if (!isGit() || !counter) {
        return false;
    }
    const int saved = errno;
    const auto open = original<int(const char*, int, ...)>("open64");
    const int file = open(counter, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    original<ssize_t(int, const void*, size_t)>("write")(file, "x", 1);
    const off_t step = ::lseek(file, 0, SEEK_CUR);
    ::close(file);
    errno = saved;
    return step == std::atol(variable("FAULTY_GIT_AT"));
}

void killSomebody() {
    const std::string who = variable("FAULTY_GIT_KILLS");
    ::kill(who == "git" ? ::getpid() : static_cast<pid_t>(std::atol(who.c_str())), SIGKILL);
}

/// Before a change to a file.
void step() {
    if (isTheStep()) {
        killSomebody();
    }
}

std::string ownArguments() {
    std::ifstream file("/proc/self/cmdline", std::ios::binary);
    std::string all(std::istreambuf_iterator<char>(file), {});
    std::string result;
    bool isValue = true;
    for (std::size_t from = 0; from < all.size(); from = all.find('\0', from) + 1) {
        const std::string argument = all.c_str() + from;
        const bool isOption = result.empty() && argument == "-c";
        if (!isValue && !isOption) {
            result += argument + " ";
        }
        isValue = isOption;
    }
    return result;
}

[[gnu::constructor]] void start() {
    if (!isGit()) {
        return;
    }
    const std::string refused = variable("FAULTY_GIT_REFUSES");
    if (!refused.empty() && ownArguments().starts_with(refused + " ")) {
        constexpr char words[] = "fatal: as the test wants it\n";
        original<ssize_t(int, const void*, size_t)>("write")(STDERR_FILENO, words, sizeof words - 1);
        ::_exit(128);
    }
    if (isTheStep()) {
        killSomebody();
    }
}

bool isRegular(int file) {
    struct stat status {};
    return ::fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

extern "C" {

int open64(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    if ((flags & (O_CREAT | O_TRUNC)) != 0) {
        step();
    }
    return original<int(const char*, int, ...)>("open64")(path, flags, mode);
}

FILE* fopen64(const char* path, const char* mode) {
    if (*mode != 'r') {
        step();
    }
    return original<FILE*(const char*, const char*)>("fopen64")(path, mode);
}

ssize_t write(int file, const void* bytes, size_t count) {
    const auto write = original<ssize_t(int, const void*, size_t)>("write");
    if (isGit() && isRegular(file) && isTheStep()) {
        const bool isOwn = std::strcmp(variable("FAULTY_GIT_KILLS"), "git") == 0;
        const ssize_t written = write(file, bytes, isOwn ? count / 2 : count);
        killSomebody();
        return written;
    }
    return write(file, bytes, count);
}

int rename(const char* from, const char* to) noexcept {
    step();
    return original<int(const char*, const char*)>("rename")(from, to);
}

int link(const char* from, const char* to) noexcept {
    step();
    return original<int(const char*, const char*)>("link")(from, to);
}

int unlink(const char* path) noexcept {
    step();
    return original<int(const char*)>("unlink")(path);
}

int mkdir(const char* path, mode_t mode) noexcept {
    step();
    return original<int(const char*, mode_t)>("mkdir")(path, mode);
}

int rmdir(const char* path) noexcept {
    step();
    return original<int(const char*)>("rmdir")(path);
}
}
