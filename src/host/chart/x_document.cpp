#include "platform/chart.h"
#include "platform/output.h"

#include <stdexcept>

#include "host/chart/chart_model.h"
#include "host/chart/chart_send.h"
#include "host/files/file_io.h"
#include "host/chart/chart_xml.h"

namespace {

std::string utf8(unsigned short const* wide) {
    if (!wide)
        return {};
    std::u16string text;
    for (auto const* p = wide; *p; ++p) text += static_cast<char16_t>(*p);
    return ChartString(text).toUTF8();
}

ChartString chartText(std::string const& utf8Text) {
    ChartString s;
    s.assignUTF8(utf8Text);
    return s;
}

}  // namespace

ChartString XBaseElement::ChartStringFromLocalCodePage(std::string const& text) {
    return XUtility::ChartStringFromLocalCodePage(text);
}
ChartString XBaseElement::ChartStringFromOLANG(std::string const& text) {
    return XUtility::ChartStringFromOLANG(text);
}

// --- XVariable

void XVariable::setLabel(ChartString const& label) {
    r_->label = label.toUTF8();
}
ChartString XVariable::getLabel() const {
    return chartText(r_->label);
}
void XVariable::setShortLabel(ChartString const& label) {
    r_->shortLabel = label.toUTF8();
}
ChartString XVariable::getShortLabel() const {
    return chartText(r_->shortLabel);
}
void XVariable::setCreator(CREATOR creator) {
    r_->creator = creator;
}
XVariable::CREATOR XVariable::getCreator() const {
    return static_cast<CREATOR>(r_->creator);
}
void XVariable::setCategorical(bool categorical) {
    r_->categorical = categorical;
}
bool XVariable::getCategorical() const {
    return r_->categorical;
}

void XVariable::setFormatWord(unsigned int packed) {
    r_->format = {};
    r_->format.set = true;
    r_->format.packed = packed;
    r_->format.decimals = static_cast<int>(packed & 0xFF);
    unsigned type = (packed >> 16) & 0xFF;
    r_->format.grouping = type == 3 || type == 4 || type == 32;
    if (type == 4)
        r_->format.prefix = "$";
    if (type == 31)
        r_->format.suffix = "%";
}

void XVariable::SetNumberFormat(unsigned long digits, bool grouping, unsigned short const* prefix,
                                unsigned short const* suffix) {
    r_->format = {};
    r_->format.set = true;
    r_->format.decimals = static_cast<int>(digits > 15 ? 15 : digits);
    r_->format.grouping = grouping;
    r_->format.prefix = utf8(prefix);
    r_->format.suffix = utf8(suffix);
}

bool XVariable::doesFormatExist() const {
    return r_->format.set;
}
bool XVariable::isWeightVariable() const {
    return r_->weight;
}
bool XVariable::isCaseNumberVariable() const {
    return r_->caseNumber;
}

void XVariable::addRelabel(unsigned short const* value, unsigned short const* label) {
    std::string v = utf8(value), l = utf8(label);
    for (auto& r : r_->relabels)
        if (r.value == v) {
            r.label = l;  // a later label replaces an earlier one for the same value
            return;
        }
    r_->relabels.push_back({v, l});
}

void XVariable::addRelabel(unsigned int index, unsigned short const* label) {
    ChartString key;
    key.assignDouble(index, 16);
    addRelabel(key.xc_str(), label);
}

void XVariable::setStatistic(ENUM_statistic statistic, double a, double b, double c, bool flag) {
    r_->statistic = statistic;
    r_->statA = a;
    r_->statB = b;
    r_->statC = c;
    r_->statFlag = flag;
}
XVariable::ENUM_statistic XVariable::getStatistic() const {
    return static_cast<ENUM_statistic>(r_->statistic);
}
std::string XVariable::getName() const {
    return r_->name;
}
std::string XVariable::getSource() const {
    return r_->source;
}

// --- XGraph

std::vector<std::string> XGraph::getUserSourceNames() const {
    std::vector<std::string> out;
    for (auto const& s : m_->sources)
        if (s.kind == "userSource")
            out.push_back(s.id.empty() ? s.name : s.id);
    return out;
}

bool XGraph::doesSourceExist(ChartString const& source) const {
    std::string name = source.toUTF8();
    for (auto const& s : m_->sources)
        if (s.name == name || s.id == name)
            return true;
    return false;
}

bool XGraph::doesSubTitleExist() const {
    return m_->hasSubtitleInGpl();
}

void XGraph::SetSubTitle(unsigned short const* text) {
    m_->subtitle = utf8(text);
    m_->subtitleSet = true;
}

XVariable XGraph::getVariable(ChartString const& name, unsigned int instance) const {
    auto* record = m_->findVariable(name.toUTF8(), instance);
    if (!record)
        throw std::out_of_range("chart has no variable '" + name.toUTF8() + "' (instance " +
                                std::to_string(instance) + ")");
    return XVariable(record);
}

namespace {

// The GPL source whose id (or name) is `source`.
std::string gplSourceName(host::chart::ChartModel const& m, std::string const& source) {
    for (auto const& s : m.sources)
        if (s.id == source || s.name == source)
            return s.name;
    return source;
}

host::chart::ChartVariableRecord& addRecord(host::chart::ChartModel& m, std::string const& source,
                                            std::string const& column, bool categorical) {
    host::chart::ChartVariableRecord v;
    v.source = gplSourceName(m, source);
    v.column = column;
    v.name = column;
    v.categorical = categorical;
    v.declared = false;
    m.variables.push_back(std::move(v));
    return m.variables.back();
}

}  // namespace

XVariable XGraph::addCaseNumberVariable(std::string const& source) {
    auto& v = addRecord(*m_, source, "$CASENUM", true);
    v.caseNumber = true;
    v.creator = 1;
    return XVariable(&v);
}

XVariable XGraph::addWeightVariable(std::string const& source) {
    auto& v = addRecord(*m_, source, "$WEIGHT", false);
    v.weight = true;
    v.creator = 1;
    return XVariable(&v);
}

XVariable XGraph::addDataVariable(ChartString const& source, bool categorical,
                                  ChartString const& name) {
    return XVariable(&addRecord(*m_, source.toUTF8(), name.toUTF8(), categorical));
}

void XGraph::UpdateCategoricalDomains() {
    // Domains are trained from the rows and the relabels when the chart is drawn, so nothing
    // goes stale between completion and drawing.
}

void XGraph::copyVariableFormats() {
    // Variables over the same column share the first format that was set.
    for (auto& v : m_->variables) {
        if (v.format.set)
            continue;
        for (auto const& other : m_->variables)
            if (&other != &v && other.column == v.column && other.source == v.source &&
                other.format.set) {
                v.format = other.format;
                break;
            }
    }
}

void XGraph::tweakExpressionVars() {
    // TRANS variables take the label of the variable they are computed from only when they
    // have none; the engine draws no TRANS expressions yet, so there is nothing to copy.
}

// --- XDocument

namespace {

// A chart that cannot be made is an error of the job, which goes on with its next command. The
// text of a file names the file.
void reportNotMade(std::string const& text, std::string const& why) {
    auto const file = host::files::fetchedFileOf(text);
    std::string const where = file.empty() ? "" : "\"" + file.string() + "\": ";
    BpError(BpString("The chart was not made: " + where + why, false), BP_SHOW_OUTPUT,
            BP_LEVEL_ERROR);
}

}  // namespace

XDocument::XDocument(std::string const& gpl, bool, bool)
    : m_(new host::chart::ChartModel), graph_(m_) {
    host::chart::buildFromGpl(*m_, gpl);
    if (!m_->ok)
        reportNotMade(gpl, m_->error);
}

XDocument::XDocument(std::string const& xml) : m_(new host::chart::ChartModel), graph_(m_) {
    std::string error;
    if (!host::chart::readChartXml(xml, *m_, error)) {
        m_->ok = false;
        m_->error = error;
        reportNotMade(xml, error);
    }
}

XDocument::~XDocument() {
    delete m_;
}

bool XDocument::implementationExists() const {
    return m_->ok;
}
std::string const& XDocument::errorText() const {
    return m_->error;
}

void XDocument::setStyleSheet(std::string const& name, std::string const& contents) {
    m_->styleSheetName = name;
    m_->styleSheet = contents;
}
void XDocument::setEditor(EDITOR editor) {
    m_->editor = editor;
}
void XDocument::setVIZMap(std::string const& name, std::string const& contents) {
    m_->vizMaps.emplace_back(name, contents);
}
void XDocument::setVIZRefMap(std::string const& name, std::string const& contents) {
    m_->vizRefMaps.emplace_back(name, contents);
}

void XDocument::AddColorSpec(ColorSpec const& color) {
    auto clamp = [](int v) { return v < 0 ? 0 : v > 255 ? 255 : v; };
    m_->colorCycle[color.position] = {clamp(color.red), clamp(color.green), clamp(color.blue)};
}

void XDocument::SetOuterFrame(TEMPL_PARAM_ACT action) {
    m_->outerFrame = action;
}
void XDocument::SetInnerFrame(TEMPL_PARAM_ACT action) {
    m_->innerFrame = action;
}
void XDocument::SetXAxisGridlines(TEMPL_PARAM_ACT action) {
    m_->xGridlines = action;
}
void XDocument::SetYAxisGridlines(TEMPL_PARAM_ACT action) {
    m_->yGridlines = action;
}

void XDocument::SetDataHandle(ChartString const& source, ChartString const& handle) {
    m_->dataHandles[source.toUTF8()] = handle.toUTF8();
}

void XDocument::SetChartData(VarDataProcessor* data) {
    m_->data = data;
}

ChartString XDocument::GetDescription() const {
    return chartText(m_->description);
}
void XDocument::SetDescription(unsigned short const* text) {
    m_->description = utf8(text);
}
void XDocument::setEditable(EDITABLE editable) {
    m_->editable = editable != EDITABLE_NO;
}
void XDocument::setDefaultTemplateOwner(unsigned short const* owner) {
    m_->defaultTemplateOwner = utf8(owner);
}
void XDocument::setNoDefaultTemplates(int off) {
    m_->noDefaultTemplates = off != 0;
}
void XDocument::addTemplateFile(std::string const* file) {
    if (file)
        m_->templateFiles.push_back(*file);
}
void XDocument::addCSVFile(std::string const* file) {
    if (file)
        m_->csvFiles.push_back(*file);
}
void XDocument::addInlineTemplate(std::string const* xml) {
    if (xml)
        m_->inlineTemplates.push_back(*xml);
}
XGraph* XDocument::getGraph() {
    return &graph_;
}

void XDocument::Send(bool first, bool later, bool third) {
    host::chart::sendChart(*m_, first, later, third);
}

std::string XDocument::getChartXML() {
    return host::chart::writeChartXml(*m_);
}
