#include "apps/dw/ErrorKind.h"

#include <array>
#include <cstddef>
#include <exception>

namespace driftwell::dw {

namespace {

constexpr std::array records{
    ErrorKindRecord{ErrorKind::Usage, "usage", ExitCode::WrongUsage, Retry::AfterAChange,
                    "the command cannot be followed as it was typed", "Run dw help COMMAND for what a command takes."},
    ErrorKindRecord{ErrorKind::NoHost, "noHost", ExitCode::Failed, Retry::AfterAChange, "no platform is chosen",
                    "Choose a platform: dw host HOST"},
    ErrorKindRecord{ErrorKind::Unauthenticated, "unauthenticated", ExitCode::NotAllowed, Retry::AfterAChange,
                    "nobody is signed in, or the platform does not accept the token", "Sign in: dw login"},
    ErrorKindRecord{ErrorKind::NotTeam, "notTeam", ExitCode::NotAllowed, Retry::AfterAChange,
                    "whoever is signed in is not on the platform's team",
                    "Ask the team to add you, or sign in as somebody else: dw logout, then dw login"},
    ErrorKindRecord{ErrorKind::Unreachable, "unreachable", ExitCode::Unreachable, Retry::AtOnce,
                    "the platform could not be reached, or the connection was lost",
                    "Look at the network and at the platform's address, which dw host prints, and try again."},
    ErrorKindRecord{ErrorKind::TimedOut, "timedOut", ExitCode::Unreachable, Retry::AtOnce,
                    "the platform did not answer in time",
                    "Look at the network and at the platform's address, which dw host prints, and try again."},
    ErrorKindRecord{ErrorKind::Proxy, "proxy", ExitCode::Unreachable, Retry::AfterAChange,
                    "the proxy could not be reached, or refused",
                    "Look at http_proxy, https_proxy, all_proxy and no_proxy in the environment."},
    ErrorKindRecord{ErrorKind::Certificate, "certificate", ExitCode::Unreachable, Retry::AfterAChange,
                    "the platform's certificate is not trusted, or those to trust cannot be read",
                    "Name a readable file of the certificates to trust in DW_CA_FILE, if they are your team's own."},
    ErrorKindRecord{ErrorKind::RateLimited, "rateLimited", ExitCode::Unreachable, Retry::AfterWaiting,
                    "the platform takes no more requests for now", "Wait a while, and try again."},
    ErrorKindRecord{ErrorKind::TooLarge, "tooLarge", ExitCode::Failed, Retry::AfterAChange,
                    "more than the platform takes, or a file that is too large to be packed",
                    "dw deploy --dry-run lists the files and their sizes."},
    ErrorKindRecord{ErrorKind::Api, "api", ExitCode::Failed, Retry::AfterAChange,
                    "the platform refused, or answered oddly; what it said is the message",
                    "The same command with --verbose shows what was asked and answered."},
    ErrorKindRecord{ErrorKind::NoSite, "noSite", ExitCode::Failed, Retry::AfterAChange,
                    "the platform has no site of this name", "dw list shows the sites."},
    ErrorKindRecord{ErrorKind::SiteExists, "siteExists", ExitCode::Failed, Retry::AfterAChange,
                    "the site that had to be new is there already; nothing was sent",
                    "Choose another name with --name, or leave out --new to replace the site."},
    ErrorKindRecord{ErrorKind::NoLibrary, "noLibrary", ExitCode::Failed, Retry::AfterAChange,
                    "the platform has no library of this name", "dw libs SITE shows the libraries."},
    ErrorKindRecord{ErrorKind::NoPrevious, "noPrevious", ExitCode::Failed, Retry::AfterAChange,
                    "the site has no version before the live one", "dw history SITE shows what was published."},
    ErrorKindRecord{ErrorKind::EmptyFolder, "emptyFolder", ExitCode::Failed, Retry::AfterAChange,
                    "the folder has nothing that is published",
                    "Name another folder: dw deploy FOLDER. dw help deploy tells what stays behind."},
    ErrorKindRecord{ErrorKind::BadFileName, "badFileName", ExitCode::Failed, Retry::AfterAChange,
                    "the name of a file cannot be packed; nothing was sent",
                    "Rename the file or move it, and publish again."},
    ErrorKindRecord{ErrorKind::NotConfirmed, "notConfirmed", ExitCode::Failed, Retry::AfterAChange,
                    "the question was not answered as it has to be; nothing was done",
                    "Run it again, and answer with the name just as it is shown."},
    ErrorKindRecord{ErrorKind::UnknownOutcome, "unknownOutcome", ExitCode::UnknownOutcome, Retry::AfterLooking,
                    "a change was sent whole and not answered, and it may have been made",
                    "Look before you try again: dw list"},
    ErrorKindRecord{ErrorKind::NotAnswering, "notAnswering", ExitCode::NotAnswering, Retry::AfterLooking,
                    "the site was published and is live, and its address does not answer well",
                    "Look at it: dw info SITE"},
    ErrorKindRecord{ErrorKind::NotNew, "notNew", ExitCode::NotNew, Retry::AfterLooking,
                    "the site that had to be new was published twice in the same moment, so one version took the place "
                    "of the other",
                    "Look whose versions there are: dw history SITE"},
    ErrorKindRecord{ErrorKind::Conflict, "conflict", ExitCode::Conflict, Retry::AfterAChange,
                    "others have changed the same places; `files` names the files",
                    "dw status shows the files, and dw help resolve what can be done with them."},
    ErrorKindRecord{ErrorKind::NoConflict, "noConflict", ExitCode::Failed, Retry::AfterAChange,
                    "there is no conflict to resolve", "dw status shows how the folder stands."},
    ErrorKindRecord{ErrorKind::NotLinked, "notLinked", ExitCode::Failed, Retry::AfterAChange,
                    "the folder is linked to no site of the platform", "Link it: dw link FOLDER --name SITE"},
    ErrorKindRecord{ErrorKind::CollabOff, "collabOff", ExitCode::Failed, Retry::AfterAChange,
                    "the site is not edited together", "Switch it on: dw collab on SITE"},
    ErrorKindRecord{ErrorKind::NoGit, "noGit", ExitCode::Failed, Retry::AfterAChange,
                    "this machine has no git that works", "Install the package git."},
    ErrorKindRecord{ErrorKind::Git, "git", ExitCode::Failed, Retry::AfterAChange, "git failed, in its own words",
                    "dw status shows how the folder stands, and dw resolve --prompt what an agent needs to know."},
    ErrorKindRecord{ErrorKind::System, "system", ExitCode::Failed, Retry::AfterAChange,
                    "something on this machine: a missing folder, a file that cannot be read, a full disk",
                    "It is about this machine and not the platform: put it right, and run the same command again."},
    ErrorKindRecord{ErrorKind::Interrupted, "interrupted", ExitCode::Interrupted, Retry::AfterLooking,
                    "it was interrupted, or its terminal is gone (exit code 129), or it was told to end (143)",
                    "What had been sent by then may have been done. dw list shows how the sites are."},
};

constexpr bool hasARecordOfEachKind() {
    for (std::size_t i = 0; i < records.size(); ++i) {
        if (records.at(i).kind != static_cast<ErrorKind>(i)) {
            return false;
        }
    }
    return records.size() == static_cast<std::size_t>(ErrorKind::Interrupted) + 1;
}
static_assert(hasARecordOfEachKind());

} // namespace

std::span<const ErrorKindRecord> errorKinds() {
    return records;
}

const ErrorKindRecord& recordOf(ErrorKind kind) {
    return records.at(static_cast<std::size_t>(kind));
}

const char* retryText(Retry retry) {
    switch (retry) {
    case Retry::AtOnce:
        return "yes";
    case Retry::AfterWaiting:
        return "yes, after `retryAfter` seconds";
    case Retry::AfterLooking:
        return "after a look at what is so";
    case Retry::AfterAChange:
        return "no";
    }
    std::terminate();
}

} // namespace driftwell::dw
