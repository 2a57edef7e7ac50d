// The unaggregated pass: each case that stays becomes one row (or, transposed, one row per
// variable) of its split group's VarDataProcessor. Missing values either cost the case its row,
// or show as system missing, or keep their real value so that a user-missing category stays
// visible. Case values of CASEVALUE statistics go to the relabel store, and the row holds the
// case number in their place.
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ggraph/data/data_messages.h"
#include "ggraph/data/ggraph_data_set.h"
#include "ggraph/data/ggraph_data_set_data.h"
#include "ggraph/procedure/report.h"
#include "ggraph/variables/ggraph_statistic.h"
#include "ggraph/variables/ggraph_variable.h"
#include "ggraph/variables/ggraph_variable_filter.h"
#include "ggraph/variables/relabel_string.h"
#include "ggraph/variables/variable_resolver.h"
#include "platform/chart_string.h"
#include "platform/data_source.h"
#include "platform/output.h"
#include "platform/var_data_processor.h"

namespace msg = ggraph::data_messages;

namespace {

// The lowest finite double, as every row store of the system reads it.
constexpr double kSystemMissing = -1.7976931348623157e+308;

bool isColumnVariable(GGraphVariable const* variable) {
    if (variable == nullptr)
        return false;
    if (variable->isCaseNumVariable() || variable->isWeightVariable())
        return true;
    VariableResolver const* resolver = variable->getVariableResolver();
    return resolver != nullptr &&
           resolver->getVariableType() == VariableResolver::DICTIONARY_VARIABLE;
}

// The bytes a string value shows: its print width, never more than its cells hold.
int textWidth(KWEL_Variable const* variable) {
    if (variable == nullptr)
        return 0;
    FormatType type{};
    int width = 0, decimals = 0;
    variable->GetFormatEx(type, width, decimals);
    int const stored = variable->GetType();
    return stored > 0 && width > stored ? stored : (width > 0 ? width : 0);
}

// Trailing blanks are cut only behind a non-blank, so an all-blank value keeps its width (and a
// blank of width 1 is what the missing test recognises).
std::string caseText(OBS const* cell, int width) {
    std::string text(reinterpret_cast<char const*>(cell), static_cast<std::size_t>(width));
    std::size_t const last = text.find_last_not_of(' ');
    if (text.size() >= 2 && last != std::string::npos && last + 1 < text.size())
        text.resize(last + 1);
    return text;
}

// What each column variable needs per case, looked up once for the whole pass.
struct Column {
    GGraphVariable* variable;
    unsigned int position;  // in `variables`: the row offset of a transposed case
    KWEL_Variable const* dictionary;
    int index;
    bool isString;
    int width;
};

class UnaggregatedPass {
public:
    UnaggregatedPass(GGraphDataSet& dataSet, KWEL_DataSource const* source,
                     KWEL_InputCaseIterator* iterator, RelabelString& relabel)
        : dataSet_(dataSet), data_(dataSet.data()), source_(source), iterator_(iterator),
          procIterator_(dynamic_cast<ProcDSIterator*>(iterator)), relabel_(relabel),
          name_(data_.utf8SourceName), transposed_(data_.isVarsToCases()),
          summary_(data_.summaryName.toUTF8()), index_(data_.indexName.toUTF8()),
          // $CASENUM, appended last but one or last, gets no row of its own.
          rowsPerCase_(data_.variables.empty()
                           ? 0u
                           : static_cast<unsigned int>(data_.variables.size()) - 1u) {
        for (std::size_t i = 0; i < data_.variables.size(); ++i) {
            GGraphVariable* variable = data_.variables[i];
            if (!isColumnVariable(variable))
                continue;
            VariableResolver const* resolver = variable->getVariableResolver();
            int const varIndex = resolver != nullptr ? resolver->getVariableIndex() : -1;
            KWEL_Variable const* dictionary =
                resolver != nullptr ? source_->GetVariable(varIndex) : nullptr;
            columns_.push_back({variable, static_cast<unsigned int>(i), dictionary, varIndex,
                                variable->isString(), textWidth(dictionary)});
        }
    }

    unsigned int run() {
        unsigned int const limit = data_.GetCaseLimit(false);
        bool firstInGroup = true;
        while (iterator_->NextCase() != 0 && data_.caseCount < limit) {
            if (firstInGroup) {
                if (!startGroup())
                    continue;
                firstInGroup = false;
            }
            if (procIterator_ != nullptr && procIterator_->SplitGroupEnd()) {
                firstInGroup = true;  // this step is no case
                continue;
            }
            processCase();
        }
        if (data_.caseCount >= limit)
            warnIfCasesRemain();
        reportFilters();
        return data_.caseCount;
    }

private:
    // Gives false when the group was refused and dropped.
    bool startGroup() {
        VarDataProcessor* vdp = data_.createNewVDP();
        data_.caseCount = 0;
        data_.rowCount = 0;
        bool skipped = false;
        bool ended = false;
        while (true) {
            bool const kept = data_.saveSplitInfo(procIterator_);
            if (kept && !skipped)
                break;
            if (kept || ended || procIterator_ == nullptr) {
                data_.popLastVDP();
                return false;
            }
            // A refused group is run through to its end, and asked about once more there.
            bool more = true;
            while (!procIterator_->SplitGroupEnd() && (more = iterator_->NextCase() != 0)) {
            }
            skipped = true;
            ended = procIterator_->SplitGroupEnd() || !more;
        }
        vdp->AddDataSource(name_, 10000);
        if (transposed_) {
            vdp->AddVariable(name_, summary_, nullptr);
            vdp->AddVariable(name_, index_, nullptr);
        } else {
            for (GGraphVariable* variable : data_.variables)
                if (isColumnVariable(variable))
                    variable->addVDPVariable(vdp, name_);
        }
        return true;
    }

    void processCase() {
        vdp_ = data_.getCurrVDP();
        row_ = data_.caseCount;
        rowDeleted_ = false;
        std::map<std::string, unsigned int> parents;

        for (Column const& column : columns_) {
            if (!writeColumn(column, parents))
                break;
        }

        // Entries exist only for valid children, so this deletes nothing: under LISTWISE a
        // missing child does not cost the case its row. Kept as the rule stands.
        for (auto const& [parent, count] : parents) {
            if (count == 0 && !rowDeleted_)
                deleteRow();
        }

        // The filters see deleted cases too, and count their matches.
        for (GGraphVariableFilter* filter : data_.variableFilters) {
            if (!dataSet_.isMatchFilter(filter, iterator_, source_)) {
                if (!rowDeleted_)
                    deleteRow();
                break;
            }
            ++matchCount_;
        }

        writeCaseValueStatistics();
        if (!rowDeleted_)
            ++data_.caseCount;
    }

    void deleteRow() {
        if (!transposed_) {
            vdp_->DeleteRow(name_, row_);
        } else {
            // A dropped case takes all its rows with it, not only the one of the variable that
            // dropped it: half a case would stack a part of its values with no sign that the
            // rest is missing. Last first, so that the row count shrinks back.
            for (unsigned int k = rowsPerCase_; k-- > 0;)
                vdp_->DeleteRow(name_, rowsPerCase_ * row_ + k);
        }
        rowDeleted_ = true;
    }

    void writeCaseNumber(GGraphVariable* variable) {
        double const caseNumber = static_cast<double>(iterator_->CaseNumber());
        if (!transposed_) {
            // The column was added by addVDPVariable: its handle saves a look-up by name.
            variable->setNumericValue(caseNumber, row_);
            return;
        }
        std::string const columnName = variable->GetVariableUnicodeName();
        for (unsigned int k = 0; k < rowsPerCase_; ++k)
            vdp_->SetVariableValue(name_, columnName, rowsPerCase_ * row_ + k, caseNumber);
    }

    // Writes one column of the current case; false when the case lost its row and the rest of
    // its columns are not to be read.
    bool writeColumn(Column const& column, std::map<std::string, unsigned int>& parents) {
        GGraphVariable* variable = column.variable;
        unsigned int const position = column.position;
        if (column.index < 0) {
            if (variable->isCaseNumVariable())
                writeCaseNumber(variable);
            return true;
        }
        // A transposed data set keeps the weight out of its rows: stacked beside the values it
        // would read as one more of them, and written at its own position it would land on the
        // next case's first row.
        if (transposed_ && position >= rowsPerCase_)
            return true;
        unsigned int const transposedRow = rowsPerCase_ * row_ + position;
        OBS const* obs = iterator_->GetObsPointer(static_cast<unsigned int>(column.index));
        bool const isString = column.isString;
        std::string text;
        bool writeMissing = false;
        if (obs != nullptr) {
            if (isString)
                text = caseText(obs, column.width);
            bool const missing =
                (column.dictionary != nullptr && column.dictionary->IsMissing(obs) == 1) ||
                (isString && (text.empty() || text == " "));
            if (missing) {
                if (!data_.reportMissing) {
                    if (data_.listwise && !variable->isMRChild()) {
                        deleteRow();
                        return false;
                    }
                    writeMissing = true;
                } else {
                    // A user-missing category keeps its real value, so that it stays visible.
                    writeMissing = variable->getMeasurmentLevel() == GGraphVariable::SCALE;
                }
            } else if (data_.listwise && variable->isMRChild()) {
                ++parents[variable->getMRParentName()];
            }
        }
        // A number the source could not give is written as missing rather than read.
        if (obs == nullptr && !isString)
            writeMissing = true;
        if (writeMissing) {
            if (!transposed_) {
                vdp_->SetVariableValue(name_, variable->GetVariableUnicodeName(), row_,
                                       kSystemMissing);
            } else {
                vdp_->SetVariableValue(name_, summary_, transposedRow, kSystemMissing);
                vdp_->SetVariableValue(name_, index_, transposedRow, static_cast<double>(position));
            }
            return true;
        }
        if (!transposed_) {
            if (isString)
                variable->setStringValue(XUtility::ChartStringFromLocalCodePage(text).toUTF8(),
                                         row_);
            else
                variable->setNumericValue(*obs, row_);
        } else {
            if (isString)
                vdp_->SetStringVariableValue(name_, summary_, transposedRow, text);
            else
                vdp_->SetVariableValue(name_, summary_, transposedRow, *obs);
            vdp_->SetVariableValue(name_, index_, transposedRow, static_cast<double>(position));
        }
        return true;
    }

    // The row holds the case number of a CASEVALUE statistic; its value goes to the relabel
    // store.
    void writeCaseValueStatistics() {
        for (GGraphStatistic* statistic : data_.statistics) {
            if (statistic == nullptr || !statistic->IsCaseValueStatistic() ||
                statistic->GetSummaryVariable() == nullptr)
                continue;
            int const varIndex = statistic->GetSummaryVariableIndex();
            std::string const label = statistic->GetUnicodeGPLLabel().toUTF8();
            // A first row that was deleted makes the next case add the column again: harmless.
            if (data_.caseCount == 0)
                vdp_->AddVariable(name_, label, nullptr);
            OBS const* obs = iterator_->GetObsPointer(static_cast<unsigned int>(varIndex));
            KWEL_Variable const* dictVariable = source_->GetVariable(varIndex);
            if (obs != nullptr && !data_.reportMissing && dictVariable != nullptr &&
                dictVariable->IsMissing(obs) == 1) {
                vdp_->SetVariableValue(name_, label, row_, kSystemMissing);
                continue;
            }
            double const caseNumber = static_cast<double>(iterator_->CaseNumber());
            VariableResolver resolver;
            if (resolver.resolveVariable(source_, varIndex))
                relabel_.AddCaseValueRelabel(caseNumber, const_cast<OBS*>(obs), varIndex,
                                             &resolver);
            vdp_->SetVariableValue(name_, label, row_, caseNumber);
        }
    }

    // The warning needs one more case beyond the one that ended the loop, so it comes one case
    // later than in the aggregated pass: intended. A group-end step is no case.
    void warnIfCasesRemain() {
        bool more = iterator_->NextCase() != 0;
        while (more && procIterator_ != nullptr && procIterator_->SplitGroupEnd())
            more = iterator_->NextCase() != 0;
        if (!more)
            return;
        BpNumber limitCell(static_cast<double>(data_.caseLimit), BpHeading::Count);
        BpString sourceCell(data_.utf8SourceName, false);
        ggraph::report(ggraph::kWarning, msg::kCaseLimitReached, {&limitCell, &sourceCell});
    }

    // Only the last group's rows are looked at, and there is no test for filters: a data set
    // without filters and without cases reports with an empty list. Intended.
    void reportFilters() {
        if (data_.caseCount == 0 && matchCount_ == 0) {
            std::string names;
            for (GGraphVariableFilter* filter : data_.variableFilters)
                names += filter->GetVariableName() + " ";
            BpString list(names, true);
            ggraph::report(ggraph::kError, msg::kFilterExcludedAll, {&list});
        }
        for (GGraphVariableFilter* filter : data_.variableFilters) {
            for (auto const& [value, count] : filter->getValueMatchedMap()) {
                if (count == 0 && value != "ALL")
                    ggraph::report(ggraph::kWarning, msg::kFilterValueNotFound,
                                   {value, filter->GetVariableName()});
            }
        }
    }

    GGraphDataSet& dataSet_;
    GGraphDataSet::GGraphDataSetData& data_;
    KWEL_DataSource const* source_;
    KWEL_InputCaseIterator* iterator_;
    ProcDSIterator* procIterator_;
    RelabelString& relabel_;
    std::string const& name_;
    bool const transposed_;
    std::string const summary_;
    std::string const index_;
    unsigned int const rowsPerCase_;
    std::vector<Column> columns_;
    unsigned int matchCount_ = 0;
    // The case being written.
    VarDataProcessor* vdp_ = nullptr;
    unsigned int row_ = 0;
    bool rowDeleted_ = false;
};

}  // namespace

unsigned int GGraphDataSet::populateUnAggregatedData(RelabelString& relabel) {
    KWEL_DataSource const* source = d->getKWEL_DataSource();
    if (source == nullptr)
        return 0;
    std::unique_ptr<KWEL_InputCaseIterator> iterator(source->CreateInputCaseIterator(0));
    if (!iterator)
        return 0;
    return UnaggregatedPass(*this, source, iterator.get(), relabel).run();
}
