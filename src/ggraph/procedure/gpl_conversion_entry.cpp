// The chart builder's way from GPL text to chart XML: no command, no data, no procedure.
#include <string>

#include "ggraph/chart/complete_chart.h"
#include "ggraph/model/ggraph_settings.h"
#include "ggraph/model/graph_spec.h"
#include "ggraph/variables/relabel_string.h"
#include "platform/chart.h"
#include "platform/entries.h"
#include "platform/jni_accessor.h"

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
    if (env == nullptr) return nullptr;
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
    return env->NewStringUTF(result.c_str());
}
