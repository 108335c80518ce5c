#include "desktop/freedesktop/SingleInstance.h"

#include <QCoreApplication>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <string>

/// A program of which one copy runs: a first copy says "first" and then what it is asked for, a later one "handed
/// over".
///
/// single_instance_program CONFIG_FOLDER TIMEOUT_MS GATE [ARGUMENTS…]
///
/// It says "ready" and passes when nobody holds a lock on the file GATE any more. Asked for "--quit" it ends; started
/// as first with "--deaf" it never listens.
namespace driftwell {
namespace {

void passGate(const char* file) {
    std::cout << "ready" << std::endl;
    const UniqueFd gate(::open(file, O_RDONLY | O_CLOEXEC));
    ::flock(gate.get(), LOCK_SH);
}

bool contains(const std::vector<std::string>& arguments, const char* argument) {
    return std::find(arguments.begin(), arguments.end(), argument) != arguments.end();
}

void report(const std::vector<std::string>& arguments, const std::string& token) {
    std::string line = "activated token=" + token;
    for (const std::string& argument : arguments) {
        line += '|' + argument;
    }
    std::cout << line << std::endl;
}

int runFirst(SingleInstance& instance, int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QObject::connect(&instance, &SingleInstance::activated, &application,
                     [](const std::vector<std::string>& arguments, const std::string& token) {
                         report(arguments, token);
                         if (contains(arguments, "--quit")) {
                             QCoreApplication::quit();
                         }
                     });
    instance.listen();
    return QCoreApplication::exec();
}

int run(int argc, char** argv) {
    SingleInstance instance(argv[1], std::chrono::milliseconds(std::stoi(argv[2])));
    passGate(argv[3]);
    const LaunchRequest request = LaunchRequest::ofThisProcess(argc - 3, argv + 3);
    if (instance.claim(request) == SingleInstance::Role::HandedOver) {
        std::cout << "handed over" << std::endl;
        return 0;
    }
    std::cout << "first" << std::endl;
    if (contains(request.arguments, "--deaf")) {
        ::pause();
    }
    return runFirst(instance, argc, argv);
}

} // namespace
} // namespace driftwell

int main(int argc, char** argv) {
    try {
        return argc < 4 ? 2 : driftwell::run(argc, argv);
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << std::endl;
        return 1;
    }
}
