// Binding a data set's declared names to the dictionary: ALL and TO expanded, names resolved,
// variables made; and the names the parser checks for uniqueness.
#include <algorithm>
#include <cstdio>

#include "ggraph/data/data_messages.h"
#include "ggraph/data/ggraph_data_set.h"
#include "ggraph/data/ggraph_data_set_data.h"
#include "ggraph/model/ggraph_settings.h"
#include "ggraph/procedure/report.h"
#include "ggraph/variables/ggraph_statistic.h"
#include "ggraph/variables/ggraph_variable.h"
#include "ggraph/variables/variable_resolver.h"
#include "platform/host_procedure.h"

namespace msg = ggraph::data_messages;

namespace {

bool isWord(std::string const& text, char const* word) { return KWELMBstricmp_A(text.c_str(), word) == 0; }

// Names compare without regard to case over the longer length, so that AGE differs from AGE2.
bool sameName(std::string const& a, std::string const& b) {
    return KWELMBstrnicmp_A(a.c_str(), b.c_str(), std::max(a.size(), b.size())) == 0;
}

}  // namespace

bool GGraphDataSet::CompleteDataSet() {
    GGraphDataSetData& data = *d;
    // The variables of a CSV data set are not looked up.
    if (data.usesCSV) return true;
    KWEL_DataSource const* source = data.getKWEL_DataSource();
    if (source == nullptr) return false;
    for (GGraphStatistic* statistic : data.statistics) {
        if (!statistic->ResolveVariableParameter(source)) return false;
    }
    if (data.variableInfos.empty()) return true;

    bool result = true;
    std::size_t const count = data.variableInfos.size();
    for (std::size_t i = 0; i < count;) {
        VariableInfo const& info = *data.variableInfos[i];
        ++i;
        if (isWord(info.name, "ALL")) {
            for (int column = 0; column < source->ColumnCount(); ++column) {
                if (GetVariable(static_cast<unsigned>(column)) != nullptr) continue;
                auto resolver = std::make_unique<VariableResolver>();
                if (!resolver->resolveVariable(source, column)) {
                    result = false;
                    break;
                }
                AddVariable(new GGraphVariable(resolver.release()));
            }
            continue;
        }

        auto lower = std::make_unique<VariableResolver>();
        if (!lower->resolveVariable(source, info.name)) return data.UnknownVariable(info.name);

        bool const range = lower->getVariableType() == 1 && i + 1 < count &&
                           isWord(data.variableInfos[i]->name, "TO");
        if (range) {
            // i moves to the upper bound, which the next turn takes again as a plain name: it
            // finds its variable present, and a chain a TO b TO c works.
            i += 1;
            std::string const& upperName = data.variableInfos[i]->name;
            auto upper = std::make_unique<VariableResolver>();
            if (!upper->resolveVariable(source, upperName)) return data.UnknownVariable(upperName);
            int const from = lower->getVariableIndex(), to = upper->getVariableIndex();
            if (from > to) {
                ggraph::report(ggraph::kError, msg::kReversedRange);
                return false;
            }
            for (int index = from; index <= to; ++index) {
                if (GetVariable(static_cast<unsigned>(index)) != nullptr) continue;
                auto member = std::make_unique<VariableResolver>();
                if (!member->resolveVariable(source, index)) {
                    result = false;
                    break;
                }
                AddVariable(new GGraphVariable(member.release()));
            }
            continue;
        }

        // The first mention of a variable wins.
        if (GetVariable(static_cast<unsigned>(lower->getVariableIndex())) != nullptr) continue;
        auto* variable = new GGraphVariable(lower.release());
        variable->SetGPLLabel(info.rename.empty() ? info.name : info.rename);
        if (info.level >= SCALE && info.level <= TYPELESS)
            variable->setMeasurmentLevel(static_cast<GGraphVariable::MEASUREMENT_LEVEL>(info.level));
        AddVariable(variable);
        // A plain entry makes the walk succeed again, also after an ALL or a range that failed.
        result = true;
    }
    return result;
}

bool GGraphDataSet::isNameUnique(std::string const& name, bool isRename) {
    bool unique = std::none_of(d->uniqueNames.begin(), d->uniqueNames.end(),
                               [&](std::string const& seen) { return sameName(seen, name); });
    d->uniqueNames.push_back(name);
    if (isRename) d->uniqueReNames.push_back(name);
    return unique;
}

bool GGraphDataSet::isReNameUnique(std::string const& name) const {
    return std::none_of(d->uniqueReNames.begin(), d->uniqueReNames.end(),
                        [&](std::string const& seen) { return sameName(seen, name); });
}

void GGraphSettings::AddDataSet(GGraphDataSet* dataSet) {
    std::vector<GGraphDataSet*>& aggregated = GetAggregatedDataSets();
    std::vector<GGraphDataSet*>& unaggregated = GetUnAggregatedDataSets();
    if (dataSet->GetSourceName().empty()) {
        char number[16];
        std::snprintf(number, sizeof number, "%i", static_cast<int>(aggregated.size() + unaggregated.size()));
        dataSet->SetSourceName(std::string("source") + number);
    }
    // A later data set of the same name replaces an earlier one, in whichever list it stood.
    std::string const name = dataSet->GetSourceName();
    for (auto* list : {&aggregated, &unaggregated}) {
        for (std::size_t i = 0; i < list->size();) {
            if ((*list)[i]->GetSourceName() == name) {
                delete (*list)[i];
                list->erase(list->begin() + static_cast<std::ptrdiff_t>(i));
            } else {
                ++i;
            }
        }
    }
    if (dataSet->IsDataSetAggregated()) {
        aggregated.push_back(dataSet);
        return;
    }
    // Equipped for a case-by-case pass: the case number, and the weight when the data has one.
    dataSet->AddVariable(new GGraphVariable(GGraphVariable::SYSVAR_CASENUM, nullptr));
    int const weightIndex = dataSet->getWeightVarIdx();
    if (weightIndex != -1) {
        auto resolver = std::make_unique<VariableResolver>();
        if (resolver->resolveVariable(dataSet->getKWEL_DataSource(), weightIndex))
            dataSet->AddVariable(new GGraphVariable(GGraphVariable::SYSVAR_WEIGHT, resolver.release()));
    }
    unaggregated.push_back(dataSet);
}
