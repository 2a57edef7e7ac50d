#pragma once
// A connection to a database server over its HTTP interface: where it is (from a
// clickhouse://HOST:PORT/DB.TABLE address), who we are (from the environment or a credentials
// file, never from the command line), and one call that sends a query and gives its answer.
#include <optional>
#include <string>

namespace host::clickhouse {

struct Address {
    std::string host;
    int port = 8123;
    std::string database;
    std::string table;
    std::string text;  // as given, for messages
};

inline constexpr char kScheme[] = "clickhouse://";

// True when the text names a table on a server rather than a file.
bool isAddress(std::string const& text);
// Reads clickhouse://HOST[:PORT]/DB.TABLE (or /TABLE in the database "default"); nullopt with
// `error` set when the text does not have that form.
std::optional<Address> parseAddress(std::string const& text, std::string& error);

struct Credentials {
    std::string user;  // empty: the server's default user
    std::string password;
};

// GGRAPH_CLICKHOUSE_USER and GGRAPH_CLICKHOUSE_PASSWORD, or the file that
// GGRAPH_CLICKHOUSE_CREDENTIALS names (lines `user=NAME` and `password=TEXT`). `error` is set
// when that file cannot be read.
Credentials credentialsFromEnvironment(std::string& error);

struct Answer {
    bool ok = false;
    std::string body;   // the rows, when ok
    std::string error;  // what went wrong, ready for a message
};

class Connection {
public:
    Connection(Address address, Credentials credentials);
    // Sends one query and waits for the whole answer. Never hangs: the connection and the query
    // have time limits (GGRAPH_CLICKHOUSE_TIMEOUT seconds for a query, 300 unless set). With
    // GGRAPH_CLICKHOUSE_TRACE set, each query and its time are written to stderr.
    Answer query(std::string const& sql) const;
    Address const& address() const { return address_; }
    // `db`.`table`, quoted for SQL.
    std::string qualifiedTable() const;

private:
    Address address_;
    Credentials credentials_;
    long timeoutSeconds_ = 300;
};

// An identifier quoted for SQL, and a text as an SQL string literal.
std::string quoteName(std::string const& name);
std::string quoteText(std::string const& text);

}  // namespace host::clickhouse
