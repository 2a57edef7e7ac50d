import com.kwel.java_client.ui.dialogs.base.graphs.chart_builder.ConvertGPLToXml;

import java.io.ByteArrayInputStream;
import java.nio.charset.StandardCharsets;
import javax.xml.parsers.DocumentBuilderFactory;
import org.w3c.dom.Element;

/** The native method through the library as the client loads it. Argument: libkwelwggr.so. */
public class ConvertGPLToXmlTest {
    private static int failures = 0;

    private static void check(boolean ok, String what) {
        if (!ok) {
            System.err.println("FAILED: " + what);
            failures++;
        }
    }

    private static Element parse(String xml) throws Exception {
        DocumentBuilderFactory factory = DocumentBuilderFactory.newInstance();
        factory.setFeature("http://apache.org/xml/features/disallow-doctype-decl", true);
        return factory.newDocumentBuilder()
            .parse(new ByteArrayInputStream(xml.getBytes(StandardCharsets.UTF_8)))
            .getDocumentElement();
    }

    public static void main(String[] args) throws Exception {
        ConvertGPLToXml.loadLibrary(args[0]);
        ConvertGPLToXml converter = new ConvertGPLToXml();

        String gpl = "SOURCE: s=userSource(id(\"g\"))\n"
            + "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
            + "DATA: v=col(source(s), name(\"v\"))\n"
            + "GUIDE: text.title(label(\"Umsätze €\"))\n"
            + "ELEMENT: interval(position(c*v))\n";
        String xml = converter.convertGPL(gpl);
        check(xml != null && !xml.isEmpty(), "a chart for good GPL");
        Element chart = parse(xml);
        check(chart.getTagName().equals("chart"), "the root is <chart>, not " + chart.getTagName());
        check(chart.getAttribute("description").equals("ggraph"),
            "description \"ggraph\", not \"" + chart.getAttribute("description") + "\"");
        String text = chart.getElementsByTagName("gpl").item(0).getTextContent();
        check(text.contains("Umsätze €"), "the GPL's text survives both ways: " + text);

        check("".equals(converter.convertGPL("ELEMENT: (")), "empty for bad GPL");
        check("".equals(converter.convertGPL("")), "empty for no GPL");
        check("".equals(converter.convertGPL(null)), "empty for a null string");

        if (failures > 0) {
            System.exit(1);
        }
        System.out.println("ConvertGPLToXml: all checks passed");
    }
}
