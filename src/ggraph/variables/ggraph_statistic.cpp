#include "ggraph/variables/ggraph_statistic.h"

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>

#include "ggraph/procedure/report.h"
#include "ggraph/variables/ggraph_statistic_data.h"
#include "ggraph/variables/variable_resolver.h"
#include "ggraph/variables/variables_messages.h"
#include "platform/data_source.h"
#include "platform/dictionary.h"
#include "platform/host_procedure.h"

namespace msg = ggraph::variables_messages;
using Codes = TableEncryptionCodes;

namespace {

struct FunctionRow {
    char const* name;
    Codes::StatisticCodes code;
    unsigned required;  // the variable counts as a required parameter
    unsigned optional;  // a confidence level, a multiplier or DUP/NODUP
    bool caseValue;
    bool errorBars;
    bool percentErrorBars;
    int errorBarType;
    double errorBarParameter;
};

// Looked up in this order, case ignored; the first match wins. MEANCI, MEANSD and MEANSE share
// MEAN's code, MEDIANCI MEDIAN's, COUNTCI and PCTCI COUNT's: the flags tell them apart.
constexpr std::array<FunctionRow, 34> kFunctions{{
    {"CASEVALUE", Codes::STAT_CASEVALUE, 1, 0, true, false, false, 0, 0.0},
    {"COUNT", Codes::STAT_COUNT, 0, 0, false, false, false, 0, 0.0},
    {"RESPONSES", Codes::STAT_RESPONSES, 0, 1, false, false, false, 0, 0.0},
    {"PCTRESPONSES", Codes::STAT_PCTRESPONSES, 0, 1, false, false, false, 0, 0.0},
    {"MINIMUM", Codes::STAT_MINIMUM, 1, 0, false, false, false, 0, 0.0},
    {"MAXIMUM", Codes::STAT_MAXIMUM, 1, 0, false, false, false, 0, 0.0},
    {"VALIDN", Codes::STAT_VALIDN, 1, 0, false, false, false, 0, 0.0},
    {"SUM", Codes::STAT_SUM, 1, 0, false, false, false, 0, 0.0},
    {"MEAN", Codes::STAT_MEAN, 1, 0, false, false, false, 0, 0.0},
    {"STDDEV", Codes::STAT_STDDEV, 1, 0, false, false, false, 0, 0.0},
    {"VARIANCE", Codes::STAT_VARIANCE, 1, 0, false, false, false, 0, 0.0},
    {"MEDIAN", Codes::STAT_MEDIAN, 1, 0, false, false, false, 0, 0.0},
    {"GMEDIAN", Codes::STAT_GMEDIAN, 1, 0, false, false, false, 0, 0.0},
    {"MODE", Codes::STAT_MODE, 1, 0, false, false, false, 0, 0.0},
    {"PTILE", Codes::STAT_PTILE, 2, 0, false, false, false, 0, 0.0},
    {"GPTILE", Codes::STAT_GPTILE, 2, 0, false, false, false, 0, 0.0},
    {"PLT", Codes::STAT_PCT_LT, 2, 0, false, false, false, 0, 0.0},
    {"PGT", Codes::STAT_PCT_GT, 2, 0, false, false, false, 0, 0.0},
    {"NLT", Codes::STAT_N_LT, 2, 0, false, false, false, 0, 0.0},
    {"NGT", Codes::STAT_N_GT, 2, 0, false, false, false, 0, 0.0},
    {"PIN", Codes::STAT_PCT_IN, 3, 0, false, false, false, 0, 0.0},
    {"NIN", Codes::STAT_N_IN, 3, 0, false, false, false, 0, 0.0},
    {"NLE", Codes::STAT_N_LE, 2, 0, false, false, false, 0, 0.0},
    {"PLE", Codes::STAT_PCT_LE, 2, 0, false, false, false, 0, 0.0},
    {"NEQ", Codes::STAT_N_EQ, 2, 0, false, false, false, 0, 0.0},
    {"PEQ", Codes::STAT_PCT_EQ, 2, 0, false, false, false, 0, 0.0},
    {"NGE", Codes::STAT_N_GE, 2, 0, false, false, false, 0, 0.0},
    {"PGE", Codes::STAT_PCT_GE, 2, 0, false, false, false, 0, 0.0},
    {"MEANCI", Codes::STAT_MEAN, 1, 1, false, true, false, 0, 0.95},
    {"MEANSD", Codes::STAT_MEAN, 1, 1, false, true, false, 1, 2.0},
    {"MEANSE", Codes::STAT_MEAN, 1, 1, false, true, false, 2, 2.0},
    {"MEDIANCI", Codes::STAT_MEDIAN, 1, 1, false, true, false, 0, 0.95},
    {"COUNTCI", Codes::STAT_COUNT, 0, 1, false, true, false, 0, 0.95},
    {"PCTCI", Codes::STAT_COUNT, 0, 1, false, true, true, 0, 0.95},
}};

FunctionRow const* findFunction(std::string const& name) {
    for (FunctionRow const& row : kFunctions)
        if (KWELMBstricmp_A(row.name, name.c_str()) == 0)
            return &row;
    return nullptr;
}

bool isDateOrTime(int formatType) {
    return (formatType >= FMT_DATE && formatType <= FMT_WKYR) || formatType == FMT_EDATE ||
           formatType == FMT_SDATE || formatType == FMT_MTIME || formatType == FMT_YMDHMS;
}

// Numbers with a grouping, currency or percent look: a mean of them gets its own decimals.
bool isNumberLook(int formatType) {
    return formatType == FMT_COMMA || formatType == FMT_DOLLAR || formatType == FMT_F ||
           formatType == FMT_E || (formatType >= FMT_PCT && formatType <= FMT_CCE);
}

}  // namespace

void GGraphStatistic::GGraphStatisticData::format(int& type, int& decimals) const {
    type = 0;
    decimals = 0;
    if (!summaryVariable)
        return;
    FormatType formatType{};
    int width = 0;
    summaryVariable->GetFormatEx(formatType, width, decimals);
    type = formatType;
}

GGraphStatistic::GGraphStatistic(std::string const& name, FacSTDictionary* dictionary)
    : d(std::make_unique<GGraphStatisticData>()) {
    d->dictionary = dictionary;
    d->functionName = XUtility::ChartStringFromLocalCodePage(name);
    FunctionRow const* row = findFunction(name);
    d->aggregationStatistic =
        std::make_unique<AggregationStatistic>(row ? row->code : Codes::STAT_NONE);
    if (!row)
        return;
    d->requiredParameters = row->required;
    d->optionalParameters = row->optional;
    d->caseValueStatistic = row->caseValue;
    d->errorBars = row->errorBars;
    d->percentErrorBars = row->percentErrorBars;
    d->errorBarType = row->errorBarType;
    d->errorBarParameter = row->errorBarParameter;
}

GGraphStatistic::GGraphStatistic(GGraphStatistic const& other)
    : d(std::make_unique<GGraphStatisticData>()) {
    *this = other;
}

GGraphStatistic& GGraphStatistic::operator=(GGraphStatistic const& other) {
    if (this == &other)
        return *this;
    auto aggregation = std::make_unique<AggregationStatistic>(*other.d->aggregationStatistic);
    d->aggregationStatistic.reset();
    GGraphStatisticData& data = *d;
    GGraphStatisticData const& from = *other.d;
    data.dictionary = from.dictionary;
    data.functionName = from.functionName;
    data.gplLabel = from.gplLabel;
    data.summaryVariableName = from.summaryVariableName;
    data.summaryVariable = from.summaryVariable;
    data.countDuplicates = from.countDuplicates;
    data.caseValueStatistic = from.caseValueStatistic;
    data.errorBars = from.errorBars;
    data.percentErrorBars = from.percentErrorBars;
    data.errorBarType = from.errorBarType;
    data.errorBarParameter = from.errorBarParameter;
    data.gplLowLabel = from.gplLowLabel;
    data.gplHighLabel = from.gplHighLabel;
    data.errorBarInfinite = from.errorBarInfinite;
    data.requiredParameters = from.requiredParameters;
    data.optionalParameters = from.optionalParameters;
    data.aggregationStatistic = std::move(aggregation);
    return *this;
}

GGraphStatistic::~GGraphStatistic() = default;

AggregationStatistic* GGraphStatistic::GetAggregationStatistic() const {
    return d->aggregationStatistic.get();
}
KWEL_Variable* GGraphStatistic::GetSummaryVariable() const {
    return d->summaryVariable;
}
int GGraphStatistic::GetSummaryVariableIndex() const {
    return d->aggregationStatistic->GetVarIndex();
}
bool GGraphStatistic::IsCaseValueStatistic() const {
    return d->caseValueStatistic;
}
bool GGraphStatistic::getCountDuplicates() const {
    return d->countDuplicates;
}
bool GGraphStatistic::hasErrorBars() const {
    return d->errorBars;
}
double GGraphStatistic::getErrorBarParameter() const {
    return d->errorBarParameter;
}
bool GGraphStatistic::isErrorBarInfinite() const {
    return d->errorBarInfinite;
}
bool GGraphStatistic::hasCountErrorBars() const {
    return d->code() == Codes::STAT_COUNT;
}
bool GGraphStatistic::IsSupportedStatistic() const {
    return d->code() != Codes::STAT_NONE;
}

bool GGraphStatistic::IsParametricStatistic() const {
    int code = d->code();
    return code != Codes::STAT_COUNT && code != Codes::STAT_RESPONSES &&
           code != Codes::STAT_PCTRESPONSES;
}

bool GGraphStatistic::IsAggregatedStatistic() const {
    return d->code() != Codes::STAT_CASEVALUE;
}

unsigned GGraphStatistic::getParameterCount(unsigned int& optional) const {
    optional = d->optionalParameters;
    return d->requiredParameters;
}

unsigned GGraphStatistic::getErrorBarStatistic() const {
    if (!d->errorBars)
        return 0;
    if (d->code() == Codes::STAT_MEDIAN)
        return Codes::STAT_MEDIAN_CI;
    if (d->code() == Codes::STAT_COUNT)
        return Codes::STAT_COUNT;
    switch (d->errorBarType) {
        case CONFIDENCE_INTERVAL:
        case STANDARD_ERROR:
            return Codes::STAT_SEMEAN;
        case STANDARD_DEVIATION:
            return Codes::STAT_STDDEV;
        default:
            return 0;
    }
}

void GGraphStatistic::SetMainParameter(std::string const& text, double value) {
    int code = d->code();
    if (code == Codes::STAT_RESPONSES || code == Codes::STAT_PCTRESPONSES) {
        if (KWELMBstricmp_A(text.c_str(), "DUP") == 0)
            d->countDuplicates = true;
        else if (KWELMBstricmp_A(text.c_str(), "NODUP") == 0)
            d->countDuplicates = false;
        else
            ggraph::report(ggraph::kError, msg::kResponsesParameter);
        return;
    }
    if (d->errorBars && code == Codes::STAT_COUNT) {
        // COUNTCI and PCTCI take only the level; a bad one falls back to 95.
        if (value < 50.0 || value >= 100.0) {
            ggraph::report(ggraph::kError, msg::kInvalidNumericParameter,
                           {d->functionName.toUTF8(), text});
            value = 95.0;
        }
        d->errorBarParameter = value / 100.0;
        return;
    }
    if (d->errorBars && value < 0.0)
        ggraph::report(ggraph::kError, msg::kInvalidNumericParameter,
                       {d->functionName.toUTF8(), text});
    d->summaryVariableName = text;
}

void GGraphStatistic::SetNumericParameter(unsigned int position, double value,
                                          std::string const& text) {
    AggregationStatistic& statistic = *d->aggregationStatistic;
    int code = d->code();
    if (position == 1) {
        if (code == Codes::STAT_PTILE || code == Codes::STAT_GPTILE) {
            if (value > 0.0 && value < 100.0)
                statistic.SetPTileCutPoint(value);
            else
                ggraph::report(ggraph::kError, msg::kInvalidNumericParameter,
                               {d->functionName.toUTF8(), text});
        } else if (code == Codes::STAT_PCT_LT || code == Codes::STAT_N_LT) {
            statistic.SetUpperLimit(value);
        } else if (!d->errorBars) {
            // Every other limit function, PLE and NLE among them, compares with the lower limit.
            statistic.SetLowerLimit(value);
        } else if (d->errorBarType == CONFIDENCE_INTERVAL) {
            // Intended: no range check on this path, unlike COUNTCI and PCTCI.
            d->errorBarParameter = value / 100.0;
        } else {
            d->errorBarParameter = value;
        }
        return;
    }
    if ((code == Codes::STAT_PCT_IN || code == Codes::STAT_N_IN) &&
        value < statistic.GetLowerLimit())
        ggraph::report(ggraph::kError, msg::kInvalidNumericParameter,
                       {d->functionName.toUTF8(), text});
    // Stored even after the report: a reversed range keeps its lower upper limit.
    statistic.SetUpperLimit(value);
}

bool GGraphStatistic::ResolveVariableParameter(KWEL_DataSource const* source) {
    int code = d->code();
    if (d->requiredParameters + d->optionalParameters == 0 || code == Codes::STAT_RESPONSES ||
        code == Codes::STAT_PCTRESPONSES || (d->errorBars && code == Codes::STAT_COUNT))
        return true;

    VariableResolver resolver;
    if (!resolver.resolveVariable(source, d->summaryVariableName)) {
        ggraph::report(ggraph::kError, msg::kVariableNotFound, {d->summaryVariableName});
        return false;
    }
    d->aggregationStatistic->SetVarIndex(resolver.getVariableIndex());
    d->summaryVariable = resolver.getKWELVariable();
    if (d->summaryVariable)
        d->summaryVariableName = d->summaryVariable->GetName();

    int type = 0;
    int decimals = 0;
    d->format(type, decimals);
    // Only CASEVALUE may take a string; MINIMUM, MAXIMUM and MODE may not.
    if (IsAggregatedStatistic() && d->summaryVariable && type == FMT_A) {
        ggraph::report(ggraph::kError, msg::kStringVariable,
                       {d->functionName.toUTF8(), d->summaryVariableName});
        return false;
    }
    return true;
}

bool GGraphStatistic::CalculateErrorBarIntervals(double value, AggregationResult result,
                                                 double total, double& low, double& high) const {
    low = 0.0;
    high = 0.0;
    bool computed = false;
    if (d->errorBars) {
        double spread = result;
        switch (d->code()) {
            case Codes::STAT_MEAN:
                if (d->errorBarType == CONFIDENCE_INTERVAL) {
                    double t = CtaDistFun::IdfT(d->errorBarParameter * 0.5 + 0.5, total - 1.0);
                    low = value - spread * t;
                    high = spread * t + value;
                } else {
                    low = value - spread * d->errorBarParameter;
                    high = spread * d->errorBarParameter + value;
                }
                computed = true;
                break;
            case Codes::STAT_MEDIAN:
                if (d->errorBarType == CONFIDENCE_INTERVAL) {
                    low = result.GetValue1();
                    high = result.GetValue2();
                    computed = true;
                }
                break;
            case Codes::STAT_COUNT: {
                // The interval of a proportion, through the beta distribution.
                double q = (1.0 - d->errorBarParameter) * 0.5;
                double a = value + 0.5;
                double b = (total - value) + 0.5;
                low = total * CtaDistFun::IdfBet(q, a, b);
                high = total * CtaDistFun::IdfBet(1.0 - q, a, b);
                computed = true;
                break;
            }
            default:
                break;
        }
    }
    // An infinite end becomes the lowest double, so that it drops out of the chart; the high end
    // too, on purpose. Only the two infinities and the two largest numbers count: a NaN end is
    // written as it is, and the chart leaves it out without the warning.
    auto dropInfinite = [this](double& end) {
        if (std::fabs(end) == KWEL_Globals::infinity() || std::fabs(end) == DBL_MAX) {
            end = -DBL_MAX;
            d->errorBarInfinite = true;
        }
    };
    dropInfinite(low);
    dropInfinite(high);
    return computed;
}

bool GGraphStatistic::useDTIME() const {
    int type = 0;
    int decimals = 0;
    d->format(type, decimals);
    return d->code() == Codes::STAT_STDDEV && isDateOrTime(type);
}

int GGraphStatistic::getMinFractionDigits() const {
    int type = 0;
    int decimals = 0;
    d->format(type, decimals);
    int code = d->code();
    if (type == FMT_A || isDateOrTime(type))
        return code == Codes::STAT_VARIANCE ? 3 : -1;
    switch (code) {
        case Codes::STAT_COUNT:
        case Codes::STAT_VALIDN:
        case Codes::STAT_RESPONSES:
        case Codes::STAT_N_LT:
        case Codes::STAT_N_LE:
        case Codes::STAT_N_GT:
        case Codes::STAT_N_GE:
        case Codes::STAT_N_EQ:
        case Codes::STAT_N_IN:
            return 0;
        case Codes::STAT_PCTRESPONSES:
        case Codes::STAT_PCT_LT:
        case Codes::STAT_PCT_LE:
        case Codes::STAT_PCT_GT:
        case Codes::STAT_PCT_GE:
        case Codes::STAT_PCT_EQ:
        case Codes::STAT_PCT_IN:
            return 1;
        case Codes::STAT_VARIANCE:
            return 3;
        case Codes::STAT_MAXIMUM:
        case Codes::STAT_MINIMUM:
        case Codes::STAT_MODE:
        case Codes::STAT_SUM:
        case Codes::STAT_CASEVALUE:
            return decimals;
        case Codes::STAT_MEAN:
        case Codes::STAT_MEDIAN:
        case Codes::STAT_GMEDIAN:
        case Codes::STAT_STDDEV:
        case Codes::STAT_PTILE:
        case Codes::STAT_GPTILE:
            if (!isNumberLook(type))
                return decimals;
            return std::min(code == Codes::STAT_STDDEV ? decimals + 1 : decimals, 16);
        default:
            return -1;
    }
}
