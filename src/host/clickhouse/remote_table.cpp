#include "host/clickhouse/remote_table.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "host/clickhouse/remote_iterator.h"
#include "host/clickhouse/tsv.h"

namespace host::clickhouse {

namespace {

using dictionary::Diagnostic;
using dictionary::LoadResult;

std::string unwrap(std::string type, std::string const& wrapper) {
    std::string const prefix = wrapper + "(";
    if (type.rfind(prefix, 0) == 0 && type.back() == ')')
        return type.substr(prefix.size(), type.size() - prefix.size() - 1);
    return type;
}

LoadResult failure(std::string const& address, std::string text,
                   std::vector<Diagnostic> messages = {}) {
    LoadResult result;
    result.dataset = std::make_shared<dictionary::Dataset>();
    result.dataset->path = address;
    result.dataset->fatal = true;
    result.messages = std::move(messages);
    Diagnostic d;
    d.level = Diagnostic::Error;
    d.file = address;
    d.text = std::move(text);
    result.messages.push_back(std::move(d));
    return result;
}

std::string csvField(std::string const& text) {
    std::string quoted = "\"";
    for (char c : text) {
        if (c == '"')
            quoted += '"';
        quoted += c;
    }
    return quoted + "\"";
}

struct ServerColumn {
    std::string name;
    std::string type;
    std::string comment;
    ColumnKind kind;
    int width = 0;
};

// The longest name of an Enum8('a' = 1, 'bc' = 2) type.
int longestEnumName(std::string const& type) {
    int longest = 1, length = 0;
    bool quoted = false;
    for (std::size_t i = 0; i < type.size(); ++i) {
        if (quoted && type[i] == '\\') {
            ++i;
            ++length;
        } else if (type[i] == '\'') {
            if (quoted)
                longest = std::max(longest, length);
            quoted = !quoted;
            length = 0;
        } else if (quoted) {
            ++length;
        }
    }
    return longest;
}

// The widths of the string columns: FixedString gives its own, the dictionary may declare one,
// the others are as wide as their longest value.
bool measureWidths(Connection const& connection, std::vector<ServerColumn>& columns,
                   std::string& error) {
    std::string select;
    std::vector<ServerColumn*> measured;
    for (ServerColumn& column : columns) {
        if (column.kind != ColumnKind::String)
            continue;
        std::string const inner = unwrap(unwrap(column.type, "Nullable"), "LowCardinality");
        if (inner.rfind("FixedString(", 0) == 0) {
            column.width = std::atoi(inner.c_str() + 12);
            continue;
        }
        if (inner.rfind("Enum", 0) == 0) {
            column.width = std::max(column.width, longestEnumName(inner));
            continue;
        }
        if (column.width > 0)
            continue;
        select += (select.empty() ? "" : ", ") + std::string("max(length(toString(") +
                  quoteName(column.name) + ")))";
        measured.push_back(&column);
    }
    if (measured.empty())
        return true;
    Answer const answer = connection.query("SELECT " + select + " FROM " +
                                           connection.qualifiedTable() + " FORMAT TabSeparated");
    if (!answer.ok) {
        error = answer.error;
        return false;
    }
    TsvReader reader(answer.body);
    std::vector<std::string_view> fields;
    reader.next(fields);
    for (std::size_t i = 0; i < measured.size(); ++i) {
        std::optional<double> const width = i < fields.size() ? number(fields[i]) : std::nullopt;
        measured[i]->width = std::clamp(static_cast<int>(width.value_or(1.0)), 1, 32767);
    }
    return true;
}

}  // namespace

ColumnKind columnKind(std::string const& type) {
    std::string const inner = unwrap(unwrap(type, "Nullable"), "LowCardinality");
    static char const* const numbers[] = {"Int8",   "Int16",  "Int32",  "Int64",   "UInt8",
                                          "UInt16", "UInt32", "UInt64", "Float32", "Float64"};
    for (char const* name : numbers) {
        if (inner == name)
            return ColumnKind::Number;
    }
    if (inner.rfind("Decimal", 0) == 0)
        return ColumnKind::Number;
    if (inner == "String" || inner.rfind("FixedString(", 0) == 0 || inner.rfind("Enum8(", 0) == 0 ||
        inner.rfind("Enum16(", 0) == 0)
        return ColumnKind::String;
    return ColumnKind::Unsupported;
}

RemoteColumn remoteColumn(std::string const& name, std::string const& type) {
    std::string const inner = unwrap(unwrap(type, "LowCardinality"), "Nullable");
    return {name, columnKind(type) == ColumnKind::Number,
            type.find("Nullable(") != std::string::npos, inner == "Float32" || inner == "Float64",
            inner == "Float64"};
}

RemoteTable::RemoteTable(Connection connection, std::vector<RemoteColumn> columns,
                         std::int64_t rows)
    : connection_(std::move(connection)), columns_(std::move(columns)), rows_(rows) {}

KWEL_InputCaseIterator* RemoteTable::createIterator(
    std::shared_ptr<dictionary::Dataset const> dataset) {
    return new RemoteIterator(*this, std::move(dataset));
}

std::string RemoteTable::where() const {
    return connection_.address().text;
}

namespace {

// The columns the server lists for the table; those of a type that cannot be read are left out
// with a warning.
bool readColumns(Connection const& connection, std::string const& text,
                 std::vector<ServerColumn>& columns, std::vector<Diagnostic>& messages,
                 std::string& error) {
    Address const& address = connection.address();
    Answer const described =
        connection.query("SELECT name, type, comment FROM system.columns WHERE database = " +
                         quoteText(address.database) + " AND table = " + quoteText(address.table) +
                         " FORMAT TabSeparated");
    if (!described.ok) {
        error = described.error;
        return false;
    }
    TsvReader reader(described.body);
    std::vector<std::string_view> fields;
    while (reader.next(fields)) {
        if (fields.size() < 3)
            continue;
        ServerColumn column{unescape(fields[0]), unescape(fields[1]), unescape(fields[2]),
                            ColumnKind::Number};
        column.kind = columnKind(column.type);
        if (column.kind == ColumnKind::Unsupported) {
            messages.push_back(
                {Diagnostic::Warning, text, 0, 0,
                 "the column \"" + column.name + "\" has the type " + column.type +
                     ", which cannot be read as a number or a string; it is left out"});
            continue;
        }
        columns.push_back(std::move(column));
    }
    if (columns.empty())
        error = "the table has no column that can be read";
    return !columns.empty();
}

// Gives every column a field of the dictionary, with the type the server says and, where the
// file gives none, the comment as its label; returns the columns as a CSV header.
std::string completeDictionary(dictionary::Dictionary& dict,
                               std::vector<ServerColumn> const& columns,
                               std::vector<Diagnostic>& messages) {
    std::string header;
    for (ServerColumn const& column : columns) {
        auto field = std::find_if(dict.fields.begin(), dict.fields.end(),
                                  [&](auto const& f) { return f.name == column.name; });
        if (field == dict.fields.end()) {
            dict.fields.emplace_back();
            field = std::prev(dict.fields.end());
            field->name = column.name;
        }
        bool const declaredString =
            field->type == "string" || (field->type.empty() && field->formatType == FMT_A);
        if (column.kind == ColumnKind::Number && declaredString) {
            messages.push_back({Diagnostic::Warning, dict.file, field->place.line,
                                field->place.column,
                                "field \"" + column.name +
                                    "\" is declared a string, but the column holds numbers; "
                                    "it is read as a number"});
        }
        bool const fractional = column.type.find("Float") != std::string::npos ||
                                column.type.find("Decimal") != std::string::npos;
        // With no rows to look at, a fractional column gets two decimals unless the file says.
        if (fractional && field->formatType == 0 && field->type != "integer") {
            field->formatType = FMT_F;
            field->formatWidth = 8;
            field->formatDecimals = 2;
        }
        field->type = column.kind == ColumnKind::Number
                          ? (field->type == "integer" ? "integer" : "number")
                          : "string";
        if (column.kind == ColumnKind::String)
            field->width = std::max(field->width, column.width);
        if (!field->title && !column.comment.empty())
            field->title = column.comment;
        header += (header.empty() ? "" : ",") + csvField(column.name);
    }
    return header;
}

// The CSV loader applies a dictionary to columns; here it sees the header alone.
LoadResult loadHeader(std::string const& text, std::string const& header,
                      dictionary::Dictionary const& dict) {
    std::filesystem::path const scratch = std::filesystem::temp_directory_path() /
                                          ("ggraph-table-" + std::to_string(::getpid()) + ".csv");
    {
        std::ofstream out(scratch);
        out << header << "\n";
    }
    LoadResult result = dictionary::loadCsv(scratch.string(), &dict);
    std::error_code ignored;
    std::filesystem::remove(scratch, ignored);
    for (Diagnostic& message : result.messages) {
        if (message.file == scratch.string())
            message.file = text;
        for (std::size_t at; (at = message.text.find(scratch.string())) != std::string::npos;)
            message.text.replace(at, scratch.string().size(), text);
    }
    return result;
}

}  // namespace

LoadResult openTable(std::string const& text, std::string const& dictionaryPath) {
    std::string error;
    std::optional<Address> address = parseAddress(text, error);
    if (!address)
        return failure(text, error);
    Credentials credentials = credentialsFromEnvironment(error);
    if (!error.empty())
        return failure(text, error);
    Connection connection(*address, std::move(credentials));

    Answer const count = connection.query("SELECT count() FROM " + connection.qualifiedTable() +
                                          " FORMAT TabSeparated");
    if (!count.ok)
        return failure(text, count.error);
    std::vector<Diagnostic> messages;
    std::vector<ServerColumn> columns;
    if (!readColumns(connection, text, columns, messages, error))
        return failure(text, error, std::move(messages));

    dictionary::Dictionary dict;
    if (!dictionaryPath.empty()) {
        std::optional<dictionary::Dictionary> read =
            dictionary::readDictionary(dictionaryPath, messages);
        if (!read)
            return failure(text, "the dictionary " + dictionaryPath + " cannot be used",
                           std::move(messages));
        dict = std::move(*read);
    }
    // A width the dictionary declares spares the server a scan of the column.
    for (ServerColumn& column : columns) {
        for (auto const& field : dict.fields) {
            if (field.name == column.name && field.width > 0)
                column.width = field.width;
        }
    }
    if (!measureWidths(connection, columns, error))
        return failure(text, error, std::move(messages));
    std::string const header = completeDictionary(dict, columns, messages);

    LoadResult result = loadHeader(text, header, dict);
    messages.insert(messages.end(), result.messages.begin(), result.messages.end());
    result.messages = std::move(messages);
    if (!result.dataset || result.dataset->fatal)
        return failure(text, "the table's dictionary cannot be built", std::move(result.messages));

    std::vector<RemoteColumn> remote;
    for (ServerColumn const& column : columns)
        remote.push_back(remoteColumn(column.name, column.type));
    result.dataset->path = text;
    result.dataset->columns.assign(result.dataset->variables.size(), {});
    result.dataset->cases = 0;
    std::vector<std::string_view> fields;
    TsvReader rows(count.body);
    std::int64_t const cases =
        rows.next(fields) ? static_cast<std::int64_t>(number(fields[0]).value_or(0.0)) : 0;
    result.dataset->remote =
        std::make_shared<RemoteTable>(std::move(connection), std::move(remote), cases);
    return result;
}

}  // namespace host::clickhouse
