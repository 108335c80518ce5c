#include "platform/PlatformClient.h"
#include "platform/PlatformError.h"
#include "tests/Await.h"

#include <QCoreApplication>

#include <cstdio>
#include <fstream>
#include <string>

/// A program that asks a platform for its sites, for ReplyMemoryTest: prints what came of it, and in the next line the
/// largest amount of memory that it has had, in kB (proc(5), VmHWM).
namespace driftwell {
namespace {

std::string largestMemory() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:")) {
            return line.substr(line.find_first_of("0123456789"));
        }
    }
    return "unknown";
}

std::string outcomeOfAsking(const QString& origin, const std::filesystem::path& file) {
    PlatformClient client(Bundle{}, ConfigStore(file));
    try {
        const auto answer = tests::await(client.sites(PlatformConfig(origin), {}, {}));
        return std::to_string(answer.record->sites.size()) + " sites";
    } catch (const PlatformError& error) {
        return error.description().toStdString();
    }
}

} // namespace
} // namespace driftwell

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    if (argc != 3) {
        return 2;
    }
    const std::string outcome = driftwell::outcomeOfAsking(QString::fromLocal8Bit(argv[1]), argv[2]);
    std::printf("%s\n%s\n", outcome.c_str(), driftwell::largestMemory().c_str());
    return 0;
}
