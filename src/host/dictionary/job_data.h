#pragma once
// The data of a job as the command line gives it: `--data FILE` becomes the active dataset and
// each `--dataset NAME=FILE` a named one.

#include <string>
#include <vector>

#include "host/dictionary/diagnostic.h"

namespace host::dictionary {

struct JobDataResult {
    std::vector<Diagnostic> messages;
    // False when a file could not be read at all or a --dataset argument is malformed; the
    // datasets that could be read are in place all the same.
    bool ok = true;
};

// Forgets the datasets of an earlier job, then loads these. An empty `dataPath` leaves the
// active dataset empty. `dictionaries` are `--dict` arguments: FILE for the active dataset,
// NAME=FILE for a named one; a dataset without one finds its dictionary as usual.
JobDataResult loadJobData(std::string const& dataPath, std::vector<std::string> const& namedSpecs,
                          std::vector<std::string> const& dictionaries = {});

// One dataset: a CSV file or dictionary JSON, or a table on a database server
// (clickhouse://HOST:PORT/DB.TABLE); `dictionaryPath`, when not empty, is its dictionary.
struct LoadResult;
LoadResult loadSource(std::string const& path, std::string const& dictionaryPath);

}  // namespace host::dictionary
