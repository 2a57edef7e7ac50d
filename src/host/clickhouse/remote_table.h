#pragma once
// A dataset that is a table on a database server: its dictionary comes from a dictionary JSON
// file or from the table's columns (types, and comments as labels), and its cases stay on the
// server until a pass asks for them.
#include <cstdint>
#include <string>
#include <vector>

#include "host/clickhouse/connection.h"
#include "host/dictionary/loader.h"
#include "host/dictionary/remote_source.h"

namespace host::clickhouse {

// The server's column behind one variable of the dataset.
struct RemoteColumn {
    std::string name;  // as the server names it
    bool numeric = true;
    bool nullable = true;   // may hold NULL
    bool floating = true;   // may hold NaN
    bool isDouble = false;  // already a Float64
};

class RemoteTable : public dictionary::RemoteSource {
public:
    RemoteTable(Connection connection, std::vector<RemoteColumn> columns, std::int64_t rows);
    KWEL_InputCaseIterator* createIterator(
        std::shared_ptr<dictionary::Dataset const> dataset) override;
    std::string where() const override;
    std::int64_t caseCount() const override { return rows_; }

    Connection const& connection() const { return connection_; }
    // Parallel to the dataset's variables.
    std::vector<RemoteColumn> const& columns() const { return columns_; }

private:
    Connection connection_;
    std::vector<RemoteColumn> columns_;
    std::int64_t rows_;
};

// How the server's type of a column reads here: a number, a string, or not at all.
enum class ColumnKind { Number, String, Unsupported };
ColumnKind columnKind(std::string const& type);
// The column behind a variable, with what its type tells of NULL and NaN.
RemoteColumn remoteColumn(std::string const& name, std::string const& type);

// Opens the table that `address` (clickhouse://HOST:PORT/DB.TABLE) names. `dictionaryPath`, when
// not empty, is a dictionary JSON for it. A server that cannot be reached, a table that does not
// exist or a dictionary that cannot be read gives a fatal, empty dataset and an error saying so.
dictionary::LoadResult openTable(std::string const& address, std::string const& dictionaryPath);

}  // namespace host::clickhouse
