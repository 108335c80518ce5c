#pragma once

#include "apps/dw/JsonTable.h"
#include "apps/dw/Reporter.h"
#include "platform/PlatformClient.h"
#include "support/Sleep.h"
#include "support/Task.h"

#include <memory>
#include <stop_token>

namespace driftwell::dw {

/// What the commands work with.
struct Context {
    std::unique_ptr<PlatformClient> client;
    Reporter& reporter;
    std::stop_token stop;
    /// What is waited with between questions to the platform.
    Sleeper sleep = sleepFor;
};

/// For whoever is about to say that something is not stored: throws FailedCommand when the session file is there and
/// cannot be read or understood.
void requireReadable(const ConfigStore& store);

/// The platform in use. Throws PlatformError::noHost when there is none, WrongUsage for one that cannot be read, and as
/// requireReadable().
[[nodiscard]] PlatformConfig requireConfig(const PlatformClient& client);

/// What was given as a platform. Throws WrongUsage for what is none.
[[nodiscard]] PlatformConfig readableConfig(const QString& host);

/// The platform in use, which has a token of ours if it needs one. Throws as requireConfig(), and
/// PlatformError::unauthenticated.
[[nodiscard]] PlatformConfig requireSignIn(const PlatformClient& client);

/// Who is signed in; absent when the platform knows no person. Throws as PlatformClient::me(), and without asking when
/// the platform needs a token and there is none.
[[nodiscard]] Task<std::optional<Identity>> requireIdentity(PlatformClient& client, PlatformConfig config,
                                                            std::stop_token stop);

/// Whether DW_TOKEN holds a token, which then comes before every stored one.
[[nodiscard]] bool environmentHasToken();

/// What to do for whoever is not signed in, or as the wrong person.
[[nodiscard]] QString signInHint();

/// A person as one line, "NAME <EMAIL>".
[[nodiscard]] QString identityText(const Identity& identity);

/// Who is signed in, and where.
struct SignedIn {
    /// The platform's name.
    QString host;
    Identity identity;
};
[[nodiscard]] const JsonTable<SignedIn>& signedInTable();

} // namespace driftwell::dw
