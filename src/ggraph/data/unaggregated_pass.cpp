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

}  // namespace

unsigned int GGraphDataSet::populateUnAggregatedData(RelabelString& relabel) {
    auto& data = *d;
    KWEL_DataSource const* source = data.getKWEL_DataSource();
    if (source == nullptr)
        return 0;
    std::unique_ptr<KWEL_InputCaseIterator> iterator(source->CreateInputCaseIterator(0));
    if (!iterator)
        return 0;
    auto* procIterator = dynamic_cast<ProcDSIterator*>(iterator.get());

    std::string const& name = data.utf8SourceName;
    bool const transposed = data.isVarsToCases();
    std::string const summary = data.summaryName.toUTF8();
    std::string const index = data.indexName.toUTF8();

    // What each column variable needs per case, looked up once for the whole pass.
    struct Column {
        GGraphVariable* variable;
        unsigned int position;  // in `variables`: the row offset of a transposed case
        KWEL_Variable const* dictionary;
        int index;
        bool isString;
        int width;
    };
    std::vector<Column> columns;
    for (std::size_t i = 0; i < data.variables.size(); ++i) {
        GGraphVariable* variable = data.variables[i];
        if (!isColumnVariable(variable))
            continue;
        VariableResolver const* resolver = variable->getVariableResolver();
        int const varIndex = resolver != nullptr ? resolver->getVariableIndex() : -1;
        columns.push_back({variable, static_cast<unsigned int>(i),
                           resolver != nullptr ? source->GetVariable(varIndex) : nullptr, varIndex,
                           variable->isString(), 0});
        columns.back().width = textWidth(columns.back().dictionary);
    }
    // $CASENUM, appended last but one or last, gets no row of its own.
    auto const rowsPerCase =
        data.variables.empty() ? 0u : static_cast<unsigned int>(data.variables.size()) - 1u;
    unsigned int const limit = data.GetCaseLimit(false);
    bool firstInGroup = true;
    unsigned int matchCount = 0;

    // Gives false when the group was refused and dropped.
    auto startGroup = [&]() -> bool {
        VarDataProcessor* vdp = data.createNewVDP();
        data.caseCount = 0;
        data.rowCount = 0;
        bool skipped = false;
        bool ended = false;
        while (true) {
            bool const kept = data.saveSplitInfo(procIterator);
            if (kept && !skipped)
                break;
            if (kept || ended || procIterator == nullptr) {
                data.popLastVDP();
                return false;
            }
            // A refused group is run through to its end, and asked about once more there.
            bool more = true;
            while (!procIterator->SplitGroupEnd() && (more = iterator->NextCase() != 0)) {
            }
            skipped = true;
            ended = procIterator->SplitGroupEnd() || !more;
        }
        vdp->AddDataSource(name, 10000);
        if (transposed) {
            vdp->AddVariable(name, summary, nullptr);
            vdp->AddVariable(name, index, nullptr);
        } else {
            for (GGraphVariable* variable : data.variables)
                if (isColumnVariable(variable))
                    variable->addVDPVariable(vdp, name);
        }
        return true;
    };

    auto processCase = [&] {
        VarDataProcessor* vdp = data.getCurrVDP();
        std::map<std::string, unsigned int> parents;
        bool rowDeleted = false;
        unsigned int const row = data.caseCount;

        auto deleteRow = [&] {
            if (!transposed) {
                vdp->DeleteRow(name, row);
            } else {
                // A dropped case takes all its rows with it, not only the one of the variable
                // that dropped it: half a case would stack a part of its values with no sign
                // that the rest is missing. Last first, so that the row count shrinks back.
                for (unsigned int k = rowsPerCase; k-- > 0;)
                    vdp->DeleteRow(name, rowsPerCase * row + k);
            }
            rowDeleted = true;
        };

        for (Column const& column : columns) {
            GGraphVariable* variable = column.variable;
            unsigned int const position = column.position;
            if (column.index < 0) {
                if (!variable->isCaseNumVariable())
                    continue;
                if (!transposed) {
                    // The column was added by addVDPVariable: its handle saves a look-up by name.
                    variable->setNumericValue(static_cast<double>(iterator->CaseNumber()), row);
                } else {
                    std::string const columnName = variable->GetVariableUnicodeName();
                    for (unsigned int k = 0; k < rowsPerCase; ++k)
                        vdp->SetVariableValue(name, columnName, rowsPerCase * row + k,
                                              static_cast<double>(iterator->CaseNumber()));
                }
                continue;
            }
            // A transposed data set keeps the weight out of its rows: stacked beside the values
            // it would read as one more of them, and written at its own position it would land
            // on the next case's first row.
            if (transposed && position >= rowsPerCase)
                continue;
            unsigned int const transposedRow = rowsPerCase * row + position;
            OBS const* obs = iterator->GetObsPointer(static_cast<unsigned int>(column.index));
            KWEL_Variable const* dictVariable = column.dictionary;
            bool const isString = column.isString;
            std::string text;
            bool writeMissing = false;
            if (obs != nullptr) {
                if (isString)
                    text = caseText(obs, column.width);
                bool const missing =
                    (dictVariable != nullptr && dictVariable->IsMissing(obs) == 1) ||
                    (isString && (text.empty() || text == " "));
                if (missing) {
                    if (!data.reportMissing) {
                        if (data.listwise && !variable->isMRChild()) {
                            deleteRow();
                            break;
                        }
                        writeMissing = true;
                    } else {
                        // A user-missing category keeps its real value, so that it stays visible.
                        writeMissing = variable->getMeasurmentLevel() == GGraphVariable::SCALE;
                    }
                } else if (data.listwise && variable->isMRChild()) {
                    ++parents[variable->getMRParentName()];
                }
            }
            // A number the source could not give is written as missing rather than read.
            if (obs == nullptr && !isString)
                writeMissing = true;
            if (writeMissing) {
                if (!transposed) {
                    vdp->SetVariableValue(name, variable->GetVariableUnicodeName(), row,
                                          kSystemMissing);
                } else {
                    vdp->SetVariableValue(name, summary, transposedRow, kSystemMissing);
                    vdp->SetVariableValue(name, index, transposedRow,
                                          static_cast<double>(position));
                }
                continue;
            }
            if (!transposed) {
                if (isString)
                    variable->setStringValue(XUtility::ChartStringFromLocalCodePage(text).toUTF8(),
                                             row);
                else
                    variable->setNumericValue(*obs, row);
            } else {
                if (isString)
                    vdp->SetStringVariableValue(name, summary, transposedRow, text);
                else
                    vdp->SetVariableValue(name, summary, transposedRow, *obs);
                vdp->SetVariableValue(name, index, transposedRow, static_cast<double>(position));
            }
        }

        // Entries exist only for valid children, so this deletes nothing: under LISTWISE a
        // missing child does not cost the case its row. Kept as the rule stands.
        for (auto const& [parent, count] : parents) {
            if (count == 0 && !rowDeleted)
                deleteRow();
        }

        // The filters see deleted cases too, and count their matches.
        for (GGraphVariableFilter* filter : data.variableFilters) {
            if (!isMatchFilter(filter, iterator.get(), source)) {
                if (!rowDeleted)
                    deleteRow();
                break;
            }
            ++matchCount;
        }

        for (GGraphStatistic* statistic : data.statistics) {
            if (statistic == nullptr || !statistic->IsCaseValueStatistic() ||
                statistic->GetSummaryVariable() == nullptr)
                continue;
            int const varIndex = statistic->GetSummaryVariableIndex();
            std::string const label = statistic->GetUnicodeGPLLabel().toUTF8();
            // A first row that was deleted makes the next case add the column again: harmless.
            if (data.caseCount == 0)
                vdp->AddVariable(name, label, nullptr);
            OBS const* obs = iterator->GetObsPointer(static_cast<unsigned int>(varIndex));
            KWEL_Variable const* dictVariable = source->GetVariable(varIndex);
            if (obs != nullptr && !data.reportMissing && dictVariable != nullptr &&
                dictVariable->IsMissing(obs) == 1) {
                vdp->SetVariableValue(name, label, row, kSystemMissing);
                continue;
            }
            double const caseNumber = static_cast<double>(iterator->CaseNumber());
            VariableResolver resolver;
            if (resolver.resolveVariable(source, varIndex))
                relabel.AddCaseValueRelabel(caseNumber, const_cast<OBS*>(obs), varIndex, &resolver);
            vdp->SetVariableValue(name, label, row, caseNumber);
        }

        if (!rowDeleted)
            ++data.caseCount;
    };

    while (iterator->NextCase() != 0 && data.caseCount < limit) {
        if (firstInGroup) {
            if (!startGroup())
                continue;
            firstInGroup = false;
        }
        if (procIterator != nullptr && procIterator->SplitGroupEnd()) {
            firstInGroup = true;  // this step is no case
            continue;
        }
        processCase();
    }

    // The warning needs one more case beyond the one that ended the loop, so it comes one case
    // later than in the aggregated pass: intended. A group-end step is no case.
    if (data.caseCount >= limit) {
        bool more = iterator->NextCase() != 0;
        while (more && procIterator != nullptr && procIterator->SplitGroupEnd())
            more = iterator->NextCase() != 0;
        if (more) {
            BpNumber limitCell(static_cast<double>(data.caseLimit), BpHeading::Count);
            BpString sourceCell(data.utf8SourceName, false);
            ggraph::report(ggraph::kWarning, msg::kCaseLimitReached, {&limitCell, &sourceCell});
        }
    }

    // Only the last group's rows are looked at, and there is no test for filters: a data set
    // without filters and without cases reports with an empty list. Intended.
    if (data.caseCount == 0 && matchCount == 0) {
        std::string names;
        for (GGraphVariableFilter* filter : data.variableFilters)
            names += filter->GetVariableName() + " ";
        BpString list(names, true);
        ggraph::report(ggraph::kError, msg::kFilterExcludedAll, {&list});
    }
    for (GGraphVariableFilter* filter : data.variableFilters) {
        for (auto const& [value, count] : filter->getValueMatchedMap()) {
            if (count == 0 && value != "ALL")
                ggraph::report(ggraph::kWarning, msg::kFilterValueNotFound,
                               {value, filter->GetVariableName()});
        }
    }
    return data.caseCount;
}
