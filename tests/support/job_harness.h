#pragma once
// Runs a whole job text through the job runner and gives the output document, flattened for
// assertions.

#include <memory>
#include <string>
#include <vector>

#include "host/output/document.h"
#include "host/runner/job_runner.h"

namespace test {

struct JobRun {
    host::output::Document document;
    // Every item of the document in order, procedures before what they enclose.
    std::vector<host::output::Item const*> flat() const;
    std::vector<std::string> texts(host::output::ItemKind kind) const;
    std::vector<std::string> messages(int level) const;
};

std::unique_ptr<JobRun> runJob(std::string const& text, host::runner::JobOptions options = {});

// A job option set for the RFM flavour.
inline host::runner::JobOptions rfm() {
    host::runner::JobOptions options;
    options.context = "DM";
    return options;
}

}  // namespace test
