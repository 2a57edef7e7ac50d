#include "platform/lume.h"

#include <filesystem>

#include "host/files/file_io.h"
#include "host/output/document.h"
#include "host/vizjson/vega_lite.h"
#include "platform/chart.h"
#include "platform/var_data_processor.h"

struct xLume::Data {
    std::string text;
    std::string folder;  // where relative data URLs lead
    std::vector<std::pair<std::string, std::string>> geoJson;
    std::u16string description;
};

xLume::xLume() : d(std::make_unique<Data>()) {}
xLume::~xLume() = default;

bool xLume::setViZJSON(std::string const& file) {
    auto const path = host::files::resolve(file);
    auto read = host::files::readFile(path);
    if (!read.ok || read.bytes.empty())
        return false;
    d->text = std::move(read.bytes);
    d->folder = path.parent_path().string();
    return true;
}

void xLume::setViZJSONTemplate(std::string const& text) {
    d->text = text;
    d->folder = host::files::jobFolder().string();
}

bool xLume::addGeoJSON(std::string const& file) {
    auto read = host::files::readFile(host::files::resolve(file));
    if (!read.ok || read.bytes.empty())
        return false;
    d->geoJson.push_back({file, std::move(read.bytes)});
    return true;
}

void xLume::SetDescription(unsigned short const* text) {
    d->description.clear();
    for (auto const* p = text; p && *p; ++p) d->description += static_cast<char16_t>(*p);
}

void xLume::sendChart() const {
    auto& out = host::output::current();
    auto translation = host::vizjson::translateText(d->text, d->folder, d->geoJson);
    for (auto const& w : translation.warnings) out.addMessage(2, "JSON chart: " + w);
    if (translation.gpl.empty()) {
        out.addMessage(
            2, "JSON chart: the chart has nothing this engine can draw; no chart is made");
        return;
    }
    XDocument document(translation.gpl, true, true);
    if (!document.implementationExists()) {
        out.addMessage(2, "JSON chart: the chart could not be made: " + document.errorText());
        return;
    }
    for (auto const& [name, contents] : translation.maps) document.setVIZMap(name, contents);
    std::vector<unsigned short> wide(d->description.begin(), d->description.end());
    wide.push_back(0);
    document.SetDescription(wide.data());
    document.SetChartData(translation.rows.get());
    document.Send(true, false, false);
}
