#include "apps/sandbox/GitRemote.h"

#include "apps/sandbox/HttpError.h"
#include "apps/sandbox/PushCheck.h"
#include "apps/sandbox/ReceivedBody.h"
#include "apps/sandbox/Secrets.h"
#include "apps/sandbox/Text.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <exception>
#include <utility>

namespace driftwell::sandbox {

namespace {

/// What a fetch asks for: names of commits.
constexpr std::uint64_t largestFetchRequest = std::uint64_t{16} << 20U;
/// What git says to a push, and what it says first to a fetch: one branch, and what the check has to say.
constexpr std::size_t longestAnswer = std::size_t{4} << 20U;
constexpr std::size_t longestHead = 16 * 1024;
constexpr std::chrono::seconds placeTimeout{30};

constexpr std::string_view fetchService = "git-upload-pack";
constexpr std::string_view pushService = "git-receive-pack";

/// What a CGI program answers with (RFC 3875, section 6).
struct BackendsAnswer {
    int status = 200;
    std::string type;
    /// What has been read of the body.
    std::string body;
};

/// Nothing while the head is not complete.
std::optional<BackendsAnswer> parseAnswer(const std::string& text) {
    constexpr std::string_view gap = "\r\n\r\n";
    const std::size_t end = text.find(gap);
    if (end == std::string::npos) {
        if (text.size() > longestHead) {
            throw GitFailure("git's answer has no end of its head");
        }
        return std::nullopt;
    }
    BackendsAnswer answer;
    for (const std::string_view line : split(std::string_view(text).substr(0, end), '\n')) {
        const std::size_t colon = line.find(':');
        const std::string name = lowerCased(line.substr(0, colon));
        const std::string_view value = colon == std::string_view::npos ? "" : trimmed(line.substr(colon + 1));
        if (name == "status") {
            answer.status = static_cast<int>(decimal(value.substr(0, 3)).value_or(500));
        } else if (name == "content-type") {
            answer.type = value;
        }
    }
    answer.body = text.substr(end + gap.size());
    return answer;
}

BackendsAnswer wholeAnswer(GitProcess& git) {
    std::string text;
    for (auto piece = git.read(); !piece.empty(); piece = git.read()) {
        text += piece;
        if (text.size() > longestAnswer) {
            throw GitFailure("git's answer is too long");
        }
    }
    static_cast<void>(git.wait());
    auto answer = parseAnswer(text);
    if (!answer) {
        throw GitFailure("git did not answer: " + git.complaint());
    }
    return *std::move(answer);
}

BackendsAnswer beginningOfAnswer(GitProcess& git) {
    std::string text;
    for (auto piece = git.read(); !piece.empty(); piece = git.read()) {
        text += piece;
        if (auto answer = parseAnswer(text)) {
            return *std::move(answer);
        }
    }
    static_cast<void>(git.wait());
    throw GitFailure("git did not answer: " + git.complaint());
}

void beginResponse(Exchange& exchange, const BackendsAnswer& answer) {
    exchange.response().status = answer.status;
    exchange.response().set_header("Cache-Control", "no-cache, max-age=0, must-revalidate");
}

void respond(Exchange& exchange, const BackendsAnswer& answer) {
    beginResponse(exchange, answer);
    exchange.response().set_content(answer.body, answer.type.empty() ? "text/plain" : answer.type);
}

/// The version of the protocol that the client wants (gitprotocol-v2(5)), if it is written as one.
std::string protocolOf(const Exchange& exchange) {
    constexpr std::size_t longest = 64;
    const std::string wanted = exchange.header("Git-Protocol");
    const bool isPlain = std::all_of(wanted.begin(), wanted.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '=' || c == ':';
    });
    return isPlain && wanted.size() <= longest ? wanted : std::string();
}

} // namespace

/// One of the gits that may run at once.
class GitRemote::Place {
public:
    explicit Place(std::counting_semaphore<mostBackends>& places) : m_places(places) {}
    ~Place() { m_places.release(); }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

private:
    std::counting_semaphore<mostBackends>& m_places;
};

/// A git whose answer is on its way.
struct GitRemote::Backend {
    std::unique_ptr<Place> place;
    std::unique_ptr<ReceivedBody> request;
    std::unique_ptr<GitProcess> process;
    /// What has been read and not been passed on.
    std::string pending;

    bool passOn(httplib::DataSink& sink) {
        try {
            if (!pending.empty()) {
                const std::string first = std::exchange(pending, {});
                return sink.write(first.data(), first.size());
            }
            const std::string_view piece = process->read();
            if (!piece.empty()) {
                return sink.write(piece.data(), piece.size());
            }
            static_cast<void>(process->wait());
            sink.done();
            return true;
        } catch (const std::exception&) {
            // The connection is cut, so that nobody takes half an answer for the whole.
            return false;
        }
    }
};

/// What is asked of the backend.
struct GitRemote::Question {
    std::string_view service;
    bool isAdvertisement = false;
};

GitRemote::GitRemote(const DataFolder& folder, SignIn& signIn, Collaboration& collaboration, const UploadLimits& limits,
                     const GitHost& host, std::uint64_t races)
    : m_folder(folder),
      m_signIn(signIn),
      m_collaboration(collaboration),
      m_limits(limits),
      m_git(host),
      m_races(races) {}

void GitRemote::handle(Exchange& exchange) {
    const std::string_view path = exchange.path().substr(prefix.size());
    const std::size_t slash = path.find('/');
    const auto site = percentDecoded(path.substr(0, slash));
    const std::string_view rest = slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1);
    Question question;
    for (const std::string_view service : {fetchService, pushService}) {
        const bool isAdvertisement = rest == "info/refs" && exchange.field("service") == service;
        if (isAdvertisement || rest == service) {
            question = {service, isAdvertisement};
        }
    }
    if (!site || question.service.empty()) {
        throw HttpError(404, "not_found", "There is nothing at this address");
    }
    const std::string method = question.isAdvertisement ? "GET" : "POST";
    if (exchange.method() != method) {
        exchange.response().set_header("Allow", method);
        throw HttpError(405, "method_not_allowed", "This address takes " + method + " only");
    }
    const Person& person = requireTeam(exchange);
    const Site shared = m_collaboration.sharedSite(*site);
    if (!question.isAdvertisement) {
        exchange.requireMediaType("application/x-" + std::string(question.service) + "-request");
    }
    if (question.isAdvertisement) {
        if (shared.pushedBy) {
            m_collaboration.putRight(*site);
        }
        advertise(exchange, *site, question);
    } else if (question.service == fetchService) {
        fetch(exchange, shared, question);
    } else {
        push(exchange, *site, person, question);
    }
}

const Person& GitRemote::requireTeam(Exchange& exchange) {
    const Person* person = m_signIn.caller(exchange);
    if (person == nullptr) {
        exchange.response().set_header("WWW-Authenticate", "Bearer");
        throw HttpError(401, "unauthenticated", "Sign in to use this platform");
    }
    if (person->membership != Membership::Team) {
        throw notOnTheTeam();
    }
    return *person;
}

void GitRemote::advertise(Exchange& exchange, const std::string& site, const Question& question) {
    if (question.service == pushService) {
        loseRace(site);
    }
    const auto place = takePlace();
    GitProcess git(commandFor(exchange, *m_collaboration.sharedSite(site).repository, question), m_git);
    git.watchPeer(exchange.peer());
    respond(exchange, wholeAnswer(git));
}

void GitRemote::fetch(Exchange& exchange, const Site& site, const Question& question) {
    const auto backend = std::make_shared<Backend>();
    backend->request =
        std::make_unique<ReceivedBody>(exchange, m_folder.upload(freshId()), largestFetchRequest, "request");
    backend->place = takePlace();
    GitCommand command = commandFor(exchange, *site.repository, question);
    command.input = GitCommand::Input::File;
    command.inputFile = backend->request->path();
    backend->process = std::make_unique<GitProcess>(command, m_git);
    backend->process->watchPeer(exchange.peer());
    BackendsAnswer answer = beginningOfAnswer(*backend->process);
    beginResponse(exchange, answer);
    backend->pending = std::move(answer.body);
    exchange.response().set_chunked_content_provider(
        answer.type, [backend](std::size_t, httplib::DataSink& sink) { return backend->passOn(sink); });
}

void GitRemote::push(Exchange& exchange, const std::string& site, const Person& person, const Question& question) {
    const ReceivedBody request(exchange, m_folder.upload(freshId()), m_limits.upload, "push");
    BackendsAnswer answer;
    m_collaboration.takePush(site, std::string(person.email), [&](const PushPlace& pushPlace) {
        const auto place = takePlace();
        GitCommand command = commandFor(exchange, pushPlace.repository, question);
        command.variables.merge(
            pushCheckVariables(m_folder.hooks(), pushPlace.version, pushPlace.summary, m_limits.unpacked));
        command.input = GitCommand::Input::File;
        command.inputFile = request.path();
        // From here on the peer is not watched: a push that has arrived is seen to its end.
        GitProcess git(command, m_git);
        answer = wholeAnswer(git);
    });
    respond(exchange, answer);
}

void GitRemote::loseRace(const std::string& site) {
    if (m_races == 0) {
        return;
    }
    const std::uint64_t race = ++m_racesLost;
    if (race <= m_races) {
        m_collaboration.pushInBetween(site, "Pushed in between: " + std::to_string(race) + "\n");
    }
}

std::unique_ptr<GitRemote::Place> GitRemote::takePlace() {
    if (!m_places.try_acquire_for(placeTimeout)) {
        throw HttpError(503, "busy", "Too many people use git here at once; try again");
    }
    return std::make_unique<Place>(m_places);
}

GitCommand GitRemote::commandFor(const Exchange& exchange, const std::string& repository,
                                 const Question& question) const {
    GitCommand command;
    command.arguments = {"http-backend"};
    command.variables = {
        {"GATEWAY_INTERFACE", "CGI/1.1"},
        {"GIT_PROJECT_ROOT", m_folder.repositories()},
        {"GIT_HTTP_EXPORT_ALL", "1"},
        {"REQUEST_METHOD", exchange.method()},
        {"PATH_INFO",
         '/' + repository + '/' + (question.isAdvertisement ? "info/refs" : std::string(question.service))},
        {"QUERY_STRING", question.isAdvertisement ? "service=" + std::string(question.service) : ""},
        {"GIT_PROTOCOL", protocolOf(exchange)},
    };
    if (!question.isAdvertisement) {
        command.variables["CONTENT_TYPE"] = "application/x-" + std::string(question.service) + "-request";
    }
    return command;
}

} // namespace driftwell::sandbox
