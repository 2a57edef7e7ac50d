#include "host/dictionary/registry.h"

#include <map>

namespace host::dictionary {

namespace {

struct Registry {
    std::shared_ptr<Dataset> active = std::make_shared<Dataset>();
    std::vector<std::shared_ptr<Dataset>> named;
};

Registry& registry() {
    static Registry instance;
    return instance;
}

}  // namespace

std::shared_ptr<Dataset> activeDataset() {
    return registry().active;
}

void setActiveDataset(std::shared_ptr<Dataset> dataset) {
    registry().active = dataset ? std::move(dataset) : std::make_shared<Dataset>();
}

void addNamedDataset(std::string const& name, std::shared_ptr<Dataset> dataset) {
    if (!dataset)
        return;
    dataset->name = name;
    auto& named = registry().named;
    for (auto& entry : named) {
        if (equalsNoCase(entry->name, name)) {
            entry = std::move(dataset);
            return;
        }
    }
    named.push_back(std::move(dataset));
}

std::shared_ptr<Dataset> findDataset(std::string const& name) {
    auto const& active = registry().active;
    if (!active->name.empty() && equalsNoCase(active->name, name))
        return active;
    for (auto const& entry : registry().named) {
        if (equalsNoCase(entry->name, name))
            return entry;
    }
    return nullptr;
}

bool activateDataset(std::string const& name) {
    auto dataset = findDataset(name);
    if (!dataset)
        return false;
    registry().active = std::move(dataset);
    return true;
}

void resetDatasets() {
    registry() = Registry{};
}

}  // namespace host::dictionary
