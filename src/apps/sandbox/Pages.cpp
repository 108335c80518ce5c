#include "apps/sandbox/Pages.h"

#include "apps/sandbox/HostName.h"
#include "apps/sandbox/Team.h"
#include "apps/sandbox/Text.h"

namespace driftwell::sandbox::pages {

namespace {

constexpr std::string_view style = R"(
:root { color-scheme: light dark; --back: #f4f5f7; --card: #ffffff; --text: #1d2330; --soft: #667085;
  --line: #e3e6ec; --accent: #2f6f8f; --on-accent: #ffffff; }
@media (prefers-color-scheme: dark) {
  :root { --back: #14171d; --card: #1d2129; --text: #e8ebf0; --soft: #98a2b3; --line: #2c323d; --accent: #7cc0df;
    --on-accent: #10222b; }
}
* { box-sizing: border-box; }
body { margin: 0; min-height: 100vh; display: grid; place-items: center; padding: 24px; background: var(--back);
  color: var(--text); font: 16px/1.5 system-ui, sans-serif; }
main { width: 100%; max-width: 420px; background: var(--card); border: 1px solid var(--line); border-radius: 16px;
  padding: 32px; }
.mark { font-size: 13px; font-weight: 600; letter-spacing: .04em; color: var(--accent); margin: 0 0 12px; }
h1 { font-size: 22px; line-height: 1.25; margin: 0 0 8px; }
p { margin: 0 0 16px; color: var(--soft); overflow-wrap: anywhere; }
p:last-child { margin-bottom: 0; }
a { color: var(--accent); }
ul { list-style: none; margin: 0; padding: 0; }
li { padding: 8px 0; border-top: 1px solid var(--line); }
button { display: flex; gap: 14px; align-items: center; width: 100%; margin-top: 10px; padding: 12px 14px;
  text-align: left; font: inherit; color: inherit; background: none; border: 1px solid var(--line);
  border-radius: 12px; cursor: pointer; }
button:hover, button:focus-visible { border-color: var(--accent); outline: 2px solid var(--accent);
  outline-offset: -1px; }
.initials { flex: none; display: grid; place-items: center; width: 40px; height: 40px; border-radius: 50%;
  background: var(--accent); color: var(--on-accent); font-weight: 600; }
.who { min-width: 0; }
.who b { display: block; font-weight: 600; }
.who span { display: block; font-size: 13px; color: var(--soft); overflow: hidden; text-overflow: ellipsis; }
.note { font-size: 13px; margin-top: 20px; }
)";

std::string page(std::string_view title, const std::string& content) {
    std::string html = "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                       "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>";
    html += htmlEscaped(title);
    html += "</title>\n<style>";
    html += style;
    html += "</style>\n</head>\n<body>\n<main>\n<p class=\"mark\">Driftwell sandbox</p>\n<h1>";
    html += htmlEscaped(title);
    html += "</h1>\n";
    html += content;
    html += "</main>\n</body>\n</html>\n";
    return html;
}

std::string paragraph(std::string_view text) {
    return "<p>" + htmlEscaped(text) + "</p>\n";
}

std::string anchor(std::string_view text, std::string_view link) {
    return "<a href=\"" + htmlEscaped(link) + "\">" + htmlEscaped(text) + "</a>";
}

std::string initials(std::string_view name) {
    std::string letters;
    for (const std::string_view word : split(name, ' ')) {
        letters += word.substr(0, 1);
    }
    return letters;
}

} // namespace

std::string message(std::string_view title, std::string_view text) {
    return page(title, paragraph(text));
}

std::string message(std::string_view title, std::string_view text, std::string_view linkText, std::string_view link) {
    return page(title, paragraph(text) + "<p>" + anchor(linkText, link) + "</p>\n");
}

std::string signIn(std::string_view purpose, std::string_view nonce) {
    std::string content = paragraph("Choose who you are, to continue to " + std::string(purpose) + ".");
    content += "<form method=\"post\" action=\"/auth/login\">\n<input type=\"hidden\" name=\"nonce\" value=\"";
    content += htmlEscaped(nonce);
    content += "\">\n";
    for (const Person& person : people()) {
        content += "<button name=\"person\" value=\"" + htmlEscaped(person.id) + "\"><span class=\"initials\">" +
                   htmlEscaped(initials(person.name)) + "</span><span class=\"who\"><b>" + htmlEscaped(person.name) +
                   "</b><span>" + htmlEscaped(person.email) +
                   (person.membership == Membership::Team ? "" : " · not on the team") + "</span></span></button>\n";
    }
    content += "</form>\n<p class=\"note\">These people are made up. The sandbox asks for no password.</p>\n";
    return page("Sign in", content);
}

std::string welcome(const std::vector<Site>& sites, int port) {
    std::string content = paragraph("A whole platform on this machine, to try things on. Drop a folder onto Driftwell "
                                    "to publish a site here.");
    if (!sites.empty()) {
        content += "<ul>\n";
        for (const Site& site : sites) {
            content += "<li>" + anchor(site.name, siteUrl(site.name, port)) + "</li>\n";
        }
        content += "</ul>\n";
    }
    return page("It is running", content);
}

} // namespace driftwell::sandbox::pages
