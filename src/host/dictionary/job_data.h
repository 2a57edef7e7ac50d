#pragma once
// The data of a job as the command line gives it: `--data FILE` becomes the active dataset and
// each `--dataset NAME=FILE` a named one.

#include <string>
#include <vector>

#include "host/dictionary/diagnostic.h"
#include "host/dictionary/loader.h"

namespace host::dictionary {

struct JobDataResult {
    std::vector<Diagnostic> messages;
    // False when a file could not be read at all or a --dataset argument is malformed; the
    // datasets that could be read are in place all the same.
    bool ok = true;
    // A file could not be opened and read at all (missing, unreadable, not a regular file) or
    // a --dataset argument is malformed: the job should not run. Loading stops there.
    bool cannotRun = false;
};

// Forgets the datasets of an earlier job, then loads these. An empty `dataPath` leaves the
// active dataset empty. `dictionaries` are `--dict` arguments: FILE for the active dataset,
// NAME=FILE for a named one; a dataset without one finds its dictionary as usual. `options` says
// which columns to read (the same for every file) and where progress goes.
JobDataResult loadJobData(std::string const& dataPath, std::vector<std::string> const& namedSpecs,
                          std::vector<std::string> const& dictionaries = {},
                          LoadOptions const& options = {});

// One dataset: a CSV file or dictionary JSON, or a table on a database server
// (clickhouse://HOST:PORT/DB.TABLE); `dictionaryPath`, when not empty, is its dictionary.
LoadResult loadSource(std::string const& path, std::string const& dictionaryPath,
                      LoadOptions const& options = {});

}  // namespace host::dictionary
