#include "apps/dw/LogoutCommand.h"

#include <nlohmann/json.hpp>

namespace driftwell::dw {

ExitCode logout(const Context& context) {
    const PlatformConfig config = requireConfig(*context.client);
    const ConfigStore& store = context.client->store();
    Reporter& reporter = context.reporter;
    store.requireReadable();
    const bool wasSignedIn = store.hasTokenEntry(config);
    if (wasSignedIn) {
        store.saveToken(std::nullopt, config);
        reporter.success(QStringLiteral("Signed out of %1").arg(config.host()));
    } else {
        reporter.message(QStringLiteral("You were not signed in to %1.").arg(config.host()));
    }
    reporter.object({{"ok", true}, {"host", config.host().toStdString()}, {"wasSignedIn", wasSignedIn}});
    if (environmentHasToken()) {
        reporter.message(QStringLiteral("DW_TOKEN is set and still signs you in."));
    }
    return ExitCode::Done;
}

} // namespace driftwell::dw
