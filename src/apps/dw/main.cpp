#include "apps/dw/Command.h"
#include "apps/dw/GitWatch.h"
#include "apps/dw/Program.h"
#include "apps/dw/RequestWatch.h"
#include "support/Bundle.h"
#include "support/DescriptorLimit.h"
#include "support/EventLoop.h"
#include "support/Interruption.h"

#include <QCoreApplication>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

using namespace driftwell;

namespace {

/// A program started without one of the standard descriptors would give its number to the next file or connection that
/// it opens, and then print into that. Reading takes the place of writing, so that a write is the failure it was.
void occupyStandardDescriptors() {
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(standard, F_GETFD) < 0) {
            ::open("/dev/null", standard == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

// For the event loop, the interruption and the network thread; a request then needs a few more.
constexpr std::size_t neededDescriptors = 12;

dw::ExitCode reportLackOfDescriptors(dw::Reporter& reporter) {
    const std::system_error lack(std::make_error_code(std::errc::too_many_files_open));
    const dw::CommandFailure failure = dw::commandFailure(lack);
    reporter.failure(failure);
    return failure.exitCode();
}

void reportKeptFiles(const ConfigStore& store, dw::Reporter& reporter) {
    for (const std::filesystem::path& kept : store.takeKeptFiles()) {
        reporter.notice(QStringLiteral("%1 could not be used as it was. What it held is kept in %2")
                            .arg(QString::fromStdString(store.file().string()), QString::fromStdString(kept.string())));
    }
}

Task<> runAndQuit(std::shared_ptr<dw::PlatformCommand> command, dw::Context context) {
    const dw::ExitCode code = co_await dw::runCommand(std::move(command), std::move(context));
    QCoreApplication::exit(static_cast<int>(code));
}

} // namespace

int main(int argc, char** argv) {
    occupyStandardDescriptors();
    // A write to a pipe or connection that nobody reads any more fails instead of ending the process.
    ::signal(SIGPIPE, SIG_IGN);
    const dw::Parsed parsed = dw::Program(argc, argv).parse(argc, argv);
    if (!parsed.command) {
        return static_cast<int>(parsed.answer);
    }

    dw::Reporter reporter(parsed.form, parsed.manner);
    if (!canOpenDescriptors(neededDescriptors)) {
        return static_cast<int>(reportLackOfDescriptors(reporter));
    }
    QCoreApplication application(argc, argv);
    const Interruption interruption;
    const Bundle bundle = Bundle::ofRunningProgram();
    const ConfigStore store(ConfigStore::configFile(bundle));
    auto client = std::make_unique<PlatformClient>(bundle, store);
    client->refuseNotOk();
    client->setObserver(std::make_shared<dw::RequestWatch>(
        reporter, parsed.isVerbose ? dw::RequestWatch::Detail::EachRequest : dw::RequestWatch::Detail::Usual));

    if (parsed.isVerbose) {
        dw::watchGit(reporter);
    }

    // From the event loop, so that a command that ends at once finds it running.
    EventLoop::current()->post([&] {
        detach(runAndQuit(parsed.command, {std::move(client), reporter, interruption.token()}));
    });
    int code = QCoreApplication::exec();
    reportKeptFiles(store, reporter);
    if (code == static_cast<int>(dw::ExitCode::Interrupted) && interruption.signal()) {
        code = 128 + *interruption.signal();
    }
    return reporter.flush() ? code : static_cast<int>(dw::ExitCode::Failed);
}
