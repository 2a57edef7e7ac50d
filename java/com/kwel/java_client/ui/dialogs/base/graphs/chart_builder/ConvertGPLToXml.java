package com.kwel.java_client.ui.dialogs.base.graphs.chart_builder;

/** The chart builder's conversion of GPL text to chart XML, done by the command library. */
public class ConvertGPLToXml {
    /** Loads the command library from its path; once per process is enough. */
    public static void loadLibrary(String path) {
        System.load(path);
    }

    /** The chart XML of a GPL text; an empty string when the text makes no chart. */
    public native String convertGPL(String gpl);
}
