#include "platform/ConfigStore.h"

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <random>
#include <string>
#include <system_error>
#include <vector>

/// A program that saves to a session file and reads from it under bad circumstances, for ConfigStoreCrashTest. It
/// reports by its exit status and on its standard output.
namespace driftwell {
namespace {

using Json = nlohmann::json;

constexpr int asExpected = 0;
constexpr int notAsExpected = 1;
constexpr int wrongArguments = 2;
constexpr int saveThrew = 3;
/// The kernel or the container forbids what the circumstance needs.
constexpr int notPossibleHere = 77;

std::optional<std::string> contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return std::nullopt;
    }
    return std::string(std::istreambuf_iterator<char>(file), {});
}

PlatformConfig origin(const std::string& name) {
    return PlatformConfig(QString::fromStdString("https://" + name));
}

/// Saves `count` keys that no other saver has, by three of the store's operations in turn.
int saveMany(const std::string& file, const std::string& name, int count) {
    // As long as all the others need.
    const ConfigStore store(file, std::chrono::minutes(5));
    for (int i = 0; i < count; ++i) {
        const std::string key = name + "-" + std::to_string(i);
        switch (i % 3) {
        case 0:
            store.saveConfig({{key, i}});
            break;
        case 1:
            store.saveToken(QString::number(i), origin(key));
            break;
        default:
            store.saveFolder(QString::fromStdString(key), "/" + std::to_string(i));
        }
    }
    return asExpected;
}

/// Reads the file until standard input ends. Once it is there it is there whole, at every moment.
int readUntilTold(const std::string& file) {
    long reads = 0;
    // A millisecond between two reads leaves the processor to those who save.
    for (pollfd told{STDIN_FILENO, POLLIN | POLLHUP, 0}; ::poll(&told, 1, 1) == 0 || reads == 0; ++reads) {
        const std::optional<std::string> content = contentOf(file);
        if (!content || !Json::accept(*content)) {
            std::printf("read %ld saw a part: '%s'\n", reads, content.value_or("no file").c_str());
            return notAsExpected;
        }
    }
    return asExpected;
}

// Killed savers

/// What a saver that is to be killed writes under the key "payload" when "round" is `round`.
std::string payload(int round) {
    return std::string(static_cast<std::size_t>(round * 7919 % 5'000), static_cast<char>('a' + round % 26));
}

[[noreturn]] void saveWithoutEnd(const ConfigStore& store, int round) {
    for (;; ++round) {
        store.saveConfig({{"round", round}, {"payload", payload(round)}});
    }
}

bool isWhole(const std::string& file, int& round) {
    const std::optional<std::string> content = contentOf(file);
    const Json json = content ? Json::parse(*content, nullptr, false) : Json();
    if (!json.is_object() || json.value("foreign", "") != "kept" ||
        json.value("payload", "") != payload(json["round"])) {
        std::printf("not whole: '%s'\n", content.value_or("no file").c_str());
        return false;
    }
    round = json["round"];
    return true;
}

std::ptrdiff_t filesIn(const std::filesystem::path& folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

/// Kills `rounds` savers, each at a random moment.
int killSavers(const std::string& file, int rounds) {
    const ConfigStore store(file);
    store.saveConfig({{"foreign", "kept"}, {"round", 0}, {"payload", payload(0)}});
    const std::filesystem::path folder = store.file().parent_path();
    std::minstd_rand random(std::random_device{}());
    std::uniform_int_distribution<useconds_t> moment(0, 2000);
    int round = 0;
    int killedInASave = 0;
    for (int i = 0; i < rounds; ++i) {
        const pid_t saver = ::fork();
        if (saver == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            saveWithoutEnd(store, round + 1);
        }
        ::usleep(moment(random));
        ::kill(saver, SIGKILL);
        int status = 0;
        ::waitpid(saver, &status, 0);
        if (!WIFSIGNALED(status) || !isWhole(file, round)) {
            return notAsExpected;
        }
        const std::ptrdiff_t files = filesIn(folder);
        if (files > 2) {
            std::printf("%td files after %d kills\n", files, i + 1);
            return notAsExpected;
        }
        killedInASave += files == 2 ? 1 : 0;
    }
    store.saveConfig({{"last", true}});
    if (filesIn(folder) != 1) {
        std::printf("the next save did not clear what was left\n");
        return notAsExpected;
    }
    std::printf("%d saves, %d killed between creating and renaming\n", round, killedInASave);
    return round > 0 && killedInASave > 0 ? asExpected : notAsExpected;
}

// Failing system calls

struct Call {
    const char* name;
    unsigned number;
    /// The call fails only when this argument has one of these bits; none: always.
    unsigned argument = 0;
    unsigned bits = 0;
};

const Call calls[] = {
    {"mkdir", SYS_mkdir},
    {"open-folder", SYS_openat, 2, O_DIRECTORY},
    {"lock", SYS_flock},
    {"open-file", SYS_openat, 2, O_NONBLOCK},
    {"create", SYS_openat, 2, O_CREAT},
    // From 1 KB on: the report on standard output and the memory checks of a sanitizer are short writes too.
    {"write", SYS_write, 2, ~1023U},
    {"chmod", SYS_fchmod},
    {"flush", SYS_fsync},
    {"close", SYS_close},
    {"rename", SYS_renameat},
};

/// From here on the system call fails with the error (seccomp(2)).
bool makeFail(const std::string& name, int error) {
    const auto* const call =
        std::find_if(std::begin(calls), std::end(calls), [&](const Call& c) { return name == c.name; });
    if (call == std::end(calls)) {
        return false;
    }
    const auto failure = SECCOMP_RET_ERRNO | static_cast<unsigned>(error);
    const auto argument = static_cast<unsigned>(offsetof(seccomp_data, args) + 8 * call->argument);
    std::vector<sock_filter> filter = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call->number, 1, 0),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    if (call->bits != 0) {
        filter.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, argument));
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, call->bits, 1, 0));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, failure));
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

int save(const ConfigStore& store, std::size_t size) {
    try {
        store.saveConfig({{"new", std::string(size, 'n')}});
        return asExpected;
    } catch (const std::system_error& failure) {
        std::printf("%d %s\n", failure.code().value(), failure.what());
        return saveThrew;
    }
}

int saveWithFailure(const std::string& file, const std::string& call, int error) {
    const ConfigStore store(file);
    return makeFail(call, error) ? save(store, 2000) : notPossibleHere;
}

/// The operations that keep a failure to themselves.
int saveQuietlyWithFailure(const std::string& file, const std::string& operation, const std::string& call, int error) {
    const ConfigStore store(file);
    if (!makeFail(call, error)) {
        return notPossibleHere;
    }
    if (operation == "folder") {
        store.saveFolder(QStringLiteral("new"), "/new");
    } else {
        store.signOut(origin("there.example"));
    }
    return asExpected;
}

// Full disks

int saveWithLimit(const std::string& file, rlim_t limit, std::size_t size) {
    const ConfigStore store(file);
    ::signal(SIGXFSZ, SIG_IGN);
    const rlimit most{limit, limit};
    return ::setrlimit(RLIMIT_FSIZE, &most) == 0 ? save(store, size) : notPossibleHere;
}

bool writeText(const char* path, const std::string& text) {
    std::ofstream file(path);
    file << text << std::flush;
    return file.good();
}

/// A mount table of this process's own, where it may mount.
bool enterOwnMounts() {
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    if (user != 0) {
        if (::unshare(CLONE_NEWUSER) != 0 || !writeText("/proc/self/setgroups", "deny") ||
            !writeText("/proc/self/uid_map", "0 " + std::to_string(user) + " 1") ||
            !writeText("/proc/self/gid_map", "0 " + std::to_string(group) + " 1")) {
            return false;
        }
    }
    return ::unshare(CLONE_NEWNS) == 0 && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

/// Saves on a disk that is full, and again when there is room.
int saveOnFullDisk(const std::string& folder) {
    if (!enterOwnMounts() || ::mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=64k") != 0) {
        return notPossibleHere;
    }
    const ConfigStore store(folder + "/config.json");
    store.saveConfig({{"old", true}});
    const std::string before = contentOf(store.file()).value();
    const std::string filler = folder + "/filler";
    for (const std::size_t size : {std::size_t(10), std::size_t(1'000'000)}) {
        // For the small save no block is left; the large one finds some and then no more.
        std::ofstream(filler) << std::string(size == 10 ? 1'000'000 : 16'384, 'f');
        if (save(store, size) != saveThrew || contentOf(store.file()) != before || filesIn(folder) != 2) {
            return notAsExpected;
        }
        std::filesystem::remove(filler);
    }
    return save(store, 10);
}

/// Saves as an account that owns the folder and nothing else.
int saveAsNobody(const std::string& file) {
    constexpr uid_t nobody = 65534;
    if (::setresgid(nobody, nobody, nobody) != 0 || ::setresuid(nobody, nobody, nobody) != 0) {
        return notPossibleHere;
    }
    return save(ConfigStore(file), 10);
}

int run(const std::vector<std::string>& arguments) {
    const std::string what = arguments.empty() ? "" : arguments.front();
    const auto number = [&](std::size_t index) {
        return std::stoi(arguments.at(index));
    };
    switch (arguments.size()) {
    case 2:
        if (what == "read") {
            return readUntilTold(arguments[1]);
        }
        if (what == "save-as-nobody") {
            return saveAsNobody(arguments[1]);
        }
        if (what == "full-disk") {
            return saveOnFullDisk(arguments[1]);
        }
        break;
    case 3:
        if (what == "kill") {
            return killSavers(arguments[1], number(2));
        }
        break;
    case 4:
        if (what == "save") {
            return saveMany(arguments[1], arguments[2], number(3));
        }
        if (what == "fail") {
            return saveWithFailure(arguments[1], arguments[2], number(3));
        }
        if (what == "limit") {
            return saveWithLimit(arguments[1], static_cast<rlim_t>(number(2)), static_cast<std::size_t>(number(3)));
        }
        break;
    case 5:
        if (what == "fail-quietly") {
            return saveQuietlyWithFailure(arguments[1], arguments[2], arguments[3], number(4));
        }
        break;
    default:
        break;
    }
    return wrongArguments;
}

} // namespace
} // namespace driftwell

int main(int argc, char** argv) {
    const int status = driftwell::run({argv + 1, argv + argc});
    std::fflush(stdout);
    // Without what a sanitizer does at the end, for which it needs the system calls that fail here.
    ::_exit(status);
}
