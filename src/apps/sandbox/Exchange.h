#pragma once

#include "apps/sandbox/Connection.h"

#include <httplib.h>
#include <nlohmann/json_fwd.hpp>

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace driftwell::sandbox {

/// One request and the answer to it.
class Exchange {
public:
    Exchange(const httplib::Request& request, httplib::Response& response, Connection& connection,
             const httplib::ContentReader* body);

    [[nodiscard]] const httplib::Request& request() const { return m_request; }
    [[nodiscard]] httplib::Response& response() { return m_response; }

    [[nodiscard]] const std::string& method() const { return m_request.method; }
    /// The path as it was sent, still encoded.
    [[nodiscard]] std::string_view path() const { return m_path; }
    /// The query as it was sent, without its question mark.
    [[nodiscard]] std::string_view query() const { return m_query; }
    /// A field of the query, decoded; empty when it is missing.
    [[nodiscard]] std::string field(const std::string& name) const;
    [[nodiscard]] std::string header(const std::string& name) const { return m_request.get_header_value(name); }

    /// Hands the body over piece by piece. False when it did not arrive whole or `receiver` refused a piece.
    [[nodiscard]] bool readBody(const std::function<bool(const char*, size_t)>& receiver);
    /// The whole of a small body of the media type given; throws HttpError for any other.
    [[nodiscard]] std::string smallBody(std::string_view mediaType);
    /// How many bytes the peer said it would send, or has still to send.
    [[nodiscard]] std::optional<std::uint64_t> bodyRemaining() const { return m_connection.bodyRemaining(); }
    /// Throws HttpError unless the body is declared to be of the media type given.
    void requireMediaType(std::string_view mediaType) const;

    void cutAnswerAfter(std::uint64_t bytes) { m_connection.cutAnswerAfter(bytes); }
    void cutUploadAfter(std::uint64_t bytes) { m_connection.cutUploadAfter(bytes); }

    /// The socket of the connection, for whoever wants to know whether the peer is still there.
    [[nodiscard]] int peer() const { return m_connection.socket(); }

    void answer(int status, const nlohmann::json& body);
    void answerError(int status, std::string_view code, std::string_view message);
    void answerPage(int status, const std::string& html);
    /// One line, for programs that show it as it is.
    void answerText(int status, const std::string& text);
    void redirect(int status, const std::string& location);

    /// Reads what is left of a small body, or announces that the connection ends here.
    void settle();

private:
    const httplib::Request& m_request;
    httplib::Response& m_response;
    Connection& m_connection;
    const httplib::ContentReader* m_body;
    std::string_view m_path;
    std::string_view m_query;
    std::map<std::string, std::string> m_fields;
};

/// Answers requests. Called from many threads at once.
class RequestHandler {
public:
    virtual ~RequestHandler() = default;

    /// Called when the head of the request is known and nothing of its body has been read.
    virtual void handle(Exchange& exchange) = 0;
};

} // namespace driftwell::sandbox
