#include "apps/sandbox/Exchange.h"

#include "apps/sandbox/HttpError.h"
#include "apps/sandbox/Text.h"

#include <nlohmann/json.hpp>

namespace driftwell::sandbox {

namespace {

constexpr size_t smallBodyLimit = 1024 * 1024;
constexpr std::uint64_t worthReading = 64 * 1024;

} // namespace

Exchange::Exchange(const httplib::Request& request, httplib::Response& response, Connection& connection,
                   const httplib::ContentReader* body)
    : m_request(request), m_response(response), m_connection(connection), m_body(body), m_path(request.target) {
    m_path = m_path.substr(0, m_path.find('#'));
    const size_t question = m_path.find('?');
    if (question != std::string_view::npos) {
        m_query = m_path.substr(question + 1);
        m_path = m_path.substr(0, question);
    }
    m_fields = formFields(m_query);
}

std::string Exchange::field(const std::string& name) const {
    const auto found = m_fields.find(name);
    return found == m_fields.end() ? std::string() : found->second;
}

bool Exchange::readBody(const std::function<bool(const char*, size_t)>& receiver) {
    return m_body != nullptr && (*m_body)(receiver);
}

void Exchange::requireMediaType(std::string_view mediaType) const {
    const std::string type = header("Content-Type");
    if (lowerCased(trimmed(split(type, ';').front())) != mediaType) {
        throw HttpError(415, "unsupported_media_type",
                        "This request needs a body of the type " + std::string(mediaType));
    }
}

std::string Exchange::smallBody(std::string_view mediaType) {
    requireMediaType(mediaType);
    std::string body;
    bool tooLarge = false;
    const bool whole = readBody([&](const char* data, size_t size) {
        tooLarge = body.size() + size > smallBodyLimit;
        if (!tooLarge) {
            body.append(data, size);
        }
        return !tooLarge;
    });
    if (tooLarge) {
        throw HttpError(413, "too_large", "The body of this request is too large");
    }
    if (!whole) {
        throw HttpError(400, "incomplete_body", "The body of this request did not arrive whole");
    }
    return body;
}

void Exchange::answer(int status, const nlohmann::json& body) {
    m_response.status = status;
    m_response.set_header("Cache-Control", "no-store");
    m_response.set_content(body.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace), "application/json");
}

void Exchange::answerError(int status, std::string_view code, std::string_view message) {
    answer(status, {{"error", message}, {"code", code}});
}

void Exchange::answerPage(int status, const std::string& html) {
    m_response.status = status;
    m_response.set_header("Cache-Control", "no-store");
    // A page of the platform's own is shown alone: nothing may frame it, and it loads nothing from elsewhere.
    m_response.set_header("Content-Security-Policy",
                          "default-src 'none'; style-src 'unsafe-inline'; base-uri 'none'; frame-ancestors 'none'");
    m_response.set_header("X-Content-Type-Options", "nosniff");
    m_response.set_header("Referrer-Policy", "same-origin");
    m_response.set_content(html, "text/html; charset=utf-8");
}

void Exchange::answerText(int status, const std::string& text) {
    m_response.status = status;
    m_response.set_header("Cache-Control", "no-store");
    m_response.set_content(text + '\n', "text/plain; charset=utf-8");
}

void Exchange::redirect(int status, const std::string& location) {
    m_response.status = status;
    m_response.set_header("Cache-Control", "no-store");
    m_response.set_header("Location", location);
}

void Exchange::settle() {
    const auto remaining = m_connection.bodyRemaining();
    if (remaining == 0U) {
        return;
    }
    if (remaining && *remaining <= worthReading && m_body != nullptr && !m_request.is_multipart_form_data()) {
        // The library writes its own opinion of what it reads into the answer.
        const int status = m_response.status;
        const bool isRead = readBody([](const char*, size_t) { return true; });
        m_response.status = status;
        if (isRead) {
            return;
        }
    }
    m_response.set_header("Connection", "close");
}

} // namespace driftwell::sandbox
