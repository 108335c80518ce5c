#include "apps/dw/Command.h"
#include "apps/dw/Program.h"
#include "support/Bundle.h"
#include "support/Interruption.h"

#include <QCoreApplication>
#include <QTimer>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

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

Task<> runAndQuit(std::shared_ptr<dw::PlatformCommand> command, dw::Context context) {
    const dw::ExitCode code = co_await dw::runCommand(std::move(command), std::move(context));
    QCoreApplication::exit(static_cast<int>(code));
}

} // namespace

int main(int argc, char** argv) {
    occupyStandardDescriptors();
    // A write to a pipe or connection that nobody reads any more fails instead of ending the process.
    ::signal(SIGPIPE, SIG_IGN);
    const dw::Parsed parsed = dw::Program().parse(argc, argv);
    if (!parsed.command) {
        return static_cast<int>(parsed.answer);
    }

    QCoreApplication application(argc, argv);
    const Interruption interruption;
    dw::Reporter reporter(parsed.form);
    const Bundle bundle = Bundle::ofRunningProgram();
    auto client = std::make_unique<PlatformClient>(bundle, ConfigStore(ConfigStore::configFile(bundle)));
    client->refuseNotOk();

    // From the event loop, so that a command that ends at once finds it running.
    QTimer::singleShot(0, &application, [&] {
        detach(runAndQuit(parsed.command, {std::move(client), reporter, interruption.token()}));
    });
    const int code = QCoreApplication::exec();
    return reporter.flush() ? code : static_cast<int>(dw::ExitCode::Failed);
}
