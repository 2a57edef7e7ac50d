// The names and labels of a GGraphStatistic: its GPL names, the labels a chart reader sees, and
// the prefix and suffix of its numbers.
#include <array>
#include <sstream>
#include <vector>

#include "ggraph/variables/ggraph_statistic.h"
#include "ggraph/variables/ggraph_statistic_data.h"
#include "platform/dictionary.h"
#include "platform/host_procedure.h"
#include "platform/messages.h"
#include "platform/om_cells.h"

using Codes = TableEncryptionCodes;

namespace {

// Which of the statistic's numbers fill a label's placeholders, in this order.
enum class Numbers { None, CutPoint, Upper, Lower, LowerUpper };

struct LabelRow {
    int code;
    char const* functionKey;          // the label of the function alone
    char const* templateKey;          // the label with the variable
    char const* templateFunctionKey;  // fills ^1 of the template, when there is one
    Numbers numbers;
    bool withVariable;  // the variable's text fills the last placeholder
};

constexpr std::array<LabelRow, 30> kLabels{{
    {Codes::STAT_COUNT, "E60868", "E60868", nullptr, Numbers::None, false},
    {Codes::STAT_MAXIMUM, "Maximum", "^1 ^2", "Maximum", Numbers::None, true},
    {Codes::STAT_MEAN, "Mean", "^1 ^2", "Mean", Numbers::None, true},
    {Codes::STAT_MEDIAN, "E60878", "^1 ^2", "E60878", Numbers::None, true},
    {Codes::STAT_GMEDIAN, "E60892", "^1 ^2", "E60892", Numbers::None, true},
    {Codes::STAT_MINIMUM, "Minimum", "^1 ^2", "Minimum", Numbers::None, true},
    {Codes::STAT_MODE, "E60879", "^1 ^2", "E60879", Numbers::None, true},
    {Codes::STAT_STDDEV, "StdDev", "^1 ^2", "StdDev", Numbers::None, true},
    {Codes::STAT_SUM, "E60873", "^1 ^2", "E60873", Numbers::None, true},
    {Codes::STAT_VALIDN, "Valid N", "^1 ^2", "Valid N", Numbers::None, true},
    {Codes::STAT_VARIANCE, "E60877", "^1 ^2", "E60877", Numbers::None, true},
    {Codes::STAT_RESPONSES, "Responses", "^1 ^2", "Responses", Numbers::None, true},
    // Intended: the function alone has no label of its own, only with its variable.
    {Codes::STAT_PCTRESPONSES, "", "^1 ^2", "Percent Responses", Numbers::None, true},
    {Codes::STAT_CASEVALUE, "Case Value", "Case Value ^1", nullptr, Numbers::None, true},
    {Codes::STAT_PTILE, "Ptile ^1", "Ptile ^1 ^2", nullptr, Numbers::CutPoint, true},
    {Codes::STAT_GPTILE, "Group Ptile ^1", "Group Ptile ^1 ^2", nullptr, Numbers::CutPoint, true},
    {Codes::STAT_PCT_LT, "% < ^1", "% < ^1 ^2", nullptr, Numbers::Upper, true},
    {Codes::STAT_N_LT, "N < ^1", "N < ^1 ^2", nullptr, Numbers::Upper, true},
    {Codes::STAT_PCT_LE, "% <= ^1", "% <= ^1 ^2", nullptr, Numbers::Upper, true},
    {Codes::STAT_N_LE, "N <= ^1", "N <= ^1 ^2", nullptr, Numbers::Upper, true},
    {Codes::STAT_PCT_GT, "% > ^1", "% > ^1 ^2", nullptr, Numbers::Lower, true},
    {Codes::STAT_N_GT, "N > ^1", "N > ^1 ^2", nullptr, Numbers::Lower, true},
    {Codes::STAT_PCT_GE, "% >= ^1", "% >= ^1 ^2", nullptr, Numbers::Lower, true},
    {Codes::STAT_N_GE, "N >= ^1", "N >= ^1 ^2", nullptr, Numbers::Lower, true},
    {Codes::STAT_PCT_EQ, "% = ^1", "% = ^1 ^2", nullptr, Numbers::Lower, true},
    {Codes::STAT_N_EQ, "N = ^1", "N = ^1 ^2", nullptr, Numbers::Lower, true},
    {Codes::STAT_PCT_IN, "% in (^1,^2)", "% in (^1,^2) ^3", nullptr, Numbers::LowerUpper, true},
    {Codes::STAT_N_IN, "N in (^1,^2)", "N in (^1,^2) ^3", nullptr, Numbers::LowerUpper, true},
    // Not a function of its own: the counts row serves PCTCI when it has percent error bars.
    {-1, "", "E60703", nullptr, Numbers::None, false},
    // Any other code: empty keys, the variable's text added with no placeholder to fill.
    {0, "", "", nullptr, Numbers::None, true},
}};

LabelRow const& labelRow(int code) {
    for (LabelRow const& row : kLabels)
        if (row.code == code)
            return row;
    return kLabels.back();
}

// Numbers in labels read as a reader writes them: 2.5, 25, 1e+06.
std::string labelNumber(double value) {
    std::ostringstream out;
    out << value;
    return out.str();
}

std::vector<std::string> labelNumbers(Numbers numbers, AggregationStatistic const& statistic) {
    switch (numbers) {
        case Numbers::CutPoint:
            return {labelNumber(statistic.GetPTileCutPoint())};
        case Numbers::Upper:
            return {labelNumber(statistic.GetUpperLimit())};
        case Numbers::Lower:
            return {labelNumber(statistic.GetLowerLimit())};
        case Numbers::LowerUpper:
            return {labelNumber(statistic.GetLowerLimit()), labelNumber(statistic.GetUpperLimit())};
        case Numbers::None:
            break;
    }
    return {};
}

// Fills the template's placeholders with the given texts in order.
std::string substitute(std::string const& pattern, std::vector<std::string> const& values) {
    OmMemoryRegion region;
    OmStringCell patternCell(pattern, &region, false);
    OmComposite composite(patternCell, &region, false);
    for (std::string const& value : values) composite.Add(OmStringCell(value, &region, false));
    composite.End();
    composite.Substitute(nullptr, false);
    return composite.GetText();
}

ChartString fromLocal(std::string const& text) {
    return XUtility::ChartStringFromLocalCodePage(text);
}

bool isPrefixedCode(int code) {
    switch (code) {
        case Codes::STAT_MAXIMUM:
        case Codes::STAT_MEAN:
        case Codes::STAT_MEDIAN:
        case Codes::STAT_GMEDIAN:
        case Codes::STAT_MINIMUM:
        case Codes::STAT_MODE:
        case Codes::STAT_STDDEV:
        case Codes::STAT_SUM:
        case Codes::STAT_PTILE:
        case Codes::STAT_GPTILE:
        case Codes::STAT_CASEVALUE:
            return true;
        default:
            return false;
    }
}

bool isPercentCode(int code) {
    switch (code) {
        case Codes::STAT_PCTRESPONSES:
        case Codes::STAT_PCT_LT:
        case Codes::STAT_PCT_LE:
        case Codes::STAT_PCT_GT:
        case Codes::STAT_PCT_GE:
        case Codes::STAT_PCT_EQ:
        case Codes::STAT_PCT_IN:
            return true;
        default:
            return false;
    }
}

}  // namespace

namespace {

std::string lookUp(FacSTDictionary* dictionary, std::string const& key) {
    return dictionary ? dictionary->LookUp(key) : key;
}

// The summary variable's label, or its name when it has none. A label that is present but empty
// is the label: the user blanked it on purpose.
std::string displayText(GGraphStatistic::GGraphStatisticData const& d) {
    if (d.summaryVariable) {
        char const* label = d.summaryVariable->GetLabel();
        if (label)
            return label;
    }
    return d.summaryVariableName;
}

}  // namespace

void GGraphStatistic::SetGPLLabel(std::string const& label) {
    d->gplLabel = fromLocal(label);
}
void GGraphStatistic::SetGPLLowLabel(std::string const& label) {
    d->gplLowLabel = fromLocal(label);
}
void GGraphStatistic::SetGPLHighLabel(std::string const& label) {
    d->gplHighLabel = fromLocal(label);
}

ChartString const& GGraphStatistic::GetUnicodeGPLLabel() const {
    if (!d->gplLabel.empty())
        return d->gplLabel;
    std::string upper = d->functionName.toUTF8();
    KWELMBstrupr_A(upper.data());
    ChartString& name = d->gplLabel;
    name.assignUTF8(upper);
    if (!d->summaryVariableName.empty()) {
        name.append(u"_");
        name.append(fromLocal(d->summaryVariableName));
    }
    if (d->errorBars) {
        name.append(u"_");
        name.appendDouble(d->errorBarParameter * 100);
        return name;
    }
    AggregationStatistic const& statistic = *d->aggregationStatistic;
    switch (d->code()) {
        case Codes::STAT_RESPONSES:
        case Codes::STAT_PCTRESPONSES:
            name.append(d->countDuplicates ? u"_DUP" : u"_NODUP");
            break;
        case Codes::STAT_PTILE:
        case Codes::STAT_GPTILE:
            name.append(u"_");
            name.appendDouble(statistic.GetPTileCutPoint());
            break;
        // Intended: every one-limit function is named by its upper limit, though most of them
        // compare with the lower one.
        case Codes::STAT_PCT_LT:
        case Codes::STAT_N_LT:
        case Codes::STAT_PCT_LE:
        case Codes::STAT_N_LE:
        case Codes::STAT_PCT_GT:
        case Codes::STAT_N_GT:
        case Codes::STAT_PCT_GE:
        case Codes::STAT_N_GE:
        case Codes::STAT_PCT_EQ:
        case Codes::STAT_N_EQ:
            name.append(u"_");
            name.appendDouble(statistic.GetUpperLimit());
            break;
        case Codes::STAT_PCT_IN:
        case Codes::STAT_N_IN:
            name.append(u"_");
            name.appendDouble(statistic.GetLowerLimit());
            name.append(u"_");
            name.appendDouble(statistic.GetUpperLimit());
            break;
        default:
            break;
    }
    return name;
}

namespace {

// The name of an interval's end: function as written, variable (not for counts), level, end.
void deriveEndName(GGraphStatistic::GGraphStatisticData const& d, ChartString& name,
                   char16_t const* end) {
    name = d.functionName;
    name.append(u"_");
    if (d.code() != Codes::STAT_COUNT) {
        name.append(fromLocal(d.summaryVariableName));
        name.append(u"_");
    }
    name.appendDouble(d.errorBarParameter * 100);
    name.append(end);
}

}  // namespace

ChartString const& GGraphStatistic::GetUnicodeGPLLowLabel() const {
    if (d->errorBars && d->gplLowLabel.empty())
        deriveEndName(*d, d->gplLowLabel, u"_LOW");
    return d->gplLowLabel;
}

ChartString const& GGraphStatistic::GetUnicodeGPLHighLabel() const {
    if (d->errorBars && d->gplHighLabel.empty())
        deriveEndName(*d, d->gplHighLabel, u"_HIGH");
    return d->gplHighLabel;
}

std::string GGraphStatistic::GetSummaryFunctionLabel() {
    LabelRow const& row = labelRow(d->code());
    return substitute(lookUp(d->dictionary, row.functionKey),
                      labelNumbers(row.numbers, *d->aggregationStatistic));
}

std::string GGraphStatistic::GetSummaryVariableLabel() {
    bool percent = d->code() == Codes::STAT_COUNT && d->errorBars && d->percentErrorBars;
    LabelRow const& row = labelRow(percent ? -1 : d->code());
    std::vector<std::string> values;
    if (row.templateFunctionKey)
        values.push_back(lookUp(d->dictionary, row.templateFunctionKey));
    for (std::string& number : labelNumbers(row.numbers, *d->aggregationStatistic))
        values.push_back(std::move(number));
    if (row.withVariable)
        values.push_back(displayText(*d));
    std::string text = substitute(lookUp(d->dictionary, row.templateKey), values);
    return XUtility::ChartStringFromOLANG(text).toUTF8();
}

bool GGraphStatistic::GetLowHighVariableLabels(ChartString& low, ChartString& high) const {
    if (!d->errorBars)
        return false;
    char const* lowTemplate = nullptr;
    char const* highTemplate = nullptr;
    ChartString first;
    ChartString second;
    switch (d->code()) {
        case Codes::STAT_MEAN:
            // Every mean form is labelled as standard deviations and answers as MEANSD from
            // now on; intended, which is why intervals are computed before labels are asked for.
            lowTemplate = "Mean ^1 Std. Deviation (^2) Low";
            highTemplate = "Mean ^1 Std. Deviation (^2) High";
            first = fromLocal(displayText(*d));
            second.assignDouble(d->errorBarParameter, 16);
            d->errorBarType = STANDARD_DEVIATION;
            break;
        case Codes::STAT_MEDIAN:
            lowTemplate = "Median ^1 ^2% CI Low";
            highTemplate = "Median ^1 ^2% CI High";
            first = fromLocal(displayText(*d));
            second.assignDouble(d->errorBarParameter * 100, 16);
            break;
        case Codes::STAT_COUNT:
            lowTemplate = d->percentErrorBars ? "Percent ^1% CI Low" : "Count ^1% CI Low";
            highTemplate = d->percentErrorBars ? "Percent ^1% CI High" : "Count ^1% CI High";
            first.assignDouble(d->errorBarParameter * 100, 16);
            break;
        default:
            return false;
    }
    OmMemoryRegion region;
    OmStringCell lowCell(lowTemplate, &region, true);
    OmStringCell highCell(highTemplate, &region, true);
    OmComposite lowText(lowCell, &region, true);
    OmComposite highText(highCell, &region, true);
    for (ChartString const* value : {&first, &second}) {
        if (value == &second && value->empty())
            continue;
        OmStringCell cell(value->toUTF8(), &region, false);
        lowText.Add(cell);
        highText.Add(cell);
    }
    for (OmComposite* text : {&lowText, &highText}) {
        text->End();
        text->Substitute(nullptr, false);
    }
    low = fromLocal(lowText.GetText());
    high = fromLocal(highText.GetText());
    return true;
}

ChartString GGraphStatistic::getPrefix() const {
    int type = 0;
    int decimals = 0;
    d->format(type, decimals);
    if (!isPrefixedCode(d->code()) || !d->summaryVariable)
        return {};
    if (type == FMT_DOLLAR)
        return fromLocal("$");
    if (type >= FMT_CCA && type <= FMT_CCE)
        return fromLocal(currencyFormat::GetCCX(type - FMT_CCA).first);
    return {};
}

ChartString GGraphStatistic::getSuffix() const {
    int type = 0;
    int decimals = 0;
    d->format(type, decimals);
    if (isPrefixedCode(d->code()) && d->summaryVariable) {
        // "$" has no matching suffix: only the custom currencies have one.
        if (type >= FMT_CCA && type <= FMT_CCE)
            return fromLocal(currencyFormat::GetCCX(type - FMT_CCA).second);
        return {};
    }
    if (isPercentCode(d->code()))
        return fromLocal("%");
    return {};
}
