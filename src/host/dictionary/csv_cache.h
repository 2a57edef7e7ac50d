#pragma once
// A columnar cache of CSV reads. A run over a large CSV leaves what it parsed (the columns it
// read, their types and widths, the rows' lines and the reader's messages) in one file of a cache
// folder; a later run over the unchanged file with the same columns and declarations maps those
// columns instead of parsing the text again. An entry is used only when the CSV's path, size,
// modification time, inode and a sample of its first and last bytes are what they were; entries
// are replaced whole (written aside, then renamed), so deleting one, or the folder, is always
// safe.

#include <cstdint>
#include <string>
#include <vector>

#include "host/dictionary/csv_reader.h"
#include "host/dictionary/diagnostic.h"

namespace host::dictionary {

struct CsvCacheOptions {
    std::string folder;  // empty: no cache
    // Smaller files are parsed each time: their parse takes less than writing an entry.
    std::uint64_t minBytes = std::uint64_t{64} << 20;
    // Past this, the least recently used entries of the folder are deleted.
    std::uint64_t maxFolderBytes = std::uint64_t{4} << 30;
    // Write a new entry from a background process (the run goes on meanwhile); false writes it
    // before readCsvCached returns.
    bool writeInBackground = true;
};

// $XDG_CACHE_HOME/ggraph, else $HOME/.cache/ggraph; empty when neither is set.
std::string defaultCsvCacheFolder();

// The entry of a CSV (any spelling of its path) in a cache folder.
std::string csvCacheEntryPath(std::string const& folder, std::string const& csvPath);

// readCsv, through the cache when `cache` says so and the file is large enough: a usable entry
// gives the table (values, types, line numbers and messages) that reading the file would give;
// otherwise the file is read and, when it read well, an entry is written for the next run.
// `fromCache`, when given, says which of the two it was.
CsvTable readCsvCached(std::string const& path, CsvOptions const& options,
                       CsvCacheOptions const& cache, std::vector<Diagnostic>& messages,
                       bool* fromCache = nullptr);

}  // namespace host::dictionary
