// The checks that span subcommands, run once after the parse, and the completion of template
// mappings: each mapping learns what its label stands for (a variable, a statistic or a
// multiple-response set) and what the template service needs to bind it.
#include <cstring>
#include <string>
#include <vector>

#include "ggraph/data/ggraph_data_set.h"
#include "ggraph/model/graph_spec.h"
#include "ggraph/model/viz_template_mapping.h"
#include "ggraph/procedure/report.h"
#include "ggraph/syntax/ggraph_parser_data.h"
#include "ggraph/syntax/syntax_messages.h"
#include "ggraph/variables/ggraph_statistic.h"
#include "ggraph/variables/ggraph_variable.h"
#include "ggraph/variables/variable_resolver.h"
#include "platform/chart_string.h"
#include "platform/dictionary.h"

namespace msg = ggraph::syntax_messages;

namespace {

std::string utf8FromLocal(char const* text) {
    return XUtility::ChartStringFromLocalCodePage(text != nullptr ? text : "").toUTF8();
}

// The lists the mapping fill searches, built once per command.
struct MappingContext {
    std::vector<GGraphDataSet*> allDataSets;
    std::vector<GGraphVariable*> allVariables;
    std::size_t unaggregatedVariableCount = 0;
    std::vector<GGraphDataSet*> const* unaggregated = nullptr;
    std::vector<GGraphDataSet*> const* aggregated = nullptr;
};

GGraphDataSet* findByName(std::vector<GGraphDataSet*> const& list, std::string const& name) {
    for (GGraphDataSet* dataSet : list)
        if (dataSet->GetSourceName() == name)
            return dataSet;
    return nullptr;
}

// The data set whose variable list holds the variable.
GGraphDataSet* holderOf(std::vector<GGraphDataSet*> const& dataSets,
                        GGraphVariable const* variable) {
    for (GGraphDataSet* dataSet : dataSets)
        for (GGraphVariable const* member : dataSet->GetVariables())
            if (member == variable)
                return dataSet;
    return nullptr;
}

std::string countedValueText(VariableResolver const& resolver) {
    int length = 0;
    OBS const* cell = resolver.getCountedValue(length);
    if (cell == nullptr)
        return {};
    if (!resolver.isString()) {
        ChartString number;
        number.assignDouble(*cell, 16);
        return number.toUTF8();
    }
    std::string text(reinterpret_cast<char const*>(cell), resolver.getStringLength());
    while (!text.empty() && text.back() == ' ') text.pop_back();
    return text;
}

void fillSingleVariable(GGraphVariable* variable, KWEL_Variable const& dictionaryVariable,
                        ViZTemplateMapping& mapping,
                        std::vector<GGraphVariable*>& labeledVariables) {
    mapping.format = dictionaryVariable.GetFormat();
    mapping.hasFormat = true;
    switch (variable->getMeasurmentLevel()) {
        case GGraphVariable::SCALE:
            mapping.categorical = false;
            break;
        case GGraphVariable::UNSPECIFIED:
            mapping.categorical = dictionaryVariable.GetMeasurementLevel() != MEASURE_SCALE;
            break;
        case GGraphVariable::NOMINAL:
        case GGraphVariable::ORDINAL:
        case GGraphVariable::FLAG:
        case GGraphVariable::TYPELESS:
            mapping.categorical = true;
            break;
    }
    if (mapping.categorical && dictionaryVariable.GetValueLabels().Size() != 0) {
        // Two mappings of one dictionary variable in a spec share one labeling variable.
        bool found = false;
        for (GGraphVariable* labeled : labeledVariables) {
            VariableResolver const* resolver = labeled->getVariableResolver();
            if (resolver != nullptr && resolver->getKWELVariable() == &dictionaryVariable) {
                mapping.labelingVariable = labeled->getLabelingVariable();
                found = true;
            }
        }
        if (!found) {
            mapping.labelingVariable = variable->createLabelingVariable();
            labeledVariables.push_back(variable);
        }
    }
    if (char const* label = dictionaryVariable.GetLabel())
        mapping.variableLabel = utf8FromLocal(label);
}

}  // namespace

std::vector<ViZTemplateMapping> GGraphParser::GGraphParserData::serializeMRSet(
    GGraphVariable* variable, GGraphDataSet* dataSet, ViZTemplateMapping& mapping) {
    VariableResolver const* parent =
        variable != nullptr ? variable->getVariableResolver() : nullptr;
    if (parent == nullptr || dataSet == nullptr)
        return {};
    // Members join the data set so that the data pass fetches them; a set mapped twice adds
    // its members twice.
    for (int index : parent->getVariableIndexList()) {
        auto* resolver = new VariableResolver();
        if (!resolver->resolveVariable(dataSet->getKWEL_DataSource(), index)) {
            delete resolver;
            continue;
        }
        KWEL_Variable const* member = resolver->getKWELVariable();
        auto* child = new GGraphVariable(resolver);
        child->setMRParentName(variable->GetVariableName());
        dataSet->AddVariable(child);
        MRChildren record;
        if (member != nullptr) {
            record.childName = utf8FromLocal(member->GetName());
            if (char const* label = member->GetLabel())
                record.childLabel = utf8FromLocal(label);
            if (member->GetValueLabels().Size() != 0)
                record.childLabelingVariable = child->createLabelingVariable();
        }
        mapping.mrChildren.push_back(record);
    }
    return {};
}

namespace {

// Fills one mapping; false after reporting an unknown data set.
bool fillMapping(GGraphParser::GGraphParserData& parser, MappingContext const& context,
                 ViZTemplateMapping& mapping, std::vector<GGraphVariable*>& labeledVariables) {
    if (mapping.dataSetName.empty()) {
        // No test of the statistics on this path, even for an aggregated data set: intended.
        if (!context.unaggregated->empty())
            mapping.dataSetName = context.unaggregated->front()->GetSourceName();
        else if (!context.aggregated->empty())
            mapping.dataSetName = context.aggregated->front()->GetSourceName();
    } else if (findByName(*context.unaggregated, mapping.dataSetName) == nullptr) {
        GGraphDataSet* dataSet = findByName(*context.aggregated, mapping.dataSetName);
        if (dataSet == nullptr) {
            ggraph::report(ggraph::kError, msg::kDataSetMissing, {mapping.dataSetName});
            return false;
        }
        ChartString const value = XUtility::ChartStringFromLocalCodePage(mapping.mappingValue);
        for (GGraphStatistic* statistic : dataSet->GetStatistics()) {
            if (statistic->GetUnicodeGPLLabel().equals(value)) {
                mapping.categorical = false;
                break;
            }
        }
    }

    // Only the variables of unaggregated data sets are searched, whatever data set the mapping
    // names.
    std::size_t found = context.unaggregatedVariableCount;
    for (std::size_t i = 0; i < context.unaggregatedVariableCount; ++i) {
        if (context.allVariables[i]->GetUnicodeGPLLabel() == mapping.mappingValue) {
            found = i;
            break;
        }
    }
    if (found == context.unaggregatedVariableCount)
        return true;
    GGraphVariable* variable = context.allVariables[found];
    VariableResolver const* resolver = variable->getVariableResolver();
    if (resolver == nullptr)
        return true;

    int const type = resolver->getVariableType();
    if (type == VariableResolver::CATEGORY_SET || type == VariableResolver::DICHOTOMY_SET) {
        mapping.categorical = true;
        mapping.multipleCategories = type == VariableResolver::CATEGORY_SET;
        mapping.mrSetName = resolver->getMRSetName();
        mapping.enhancedDichotomy = resolver->isEnhancedDichotomy();
        if (type == VariableResolver::DICHOTOMY_SET)
            mapping.countedValue = countedValueText(*resolver);
        // The members go to the data set at the variable's own position in the list of data
        // sets, as the rule has it; past the end of that list, to the set's own data set.
        GGraphDataSet* target = found < context.allDataSets.size()
                                    ? context.allDataSets[found]
                                    : holderOf(context.allDataSets, variable);
        (void)parser.serializeMRSet(variable, target, mapping);
    } else if (type == VariableResolver::DICTIONARY_VARIABLE &&
               resolver->getKWELVariable() != nullptr) {
        fillSingleVariable(variable, *resolver->getKWELVariable(), mapping, labeledVariables);
    }
    return true;
}

}  // namespace

bool GGraphParser::GGraphParserData::CompleteAndValidate() {
    std::vector<GraphSpec*>& specs = settings.GetGraphSpecs();
    if (specs.empty()) {
        ggraph::report(ggraph::kError, msg::kNoGraphSpec);
        return false;
    }

    MappingContext context;
    context.unaggregated = &settings.GetUnAggregatedDataSets();
    context.aggregated = &settings.GetAggregatedDataSets();
    for (GGraphDataSet* dataSet : *context.unaggregated) {
        context.allDataSets.push_back(dataSet);
        for (GGraphVariable* variable : dataSet->GetVariables())
            context.allVariables.push_back(variable);
    }
    context.unaggregatedVariableCount = context.allVariables.size();
    for (GGraphDataSet* dataSet : *context.aggregated) {
        context.allDataSets.push_back(dataSet);
        for (GGraphVariable* variable : dataSet->GetVariables())
            context.allVariables.push_back(variable);
    }

    for (GraphSpec* spec : specs) {
        if (spec->getSource() != GraphSpec::SOURCE_VIZTEMPLATE) {
            // Only a template can chart a multiple-response set case by case; this holds for
            // every unaggregated data set, whether the graph uses it or not.
            for (GGraphDataSet* dataSet : *context.unaggregated) {
                for (GGraphVariable* variable : dataSet->GetVariables()) {
                    VariableResolver const* resolver = variable->getVariableResolver();
                    if (resolver != nullptr &&
                        resolver->getVariableType() != VariableResolver::DICTIONARY_VARIABLE) {
                        ggraph::report(ggraph::kError, msg::kMultipleResponseNeedsFunction);
                        return false;
                    }
                }
            }
            continue;
        }
        std::vector<GGraphVariable*> labeledVariables;
        for (ViZTemplateMapping& mapping : spec->GetVIZTemplateMappings()) {
            if (!fillMapping(*this, context, mapping, labeledVariables))
                return false;
        }
        if (spec->hasViZMap()) {
            if (!spec->validateVIZMap()) {
                ggraph::report(ggraph::kError, msg::kFileNoAccess, {spec->getViZMapOrig()});
                return false;
            }
            if (spec->getAttribute().empty()) {
                ggraph::report(ggraph::kError, msg::kMapRequired);
                return false;
            }
        }
        if (spec->hasViZRefMap() && !spec->validateVIZRefMap()) {
            ggraph::report(ggraph::kError, msg::kFileNoAccess, {spec->getViZRefMapOrig()});
            return false;
        }
        if (spec->hasViZStyleSheet() && !spec->validateVIZStyleSheet()) {
            // A style sheet that cannot be read is only a warning, yet it ends the command.
            ggraph::report(ggraph::kWarning, msg::kFileNoAccess, {spec->getViZStyleSheetOrig()});
            return false;
        }
    }
    return true;
}
