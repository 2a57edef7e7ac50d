#include "host/chart/spec/data_labels.h"

#include <pugixml.hpp>

#include <fmt/format.h>

#include "host/chart/gpl_syntax.h"

namespace host::chart {

namespace {

// The chart variable a template names: by its name, else by its column, without regard to case.
std::string chartVariable(ChartModel const& model, std::string const& name) {
    std::string const wanted = gpl::lower(name);
    for (auto const& v : model.variables)
        if (gpl::lower(v.name) == wanted)
            return v.name;
    for (auto const& v : model.variables)
        if (gpl::lower(v.column) == wanted)
            return v.name;
    return {};
}

}  // namespace

void readDataLabelTemplates(Spec& spec, ChartModel const& model,
                            std::vector<std::string>& warnings) {
    for (auto const& text : model.inlineTemplates) {
        if (text.find("addDataLabels") == std::string::npos)
            continue;
        pugi::xml_document doc;
        if (!doc.load_string(text.c_str())) {
            warnings.push_back("a data-label template is not well-formed XML; it is ignored");
            continue;
        }
        pugi::xml_node root = doc.child("addDataLabels");
        if (!root) {
            warnings.push_back(
                "a data-label template must have <addDataLabels> as its root; it is ignored");
            continue;
        }
        std::string named;
        for (pugi::xml_node n : root.children("labeling"))
            if (pugi::xml_attribute a = n.attribute("variable"); a && !named.size())
                named = a.as_string();
        std::string variable = named.empty() ? "" : chartVariable(model, named);
        if (!named.empty() && variable.empty()) {
            warnings.push_back(fmt::format(
                "the data-label template names \"{}\", which is no variable of the chart; the "
                "marks are labelled with their values",
                named));
        }
        spec.dataLabels.on = true;
        spec.dataLabels.variable = variable;
    }
}

}  // namespace host::chart
