#include "host/dictionary/job_data.h"

#include "host/dictionary/loader.h"
#include "host/dictionary/registry.h"

namespace host::dictionary {

JobDataResult loadJobData(std::string const& dataPath, std::vector<std::string> const& namedSpecs,
                          LoadOptions const& options) {
    JobDataResult result;
    resetDatasets();
    auto take = [&result](LoadResult& load) {
        result.messages.insert(result.messages.end(), load.messages.begin(), load.messages.end());
        if (!load.ok())
            result.ok = false;
        if (load.unreadable)
            result.cannotRun = true;
    };
    if (!dataPath.empty()) {
        LoadResult load = loadDataset(dataPath, options);
        take(load);
        setActiveDataset(load.dataset);  // a failed load leaves a fatal, empty dataset
    }
    for (auto const& spec : namedSpecs) {
        if (result.cannotRun)
            break;
        auto const equals = spec.find('=');
        if (equals == std::string::npos || equals == 0 || equals + 1 == spec.size()) {
            Diagnostic d;
            d.level = Diagnostic::Error;
            d.text = "--dataset takes NAME=FILE, not \"" + spec + "\"";
            result.messages.push_back(std::move(d));
            result.ok = false;
            result.cannotRun = true;
            continue;
        }
        LoadResult load = loadDataset(spec.substr(equals + 1), options);
        take(load);
        addNamedDataset(spec.substr(0, equals), load.dataset);
    }
    return result;
}

}  // namespace host::dictionary
