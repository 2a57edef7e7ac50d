#include "host/chart/chart_xml.h"

#include <cstdio>
#include <sstream>

#include <fmt/format.h>
#include <pugixml.hpp>

namespace host::chart {

namespace {

std::string num(double v) {
    return fmt::format("{}", v);
}  // shortest exact form

void writeVariable(pugi::xml_node parent, ChartVariableRecord const& v) {
    auto n = parent.append_child("variable");
    n.append_attribute("name") = v.name.c_str();
    n.append_attribute("column") = v.column.c_str();
    n.append_attribute("source") = v.source.c_str();
    n.append_attribute("categorical") = v.categorical;
    n.append_attribute("label") = v.label.c_str();
    n.append_attribute("shortLabel") = v.shortLabel.c_str();
    n.append_attribute("creator") = v.creator;
    n.append_attribute("declared") = v.declared;
    if (v.caseNumber)
        n.append_attribute("caseNumber") = true;
    if (v.weight)
        n.append_attribute("weight") = true;
    if (v.time)
        n.append_attribute("time") = true;
    if (v.statistic >= 0) {
        auto s = n.append_child("statistic");
        s.append_attribute("code") = v.statistic;
        s.append_attribute("a") = num(v.statA).c_str();
        s.append_attribute("b") = num(v.statB).c_str();
        s.append_attribute("c") = num(v.statC).c_str();
        s.append_attribute("flag") = v.statFlag;
    }
    if (v.format.set) {
        auto f = n.append_child("format");
        f.append_attribute("decimals") = v.format.decimals;
        f.append_attribute("grouping") = v.format.grouping;
        f.append_attribute("prefix") = v.format.prefix.c_str();
        f.append_attribute("suffix") = v.format.suffix.c_str();
        f.append_attribute("packed") = v.format.packed;
    }
    for (auto const& x : v.notIn) n.append_child("notIn").append_attribute("value") = x.c_str();
    for (auto const& r : v.relabels) {
        auto e = n.append_child("relabel");
        e.append_attribute("value") = r.value.c_str();
        e.append_attribute("label") = r.label.c_str();
    }
}

ChartVariableRecord readVariable(pugi::xml_node n) {
    ChartVariableRecord v;
    v.name = n.attribute("name").as_string();
    v.column = n.attribute("column").as_string();
    v.source = n.attribute("source").as_string();
    v.categorical = n.attribute("categorical").as_bool();
    v.label = n.attribute("label").as_string();
    v.shortLabel = n.attribute("shortLabel").as_string();
    v.creator = n.attribute("creator").as_int();
    v.declared = n.attribute("declared").as_bool(true);
    v.caseNumber = n.attribute("caseNumber").as_bool();
    v.weight = n.attribute("weight").as_bool();
    v.time = n.attribute("time").as_bool();
    if (auto s = n.child("statistic")) {
        v.statistic = s.attribute("code").as_int(-1);
        v.statA = s.attribute("a").as_double();
        v.statB = s.attribute("b").as_double();
        v.statC = s.attribute("c").as_double();
        v.statFlag = s.attribute("flag").as_bool();
    }
    if (auto f = n.child("format")) {
        v.format.set = true;
        v.format.decimals = f.attribute("decimals").as_int(-1);
        v.format.grouping = f.attribute("grouping").as_bool(true);
        v.format.prefix = f.attribute("prefix").as_string();
        v.format.suffix = f.attribute("suffix").as_string();
        v.format.packed = f.attribute("packed").as_uint();
    }
    for (auto x : n.children("notIn")) v.notIn.push_back(x.attribute("value").as_string());
    for (auto r : n.children("relabel"))
        v.relabels.push_back({r.attribute("value").as_string(), r.attribute("label").as_string()});
    return v;
}

}  // namespace

std::string writeChartXml(ChartModel const& m) {
    pugi::xml_document doc;
    auto decl = doc.append_child(pugi::node_declaration);
    decl.append_attribute("version") = "1.0";
    decl.append_attribute("encoding") = "UTF-8";
    auto chart = doc.append_child("chart");
    chart.append_attribute("version") = 1;
    chart.append_attribute("description") = m.description.c_str();
    chart.append_attribute("editable") = m.editable;
    if (m.subtitleSet)
        chart.append_attribute("subtitle") = m.subtitle.c_str();
    chart.append_attribute("editor") = m.editor;
    chart.append_child("gpl").text() = m.gpl.c_str();
    auto vars = chart.append_child("variables");
    for (auto const& v : m.variables) writeVariable(vars, v);
    auto look = chart.append_child("look");
    look.append_attribute("outerFrame") = m.outerFrame;
    look.append_attribute("innerFrame") = m.innerFrame;
    look.append_attribute("xGridlines") = m.xGridlines;
    look.append_attribute("yGridlines") = m.yGridlines;
    for (auto const& [position, c] : m.colorCycle) {
        auto e = look.append_child("color");
        e.append_attribute("position") = position;
        e.append_attribute("rgb") = fmt::format("#{:02X}{:02X}{:02X}", c.r, c.g, c.b).c_str();
    }
    auto templates = chart.append_child("templates");
    templates.append_attribute("defaultOwner") = m.defaultTemplateOwner.c_str();
    templates.append_attribute("noDefaults") = m.noDefaultTemplates;
    for (auto const& f : m.templateFiles) templates.append_child("file").text() = f.c_str();
    for (auto const& t : m.inlineTemplates) templates.append_child("inline").text() = t.c_str();
    for (auto const& f : m.csvFiles) chart.append_child("csvFile").text() = f.c_str();
    if (!m.styleSheetName.empty() || !m.styleSheet.empty()) {
        auto s = chart.append_child("styleSheet");
        s.append_attribute("name") = m.styleSheetName.c_str();
        s.text() = m.styleSheet.c_str();
    }
    for (auto const& [name, contents] : m.vizMaps) {
        auto e = chart.append_child("map");
        e.append_attribute("name") = name.c_str();
        e.text() = contents.c_str();
    }
    for (auto const& [name, contents] : m.vizRefMaps) {
        auto e = chart.append_child("refMap");
        e.append_attribute("name") = name.c_str();
        e.text() = contents.c_str();
    }
    for (auto const& [source, handle] : m.dataHandles) {
        auto e = chart.append_child("dataHandle");
        e.append_attribute("source") = source.c_str();
        e.append_attribute("handle") = handle.c_str();
    }
    std::ostringstream out;
    doc.save(out, "  ", pugi::format_default, pugi::encoding_utf8);
    return out.str();
}

bool readChartXml(std::string const& xml, ChartModel& m, std::string& error) {
    pugi::xml_document doc;
    // pugixml expands no entities beyond the predefined ones and reads no DTD.
    auto result =
        doc.load_buffer(xml.data(), xml.size(), pugi::parse_default | pugi::parse_ws_pcdata_single);
    if (!result) {
        error = fmt::format("chart XML: {} at offset {}", result.description(), result.offset);
        return false;
    }
    auto chart = doc.child("chart");
    if (!chart) {
        error = "chart XML: the root element is not <chart>";
        return false;
    }
    auto gplNode = chart.child("gpl");
    if (!gplNode) {
        error = "chart XML: <chart> has no <gpl> element";
        return false;
    }
    buildFromGpl(m, gplNode.text().as_string());
    if (!m.ok) {
        error = m.error;
        return false;
    }
    m.description = chart.attribute("description").as_string();
    m.editable = chart.attribute("editable").as_bool(true);
    if (auto s = chart.attribute("subtitle")) {
        m.subtitle = s.as_string();
        m.subtitleSet = true;
    }
    m.editor = chart.attribute("editor").as_int();
    if (auto vars = chart.child("variables")) {
        m.variables.clear();
        for (auto v : vars.children("variable")) m.variables.push_back(readVariable(v));
    }
    if (auto look = chart.child("look")) {
        m.outerFrame = look.attribute("outerFrame").as_int();
        m.innerFrame = look.attribute("innerFrame").as_int();
        m.xGridlines = look.attribute("xGridlines").as_int();
        m.yGridlines = look.attribute("yGridlines").as_int();
        for (auto c : look.children("color")) {
            unsigned v = 0;
            std::sscanf(c.attribute("rgb").as_string("#000000"), "#%x", &v);
            m.colorCycle[c.attribute("position").as_int()] = {int((v >> 16) & 255),
                                                              int((v >> 8) & 255), int(v & 255)};
        }
    }
    if (auto t = chart.child("templates")) {
        m.defaultTemplateOwner = t.attribute("defaultOwner").as_string();
        m.noDefaultTemplates = t.attribute("noDefaults").as_bool();
        for (auto f : t.children("file")) m.templateFiles.push_back(f.text().as_string());
        for (auto f : t.children("inline")) m.inlineTemplates.push_back(f.text().as_string());
    }
    for (auto f : chart.children("csvFile")) m.csvFiles.push_back(f.text().as_string());
    if (auto s = chart.child("styleSheet")) {
        m.styleSheetName = s.attribute("name").as_string();
        m.styleSheet = s.text().as_string();
    }
    for (auto e : chart.children("map"))
        m.vizMaps.emplace_back(e.attribute("name").as_string(), e.text().as_string());
    for (auto e : chart.children("refMap"))
        m.vizRefMaps.emplace_back(e.attribute("name").as_string(), e.text().as_string());
    for (auto e : chart.children("dataHandle"))
        m.dataHandles[e.attribute("source").as_string()] = e.attribute("handle").as_string();
    return true;
}

}  // namespace host::chart
