#pragma once
// The datasets of a job: the active one, which procedures read, and named ones, which a
// DATASET handle reaches. One job runs on one thread; nothing here locks.

#include <memory>
#include <string>
#include <vector>

#include "host/dictionary/dataset.h"

namespace host::dictionary {

// The active dataset; never null (an empty dataset when nothing was loaded).
std::shared_ptr<Dataset> activeDataset();
// Makes `dataset` active. A named dataset stays reachable by its name.
void setActiveDataset(std::shared_ptr<Dataset> dataset);
// Adds or replaces the dataset of that name (ASCII case ignored); the name is stored in it.
void addNamedDataset(std::string const& name, std::shared_ptr<Dataset> dataset);
// The dataset of that name, the active one included; null when none has it.
std::shared_ptr<Dataset> findDataset(std::string const& name);
// Makes the named dataset active; false when no dataset has that name.
[[nodiscard]] bool activateDataset(std::string const& name);
// Forgets every dataset (between jobs and in tests).
void resetDatasets();

}  // namespace host::dictionary
