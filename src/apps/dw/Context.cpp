#include "apps/dw/Context.h"

#include "platform/HostRefusal.h"

namespace driftwell::dw {

namespace {

void requireToken(const PlatformClient& client, const PlatformConfig& config) {
    if (!config.isLocal() && !client.store().token(config)) {
        requireReadable(client.store());
        throw PlatformError::unauthenticated().at(config.shownHost());
    }
}

} // namespace

void requireReadable(const ConfigStore& store) {
    if (const std::optional<ConfigProblem> problem = store.problem()) {
        throw FailedCommand({ErrorKind::System,
                             QStringLiteral("%1 cannot be used: %2")
                                 .arg(QString::fromStdString(problem->file.string()), problem->reason),
                             QStringLiteral("Repair the file, or move it away: dw then begins another.")});
    }
}

PlatformConfig readableConfig(const QString& host) {
    if (const std::optional<QString> refusal = hostRefusal(host)) {
        throw WrongUsage(*refusal, QStringLiteral("For example: dw host sites.example.org"));
    }
    return PlatformConfig(host);
}

PlatformConfig requireConfig(const PlatformClient& client) {
    const std::optional<QString> host = client.store().resolveHost();
    if (!host) {
        requireReadable(client.store());
        throw PlatformError::noHost();
    }
    return readableConfig(*host);
}

PlatformConfig requireSignIn(const PlatformClient& client) {
    PlatformConfig config = requireConfig(client);
    requireToken(client, config);
    return config;
}

Task<std::optional<Identity>> requireIdentity(PlatformClient& client, PlatformConfig config, std::stop_token stop) {
    requireToken(client, config);
    co_return co_await client.me(config, stop);
}

bool environmentHasToken() {
    return ConfigStore::environmentToken().has_value();
}

QString signInHint() {
    return environmentHasToken()
               ? QStringLiteral("Put another token into DW_TOKEN, or sign in without it: unset DW_TOKEN, then dw login")
               : QStringLiteral("Sign in: dw login");
}

QString identityText(const Identity& identity) {
    return identity.name + QStringLiteral(" <") + identity.email + u'>';
}

const JsonTable<SignedIn>& signedInTable() {
    static const auto table =
        JsonTable<SignedIn>()
            .add("host", "the platform", &SignedIn::host)
            .add("name", "the person's name", [](const SignedIn& person) { return person.identity.name; })
            .add("email", "the person's e-mail address", [](const SignedIn& person) { return person.identity.email; })
            .add("handle", "the person's short name", [](const SignedIn& person) { return person.identity.handle; });
    return table;
}

} // namespace driftwell::dw
