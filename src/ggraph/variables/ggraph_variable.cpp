#include "ggraph/variables/ggraph_variable.h"

#include "ggraph/variables/variable_resolver.h"
#include "platform/chart_string.h"
#include "platform/dictionary.h"
#include "platform/var_data_processor.h"

struct GGraphVariable::GGraphVariableData {
    std::unique_ptr<VariableResolver> resolver;
    std::unique_ptr<VarDataProcessor::_varinfo> vdpVariable;
    std::unique_ptr<VarDataProcessor::_varinfo> vdpLabelingVariable;
    VarDataProcessor* vdp = nullptr;
    std::string labelingVariable;
    std::string mrParentName;
    std::string gplLabel;
    std::string unicodeGplLabel;
    std::string kwelName;
    std::string unicodeKwelName;
    bool caseNumVariable = false;
    bool weightVariable = false;
    MEASUREMENT_LEVEL measurementLevel = UNSPECIFIED;
};

namespace {

std::string utf8FromLocal(std::string const& text) {
    return XUtility::ChartStringFromLocalCodePage(text).toUTF8();
}

unsigned long labelingCounter = 0;

}  // namespace

GGraphVariable::GGraphVariable(VariableResolver* resolver)
    : d(std::make_unique<GGraphVariableData>()) {
    d->resolver.reset(resolver);
    if (!resolver)
        return;
    if (resolver->getVariableType() == VariableResolver::DICTIONARY_VARIABLE) {
        if (KWEL_Variable const* variable = resolver->getKWELVariable())
            d->kwelName = variable->GetName();
    } else {
        d->kwelName = resolver->getMRSetName();
    }
    d->unicodeKwelName = utf8FromLocal(d->kwelName);
    d->unicodeGplLabel = d->unicodeKwelName;
}

GGraphVariable::GGraphVariable(SYSVAR kind, VariableResolver* resolver)
    : d(std::make_unique<GGraphVariableData>()) {
    d->resolver.reset(resolver);
    // Any other kind makes a nameless variable; that is accepted as it is.
    if (kind == SYSVAR_CASENUM) {
        d->caseNumVariable = true;
        d->gplLabel = "$CASENUM";
    } else if (kind == SYSVAR_WEIGHT) {
        d->weightVariable = true;
        d->gplLabel = "$WEIGHT";
    }
    d->kwelName = d->unicodeGplLabel = d->unicodeKwelName = d->gplLabel;
}

GGraphVariable::~GGraphVariable() = default;

std::string const& GGraphVariable::GetGPLLabel() const {
    return d->gplLabel;
}
std::string const& GGraphVariable::GetUnicodeGPLLabel() const {
    return d->unicodeGplLabel;
}
std::string const& GGraphVariable::GetKWELName() const {
    return d->kwelName;
}
std::string const& GGraphVariable::GetUnicodeKWELName() const {
    return d->unicodeKwelName;
}

std::string GGraphVariable::GetVariableName() const {
    return d->gplLabel.empty() ? d->kwelName : d->gplLabel;
}

std::string GGraphVariable::GetVariableUnicodeName() const {
    return d->unicodeGplLabel.empty() ? d->unicodeKwelName : d->unicodeGplLabel;
}

std::string GGraphVariable::GetKWELLabel() const {
    std::string label;
    if (d->resolver) {
        if (KWEL_Variable const* variable = d->resolver->getKWELVariable()) {
            if (char const* text = variable->GetLabel())
                label = text;
        }
    }
    return label.empty() ? d->kwelName : label;
}

void GGraphVariable::SetGPLLabel(std::string const& label) {
    d->gplLabel = label;
    d->unicodeGplLabel = utf8FromLocal(label);
}

bool GGraphVariable::isCaseNumVariable() const {
    return d->caseNumVariable;
}
bool GGraphVariable::isWeightVariable() const {
    return d->weightVariable;
}
VariableResolver* GGraphVariable::getVariableResolver() const {
    return d->resolver.get();
}
void GGraphVariable::setMeasurmentLevel(MEASUREMENT_LEVEL level) {
    d->measurementLevel = level;
}
GGraphVariable::MEASUREMENT_LEVEL GGraphVariable::getMeasurmentLevel() const {
    return d->measurementLevel;
}
std::string& GGraphVariable::getLabelingVariable() {
    return d->labelingVariable;
}

std::string& GGraphVariable::createLabelingVariable() {
    d->labelingVariable = "labelingVariable_" + std::to_string(labelingCounter++);
    return d->labelingVariable;
}

bool GGraphVariable::isMRChild() const {
    return !d->mrParentName.empty();
}
std::string const& GGraphVariable::getMRParentName() const {
    return d->mrParentName;
}
void GGraphVariable::setMRParentName(std::string const& name) {
    d->mrParentName = name;
}
bool GGraphVariable::isString() const {
    return d->resolver && d->resolver->isString();
}

bool GGraphVariable::addVDPVariable(VarDataProcessor* vdp, std::string const& sourceName) {
    if (vdp == nullptr || sourceName.empty())
        return false;
    d->vdpVariable = std::make_unique<VarDataProcessor::_varinfo>();
    d->vdpLabelingVariable.reset();
    d->vdp = vdp;
    vdp->AddVariable(sourceName, GetVariableUnicodeName(), d->vdpVariable.get());
    if (!d->labelingVariable.empty()) {
        d->vdpLabelingVariable = std::make_unique<VarDataProcessor::_varinfo>();
        vdp->AddVariable(sourceName, d->labelingVariable, d->vdpLabelingVariable.get());
    }
    return true;
}

bool GGraphVariable::setNumericValue(double value, unsigned int row) {
    if (d->vdp == nullptr || !d->vdpVariable)
        return false;
    d->vdp->SetVariableValue(d->vdpVariable.get(), row, value);
    KWEL_Variable const* variable = d->resolver ? d->resolver->getKWELVariable() : nullptr;
    if (d->vdpLabelingVariable && variable != nullptr) {
        KWEL_ValueLabelMap labels = variable->GetValueLabels();
        labels.Reset();
        if (char const* label = labels.GetLabel(value))
            d->vdp->SetStringVariableValue(d->vdpLabelingVariable.get(), row, utf8FromLocal(label));
        else
            d->vdp->SetVariableValue(d->vdpLabelingVariable.get(), row, value);
    }
    return true;
}

bool GGraphVariable::setStringValue(std::string const& text, unsigned int row) {
    if (d->vdp == nullptr || !d->vdpVariable)
        return false;
    d->vdp->SetStringVariableValue(d->vdpVariable.get(), row, text);
    KWEL_Variable const* variable = d->resolver ? d->resolver->getKWELVariable() : nullptr;
    if (d->vdpLabelingVariable && variable != nullptr) {
        KWEL_ValueLabelMap labels = variable->GetValueLabels();
        labels.Reset();
        if (char const* label = labels.GetLabel(text)) {
            // A label's "\n" becomes a line break here only, not on the numeric path: intended.
            ChartString converted = XUtility::ChartStringFromLocalCodePage(label);
            ChartString from, to;
            from.assignUTF8("\\n");
            to.assignUTF8("\n");
            converted.replaceSubstring(from, to);
            d->vdp->SetStringVariableValue(d->vdpLabelingVariable.get(), row, converted.toUTF8());
        } else {
            d->vdp->SetStringVariableValue(d->vdpLabelingVariable.get(), row, text);
        }
    }
    return true;
}
