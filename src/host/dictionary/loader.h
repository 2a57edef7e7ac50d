#pragma once
// Loading a dataset: a CSV file with an optional dictionary JSON, or a dictionary JSON whose
// `path` names the CSV.

#include <memory>
#include <string>
#include <vector>

#include "host/dictionary/dataset.h"
#include "host/dictionary/diagnostic.h"
#include "host/dictionary/dictionary_json.h"

namespace host::dictionary {

struct LoadResult {
    // Never null. When nothing could be read it is empty and marked fatal, so that a procedure
    // over it stops (ProcedureDataSource::FatalError).
    std::shared_ptr<Dataset> dataset;
    std::vector<Diagnostic> messages;

    // True when the data could be read; messages may still hold warnings.
    bool ok() const { return dataset && !dataset->fatal; }
    bool hasErrors() const;
};

// FILE is a CSV (FILE.json beside it is taken as its dictionary) or a dictionary JSON.
LoadResult loadDataset(std::string const& path);
// A CSV with the given dictionary (may be null: types are inferred).
LoadResult loadCsv(std::string const& csvPath, Dictionary const* dictionary);

// Turns a column header into a variable name: invalid characters become '_', a name that does
// not start with a letter gets a 'V' in front, an empty one is V<position>.
std::string variableNameFor(std::string const& header, std::size_t position);

}  // namespace host::dictionary
