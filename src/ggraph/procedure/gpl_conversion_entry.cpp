// The chart builder's way from GPL text to chart XML: no command, no data, no procedure.
#include <string>

#include "ggraph/chart/complete_chart.h"
#include "ggraph/model/ggraph_settings.h"
#include "ggraph/model/graph_spec.h"
#include "ggraph/variables/relabel_string.h"
#include "platform/chart.h"
#include "platform/entries.h"
#include "platform/jni_accessor.h"

namespace {

// The "modified UTF-8" that NewStringUTF reads: a character beyond the first plane as the two
// three-byte forms of its surrogates, NUL as two bytes. Anything else passes as it is.
std::string modifiedUtf8(std::string const& utf8) {
    std::string out;
    out.reserve(utf8.size());
    auto three = [&out](unsigned unit) {
        out += static_cast<char>(0xE0 | (unit >> 12));
        out += static_cast<char>(0x80 | ((unit >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (unit & 0x3F));
    };
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        auto const lead = static_cast<unsigned char>(utf8[i]);
        if (lead == 0) {
            out += "\xC0\x80";
        } else if (lead >= 0xF0 && lead <= 0xF4 && i + 3 < utf8.size()) {
            unsigned code = (lead & 0x07u) << 18;
            for (std::size_t k = 1; k <= 3; ++k)
                code |= (static_cast<unsigned char>(utf8[i + k]) & 0x3Fu) << (6 * (3 - k));
            code -= 0x10000;
            three(0xD800 + (code >> 10));
            three(0xDC00 + (code & 0x3FF));
            i += 3;
        } else {
            out += static_cast<char>(lead);
        }
    }
    return out;
}

}  // namespace

std::string convertGPLToChartXML(std::string const& gpl) {
    std::string result;
    XDocument document(gpl, true, true);
    if (document.implementationExists()) {
        CompleteChart complete;
        GGraphSettings settings;
        RelabelString relabel;
        GraphSpec spec;
        spec.SetOutputLabel("ggraph");
        // A label is given and there are no data sets: neither a dictionary nor a chart
        // variable is needed.
        (void)complete.Complete(&document, settings, spec, nullptr, relabel);
        result = document.getChartXML();
    }
    return result;
}

extern "C" JNIEXPORT jstring JNICALL
Java_com_kwel_java_1client_ui_dialogs_base_graphs_chart_1builder_ConvertGPLToXml_convertGPL(
    JNIEnv* env, jobject, jstring gpl) {
    if (env == nullptr)
        return nullptr;
    JNIAccessor accessor(env);
    std::string const text = accessor.FromJString(gpl, "utf-8");
    std::string result;
    try {
        result = convertGPLToChartXML(text);
    } catch (...) {
        // An exception must not reach the Java machine: the caller sees the empty result that
        // any GPL without a chart gives.
        result.clear();
    }
    return env->NewStringUTF(modifiedUtf8(result).c_str());
}
