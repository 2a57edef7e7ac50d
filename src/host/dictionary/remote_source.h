#pragma once
// A dataset whose cases live elsewhere (a database table): the dataset record holds its
// dictionary, and each pass gets an iterator that fetches what it needs.
#include <memory>
#include <string>

#include "host/dictionary/dataset.h"

namespace host::dictionary {

class RemoteSource {
public:
    virtual ~RemoteSource() = default;
    // A new iterator over the cases of `dataset` (whose `remote` is this source), owned by the
    // caller.
    virtual KWEL_InputCaseIterator* createIterator(std::shared_ptr<Dataset const> dataset) = 0;
    // Where the cases are, for messages and `describe`.
    virtual std::string where() const = 0;
    // The number of cases, as the database counted them when the dataset was opened.
    virtual std::int64_t caseCount() const = 0;
};

}  // namespace host::dictionary
