#pragma once
// A dictionary built in a few lines on the host's in-memory dataset, for the variables tests.

#include <memory>
#include <string>
#include <vector>

#include "host/dictionary/dataset.h"
#include "platform/data_source.h"

namespace test {

class SmallDictionary {
public:
    SmallDictionary()
        : data_(std::make_shared<host::dictionary::Dataset>()),
          source_(std::make_unique<KWEL_DataSource>(data_)) {}

    // A numeric variable (width 0) or a string of `width` bytes; `formatType` 0 keeps the default
    // format (F8.2 or A<width>).
    SmallDictionary& variable(std::string const& name, int width = 0, int formatType = 0,
                              int decimals = 2, char const* label = nullptr) {
        int index = host::dictionary::addVariable(*data_, name, width);
        auto& record = host::dictionary::variableAt(*data_, index);
        if (formatType != 0)
            record.format = KwelFormatPack(formatType, width == 0 ? 8 : width, decimals);
        if (label) {
            record.label = label;
            record.hasLabel = true;
        }
        return *this;
    }
    SmallDictionary& set(std::string const& name, int type, std::string const& label,
                         std::vector<std::string> members, std::string const& counted = "",
                         bool categoryLabels = false) {
        data_->sets.emplace_back(name, type, label, std::move(members), counted, categoryLabels);
        return *this;
    }

    KWEL_DataSource const* source() const { return source_.get(); }
    KWEL_Variable* at(int index) const { return source_->GetVariable(index); }

private:
    std::shared_ptr<host::dictionary::Dataset> data_;
    std::unique_ptr<KWEL_DataSource> source_;  // on the heap, so that the dictionary can move
};

}  // namespace test
