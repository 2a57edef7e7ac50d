#include "host/clickhouse/connection.h"

#include "host/clickhouse/http_client.h"

#include <charconv>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iostream>

namespace host::clickhouse {

namespace {

std::string trim(std::string text) {
    std::size_t const first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos)
        return {};
    std::size_t const last = text.find_last_not_of(" \t\r\n");
    return text.substr(first, last - first + 1);
}

std::string environment(char const* name) {
    char const* value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::size_t collect(char* data, std::size_t size, std::size_t count, void* target) {
    static_cast<std::string*>(target)->append(data, size * count);
    return size * count;
}

// The server's exception text without its code and the repetition behind it.
std::string serverMessage(std::string const& body) {
    std::string text = trim(body);
    std::size_t const display = text.find("e.displayText() = ");
    if (display != std::string::npos) {
        text = text.substr(display + 18);
        std::size_t const what = text.find(", e.what() = ");
        if (what != std::string::npos)
            text.resize(what);
    }
    if (text.rfind("DB::Exception: ", 0) == 0)
        text = text.substr(15);
    if (text.size() > 400)
        text = text.substr(0, 400) + "...";
    return text;
}

// An exception after the first rows ends the body with the server's message.
bool endsInException(std::string const& body) {
    std::size_t const start = body.rfind("\nCode: ");
    return (start != std::string::npos || body.rfind("Code: ", 0) == 0) &&
           body.find("DB::Exception", start == std::string::npos ? 0 : start) != std::string::npos;
}

}  // namespace

bool isAddress(std::string const& text) {
    return text.rfind(kScheme, 0) == 0;
}

std::optional<Address> parseAddress(std::string const& text, std::string& error) {
    Address address;
    address.text = text;
    std::string_view rest(text);
    if (!isAddress(text)) {
        error = "\"" + text + "\" does not start with " + kScheme;
        return std::nullopt;
    }
    rest.remove_prefix(sizeof(kScheme) - 1);
    std::size_t const slash = rest.find('/');
    std::string_view authority = rest.substr(0, slash);
    std::string_view path =
        slash == std::string_view::npos ? std::string_view() : rest.substr(slash + 1);
    std::size_t const colon = authority.rfind(':');
    address.host = std::string(authority.substr(0, colon));
    if (colon != std::string_view::npos) {
        std::string_view const port = authority.substr(colon + 1);
        auto [end, problem] = std::from_chars(port.data(), port.data() + port.size(), address.port);
        if (problem != std::errc() || end != port.data() + port.size() || address.port <= 0 ||
            address.port > 65535) {
            error = "\"" + text + "\": the port \"" + std::string(port) + "\" is not a port number";
            return std::nullopt;
        }
    }
    std::size_t const dot = path.find('.');
    address.database = dot == std::string_view::npos ? "default" : std::string(path.substr(0, dot));
    address.table = std::string(dot == std::string_view::npos ? path : path.substr(dot + 1));
    if (address.host.empty() || address.table.empty() || address.database.empty()) {
        error = "\"" + text + "\" is not of the form clickhouse://HOST:PORT/DATABASE.TABLE";
        return std::nullopt;
    }
    return address;
}

Credentials credentialsFromEnvironment(std::string& error) {
    Credentials credentials{environment("GGRAPH_CLICKHOUSE_USER"),
                            environment("GGRAPH_CLICKHOUSE_PASSWORD")};
    std::string const file = environment("GGRAPH_CLICKHOUSE_CREDENTIALS");
    if (file.empty())
        return credentials;
    std::ifstream in(file);
    if (!in) {
        error = "the credentials file " + file + " (GGRAPH_CLICKHOUSE_CREDENTIALS) cannot be read";
        return credentials;
    }
    std::string line;
    while (std::getline(in, line)) {
        std::size_t const equals = line.find('=');
        if (equals == std::string::npos)
            continue;
        std::string const key = trim(line.substr(0, equals));
        std::string const value = trim(line.substr(equals + 1));
        if (key == "user")
            credentials.user = value;
        else if (key == "password")
            credentials.password = value;
    }
    return credentials;
}

Connection::Connection(Address address, Credentials credentials)
    : address_(std::move(address)), credentials_(std::move(credentials)) {
    std::string const timeout = environment("GGRAPH_CLICKHOUSE_TIMEOUT");
    long seconds = 0;
    auto [end, problem] = std::from_chars(timeout.data(), timeout.data() + timeout.size(), seconds);
    if (problem == std::errc() && end == timeout.data() + timeout.size() && seconds > 0)
        timeoutSeconds_ = seconds;
}

Answer Connection::query(std::string const& sql) const {
    Answer answer;
    HttpClient const* http = httpClient(answer.error);
    if (http == nullptr)
        return answer;
    CURL* curl = http->easyInit();
    if (curl == nullptr) {
        answer.error = "the HTTP client could not be started";
        return answer;
    }
    // The server is asked to stop the query when we stop waiting for it.
    std::string const url = "http://" + address_.host + ":" + std::to_string(address_.port) +
                            "/?max_execution_time=" + std::to_string(timeoutSeconds_);
    char errorText[CURL_ERROR_SIZE] = {0};
    http->easySetopt(curl, CURLOPT_URL, url.c_str());
    http->easySetopt(curl, CURLOPT_POST, 1L);
    http->easySetopt(curl, CURLOPT_POSTFIELDS, sql.data());
    http->easySetopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(sql.size()));
    http->easySetopt(curl, CURLOPT_WRITEFUNCTION, collect);
    http->easySetopt(curl, CURLOPT_WRITEDATA, &answer.body);
    http->easySetopt(curl, CURLOPT_ERRORBUFFER, errorText);
    http->easySetopt(curl, CURLOPT_CONNECTTIMEOUT_MS, 5000L);
    http->easySetopt(curl, CURLOPT_TIMEOUT, timeoutSeconds_);
    http->easySetopt(curl, CURLOPT_NOSIGNAL, 1L);
    http->easySetopt(curl, CURLOPT_ACCEPT_ENCODING, "");
    if (!credentials_.user.empty()) {
        http->easySetopt(curl, CURLOPT_HTTPAUTH, CURLAUTH_BASIC);
        http->easySetopt(curl, CURLOPT_USERNAME, credentials_.user.c_str());
        http->easySetopt(curl, CURLOPT_PASSWORD, credentials_.password.c_str());
    }
    auto const started = std::chrono::steady_clock::now();
    CURLcode const code = http->easyPerform(curl);
    if (!environment("GGRAPH_CLICKHOUSE_TRACE").empty()) {
        std::chrono::duration<double> const took = std::chrono::steady_clock::now() - started;
        std::cerr << "clickhouse query: " << took.count() << " s, " << answer.body.size()
                  << " bytes: " << sql.substr(0, 300) << (sql.size() > 300 ? "..." : "") << "\n";
    }
    long status = 0;
    http->easyGetinfo(curl, CURLINFO_RESPONSE_CODE, &status);
    http->easyCleanup(curl);
    std::string const where = address_.host + ":" + std::to_string(address_.port);
    if (code != CURLE_OK) {
        answer.error =
            "the server at " + where + " did not answer: " +
            (errorText[0] != 0 ? std::string(errorText) : std::string(http->easyStrerror(code)));
        answer.body.clear();
        return answer;
    }
    if (status != 200 || endsInException(answer.body)) {
        answer.error =
            "the server at " + where + " refused the query: " +
            serverMessage(status != 200 ? answer.body
                                        : answer.body.substr(answer.body.rfind("Code: ")));
        answer.body.clear();
        return answer;
    }
    answer.ok = true;
    return answer;
}

std::string Connection::qualifiedTable() const {
    return quoteName(address_.database) + "." + quoteName(address_.table);
}

std::string quoteName(std::string const& name) {
    std::string quoted = "`";
    for (char c : name) {
        if (c == '`' || c == '\\')
            quoted += '\\';
        quoted += c;
    }
    return quoted + "`";
}

std::string quoteText(std::string const& text) {
    std::string quoted = "'";
    for (char c : text) {
        if (c == '\'' || c == '\\')
            quoted += '\\';
        quoted += c;
    }
    return quoted + "'";
}

}  // namespace host::clickhouse
