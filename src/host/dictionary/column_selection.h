#pragma once
// The columns of a CSV that a job can reach. Found from the job's text before the data is read,
// so that the reader fills only these and steps over the rest.

#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

namespace host::dictionary {

struct ColumnSelection {
    bool all = true;  // every column (ALL in the job, or no job to look at)
    // Every word and quoted text of the job, upper-cased: a column whose variable name is one of
    // them is read. A superset of the names the commands use is harmless; a name left out
    // is not, so the scan errs on the side of taking a word.
    std::unordered_set<std::string> words;
    // FIRST TO LAST, upper-cased: the columns between them in file order.
    std::vector<std::pair<std::string, std::string>> ranges;

    // Which of the variables, named in file order, are read. A range whose ends are not both
    // among them reads everything.
    std::vector<bool> keep(std::vector<std::string> const& variableNames) const;
    void add(std::string_view name);
};

// The selection of every name the job's text could use.
ColumnSelection selectionForJob(std::string_view jobText);

}  // namespace host::dictionary
