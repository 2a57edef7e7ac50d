#include "support/job_harness.h"

namespace test {
namespace {

void flatten(std::vector<host::output::Item> const& items,
             std::vector<host::output::Item const*>& out) {
    for (auto const& item : items) {
        out.push_back(&item);
        flatten(item.children, out);
    }
}

}  // namespace

std::vector<host::output::Item const*> JobRun::flat() const {
    std::vector<host::output::Item const*> out;
    flatten(document.items(), out);
    return out;
}

std::vector<std::string> JobRun::texts(host::output::ItemKind kind) const {
    std::vector<std::string> out;
    for (auto const* item : flat()) {
        if (item->kind == kind) out.push_back(item->text);
    }
    return out;
}

std::vector<std::string> JobRun::messages(int level) const {
    std::vector<std::string> out;
    for (auto const* item : flat()) {
        if (item->kind == host::output::ItemKind::Message && item->level == level)
            out.push_back(item->text);
    }
    return out;
}

std::unique_ptr<JobRun> runJob(std::string const& text, host::runner::JobOptions options) {
    auto run = std::make_unique<JobRun>();
    host::runner::runJobText(text, run->document, options);
    return run;
}

}  // namespace test
