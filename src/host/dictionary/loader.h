#pragma once
// Loading a dataset: a CSV file with an optional dictionary JSON, or a dictionary JSON whose
// `path` names the CSV.

#include <memory>
#include <string>
#include <vector>

#include "host/dictionary/column_selection.h"
#include "host/dictionary/csv_cache.h"
#include "host/dictionary/csv_reader.h"
#include "host/dictionary/dataset.h"
#include "host/dictionary/diagnostic.h"
#include "host/dictionary/dictionary_json.h"

namespace host::dictionary {

struct LoadResult {
    // Never null. When nothing could be read it is empty and marked fatal, so that a procedure
    // over it stops (ProcedureDataSource::FatalError).
    std::shared_ptr<Dataset> dataset;
    std::vector<Diagnostic> messages;

    // The file (or the CSV its dictionary names) could not be opened and read at all: missing,
    // no permission, a directory, a FIFO or device, a dictionary that cannot be used.
    bool unreadable = false;

    // True when the data could be read; messages may still hold warnings.
    bool ok() const { return dataset && !dataset->fatal; }
    bool hasErrors() const;
};

struct LoadOptions {
    // The columns to read; null reads every one. Variables the dictionary itself names (weight,
    // split, set members) are read in any case.
    ColumnSelection const* columns = nullptr;
    CsvProgress progress;  // may be empty
    // Where a large CSV's parse is kept for the next run; the folder is empty by default.
    CsvCacheOptions cache;
};

// FILE is a CSV (FILE.json beside it is taken as its dictionary) or a dictionary JSON.
LoadResult loadDataset(std::string const& path, LoadOptions const& options = {});
// A CSV with the given dictionary (may be null: types are inferred).
LoadResult loadCsv(std::string const& csvPath, Dictionary const* dictionary,
                   LoadOptions const& options = {});

// Turns a column header into a variable name: invalid characters become '_', a name that does
// not start with a letter gets a 'V' in front, an empty one is V<position>.
std::string variableNameFor(std::string const& header, std::size_t position);

}  // namespace host::dictionary
