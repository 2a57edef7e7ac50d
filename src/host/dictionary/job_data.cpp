#include "host/dictionary/job_data.h"

#include "host/clickhouse/connection.h"
#include "host/clickhouse/remote_table.h"
#include "host/dictionary/loader.h"
#include "host/dictionary/registry.h"

namespace host::dictionary {

namespace {

Diagnostic error(std::string text) {
    Diagnostic d;
    d.level = Diagnostic::Error;
    d.text = std::move(text);
    return d;
}

}  // namespace

LoadResult loadSource(std::string const& path, std::string const& dictionaryPath,
                      LoadOptions const& options) {
    if (clickhouse::isAddress(path))
        return clickhouse::openTable(path, dictionaryPath);
    if (dictionaryPath.empty())
        return loadDataset(path, options);
    std::vector<Diagnostic> messages;
    std::optional<Dictionary> dictionary = readDictionary(dictionaryPath, messages);
    LoadResult load = loadCsv(path, dictionary ? &*dictionary : nullptr, options);
    messages.insert(messages.end(), load.messages.begin(), load.messages.end());
    load.messages = std::move(messages);
    return load;
}

JobDataResult loadJobData(std::string const& dataPath, std::vector<std::string> const& namedSpecs,
                          std::vector<std::string> const& dictionaries, LoadOptions const& options) {
    JobDataResult result;
    resetDatasets();
    auto take = [&result](LoadResult& load) {
        result.messages.insert(result.messages.end(), load.messages.begin(), load.messages.end());
        if (!load.ok())
            result.ok = false;
        if (load.unreadable)
            result.cannotRun = true;
    };
    // --dict FILE belongs to the active dataset, --dict NAME=FILE to a named one.
    auto dictionaryFor = [&](std::string const& name) {
        for (auto const& entry : dictionaries) {
            auto const equals = entry.find('=');
            if (name.empty() && equals == std::string::npos)
                return entry;
            if (!name.empty() && equals != std::string::npos &&
                equalsNoCase(entry.substr(0, equals), name))
                return entry.substr(equals + 1);
        }
        return std::string();
    };
    if (!dataPath.empty()) {
        LoadResult load = loadSource(dataPath, dictionaryFor(""), options);
        take(load);
        setActiveDataset(load.dataset);  // a failed load leaves a fatal, empty dataset
    }
    for (auto const& spec : namedSpecs) {
        if (result.cannotRun)
            break;
        auto const equals = spec.find('=');
        if (equals == std::string::npos || equals == 0 || equals + 1 == spec.size()) {
            result.messages.push_back(error("--dataset takes NAME=FILE, not \"" + spec + "\""));
            result.ok = false;
            result.cannotRun = true;
            continue;
        }
        std::string const name = spec.substr(0, equals);
        LoadResult load = loadSource(spec.substr(equals + 1), dictionaryFor(name), options);
        take(load);
        addNamedDataset(name, load.dataset);
    }
    return result;
}

}  // namespace host::dictionary
