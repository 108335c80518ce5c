#include "apps/sandbox/HostedSites.h"

#include "apps/sandbox/HttpError.h"
#include "apps/sandbox/MimeTypes.h"
#include "apps/sandbox/Pages.h"
#include "apps/sandbox/Text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

namespace driftwell::sandbox {

namespace {

constexpr size_t sendBuffer = 256 * 1024;

struct OpenFile {
    explicit OpenFile(int number) : descriptor(number) {}
    ~OpenFile() {
        if (descriptor >= 0) {
            close(descriptor);
        }
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    int descriptor;
    struct stat state {};
};

/// Nothing when there is no such file or folder. A site holds no links, and none would be followed.
std::shared_ptr<OpenFile> openBelow(const std::filesystem::path& root, const std::string& path) {
    const OpenFile folder(open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.descriptor < 0) {
        return nullptr;
    }
    auto file = std::make_shared<OpenFile>(
        openat(folder.descriptor, path.empty() ? "." : path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (file->descriptor < 0 || fstat(file->descriptor, &file->state) != 0) {
        return nullptr;
    }
    return file;
}

/// The file that a request's path names, relative to the site; no value for a path that cannot name one.
std::optional<std::string> relativePath(std::string_view requestPath) {
    if (!requestPath.starts_with('/')) {
        return std::nullopt;
    }
    const auto path = percentDecoded(requestPath.substr(1));
    if (!path || path->find('\0') != std::string::npos) {
        return std::nullopt;
    }
    const auto parts = split(*path, '/');
    for (size_t index = 0; index < parts.size(); ++index) {
        const bool last = index + 1 == parts.size();
        if (parts[index] == "." || parts[index] == ".." || (parts[index].empty() && !last)) {
            return std::nullopt;
        }
    }
    return path;
}

struct Span {
    std::uint64_t first = 0;
    std::uint64_t length = 0;
};

enum class RangeKind { Whole, Part, Unsatisfiable };

/// One range of bytes (RFC 9110, section 14.1.2). Several at once, or one that is not understood, give the whole.
RangeKind chooseRange(const std::string& header, std::uint64_t size, Span& span) {
    span = {0, size};
    constexpr std::string_view unit = "bytes=";
    if (!header.starts_with(unit)) {
        return RangeKind::Whole;
    }
    const std::string_view range = trimmed(std::string_view(header).substr(unit.size()));
    const auto ends = split(range, '-');
    if (ends.size() != 2) {
        return RangeKind::Whole;
    }
    const auto first = decimal(ends[0]);
    const auto last = decimal(ends[1]);
    if ((!first && !ends[0].empty()) || (!last && !ends[1].empty()) || (!first && !last) ||
        (first && last && *first > *last)) {
        return RangeKind::Whole;
    }
    if (!first) {
        const std::uint64_t length = std::min(*last, size);
        span = {size - length, length};
        return length == 0 ? RangeKind::Unsatisfiable : RangeKind::Part;
    }
    if (*first >= size) {
        return RangeKind::Unsatisfiable;
    }
    span = {*first, std::min(last.value_or(size - 1), size - 1) - *first + 1};
    return RangeKind::Part;
}

bool namesTag(const std::string& header, std::string_view tag) {
    const auto tags = split(header, ',');
    return std::any_of(tags.begin(), tags.end(), [tag](std::string_view named) {
        named = trimmed(named);
        if (named.starts_with("W/")) {
            named.remove_prefix(2);
        }
        return named == tag || named == "*";
    });
}

void sendFile(httplib::Response& response, std::shared_ptr<OpenFile> file, Span span, std::string_view fileName) {
    const std::string type(mimeType(fileName));
    if (span.length == 0) {
        response.set_content(std::string(), type);
        return;
    }
    auto buffer = std::make_shared<std::vector<char>>(std::min<std::uint64_t>(span.length, sendBuffer));
    response.set_content_provider(
        span.length, type,
        [file = std::move(file), buffer, first = span.first](size_t offset, size_t length, httplib::DataSink& sink) {
            const ssize_t got = pread(file->descriptor, buffer->data(), std::min(length, buffer->size()),
                                      static_cast<off_t>(first + offset));
            return got > 0 && sink.write(buffer->data(), static_cast<size_t>(got));
        });
}

/// A site that does not exist is the team's, like one that was not opened to anybody else: people outside the team do
/// not learn which of the two it is.
bool mayOpen(const Person& person, const std::optional<Site>& site) {
    if (!site || site->access.mode == AccessMode::Team) {
        return person.membership == Membership::Team;
    }
    const auto& emails = site->access.emails;
    return person.email == site->owner || std::find(emails.begin(), emails.end(), person.email) != emails.end();
}

} // namespace

HostedSites::HostedSites(const DataFolder& folder, Store& store, SignIn& signIn)
    : m_folder(folder), m_store(store), m_signIn(signIn) {}

void HostedSites::serve(Exchange& exchange, const std::string& name) {
    if (exchange.method() != "GET" && exchange.method() != "HEAD") {
        exchange.response().set_header("Allow", "GET, HEAD");
        throw HttpError(405, "method_not_allowed", "A site can only be read");
    }
    if (exchange.path() == SignIn::visitPath) {
        m_signIn.beginVisit(exchange, name);
        return;
    }
    auto site = m_store.site(name);
    if (!admit(exchange, name, site)) {
        return;
    }
    // A version that is looked for may have been replaced and removed meanwhile.
    while (site && serveFrom(exchange, site->liveVersion) == Outcome::Missing) {
        const std::string tried = std::move(site->liveVersion);
        site = m_store.site(name);
        if (site && site->liveVersion == tried) {
            throw HttpError(404, "not_found", "This page is not part of the site");
        }
    }
    if (!site) {
        throw HttpError(404, "site_not_found", "There is no site with this name");
    }
}

bool HostedSites::admit(Exchange& exchange, const std::string& name, const std::optional<Site>& site) {
    if (site && site->access.mode == AccessMode::Public) {
        return true;
    }
    const Person* visitor = m_signIn.visitor(exchange, name);
    if (visitor == nullptr) {
        exchange.redirect(302, m_signIn.loginUrlFor(exchange));
        return false;
    }
    if (m_signIn.isRequired() && !mayOpen(*visitor, site)) {
        exchange.answerPage(403, pages::message("This site is not open to you",
                                                "You are signed in as " + std::string(visitor->email) +
                                                    ". Ask a member of the team for access.",
                                                "Sign in as somebody else", m_signIn.loginUrlFor(exchange)));
        return false;
    }
    return true;
}

HostedSites::Outcome HostedSites::serveFrom(Exchange& exchange, const std::string& version) const {
    httplib::Response& response = exchange.response();
    const std::filesystem::path root = m_folder.version(version);
    auto path = relativePath(exchange.path());
    std::shared_ptr<OpenFile> file;
    if (path) {
        const bool isFolder = path->empty() || path->ends_with('/');
        if (isFolder) {
            *path += "index.html";
        }
        file = openBelow(root, *path);
        if (file && !isFolder && S_ISDIR(file->state.st_mode)) {
            std::string location(exchange.path());
            location += '/';
            if (!exchange.query().empty()) {
                location += '?';
                location += exchange.query();
            }
            exchange.redirect(302, location);
            return Outcome::Answered;
        }
    }
    response.set_header("Cache-Control", "no-cache");
    if (!file || !S_ISREG(file->state.st_mode)) {
        constexpr const char* own = "404.html";
        file = openBelow(root, own);
        if (!file || !S_ISREG(file->state.st_mode)) {
            return Outcome::Missing;
        }
        response.status = 404;
        const auto size = static_cast<std::uint64_t>(file->state.st_size);
        sendFile(response, std::move(file), {0, size}, own);
        return Outcome::Answered;
    }

    // The files of a version never change, so the version names the content.
    const std::string tag = '"' + version + '"';
    response.set_header("ETag", tag);
    response.set_header("Accept-Ranges", "bytes");
    if (namesTag(exchange.header("If-None-Match"), tag)) {
        response.status = 304;
        return Outcome::Answered;
    }
    const auto size = static_cast<std::uint64_t>(file->state.st_size);
    const std::string ifRange = exchange.header("If-Range");
    const std::string range = ifRange.empty() || ifRange == tag ? exchange.header("Range") : std::string();
    Span span;
    switch (chooseRange(range, size, span)) {
    case RangeKind::Unsatisfiable:
        response.set_header("Content-Range", "bytes */" + std::to_string(size));
        throw HttpError(416, "bad_range", "The file ends before the bytes asked for");
    case RangeKind::Part:
        response.status = 206;
        response.set_header("Content-Range", "bytes " + std::to_string(span.first) + '-' +
                                                 std::to_string(span.first + span.length - 1) + '/' +
                                                 std::to_string(size));
        break;
    case RangeKind::Whole:
        response.status = 200;
        break;
    }
    sendFile(response, std::move(file), span, *path);
    return Outcome::Answered;
}

} // namespace driftwell::sandbox
