#pragma once
// Which columns of a dataset the running command can read, from the words of the command
// itself: the variables it names (TO ranges and ALL included, a multiple-response set by its
// members), the split and weight variables, the variables of its DATAFILTER lists, and its
// CASELIMIT. A database source fetches these columns and no others.
#include <cstdint>
#include <optional>
#include <vector>

#include "host/dictionary/dataset.h"
#include "platform/tokens.h"

namespace host::clickhouse {

struct JobColumns {
    std::vector<int> used;                  // ascending dictionary indices
    std::vector<int> filtered;              // variables named in a DATAFILTER list
    std::optional<std::int64_t> caseLimit;  // the largest CASELIMIT of the command
};

JobColumns jobColumns(dictionary::Dataset const& dataset, std::vector<TokenInfoObj> const& tokens);
// The same over the command the host is running now.
JobColumns currentJobColumns(dictionary::Dataset const& dataset);

}  // namespace host::clickhouse
