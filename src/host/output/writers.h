#pragma once
// The three writers of the output document: console (stderr, as messages come), output.json and
// report.html (when the job is done).

#include <filesystem>
#include <iosfwd>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "host/files/file_io.h"
#include "host/output/document.h"

namespace host::output {

// Writes each warning and error as it is reported: "Warning: line 12: text" ("line N: " only when
// the line is known). Notes and lower levels are left to the written documents.
class ConsoleSink : public MessageSink {
public:
    explicit ConsoleSink(std::ostream& out);
    void onMessage(Item const& message) override;

private:
    std::ostream& out_;
};

// output.json: {"format": "ggraph-output/1", "items": [...]} (docs/output-json.md).
nlohmann::ordered_json toJson(Document const& document);
void writeJson(Document const& document, std::ostream& out);
files::WriteResult writeJsonFile(Document const& document, std::filesystem::path const& path);

struct HtmlOptions {
    std::string title = "GGRAPH output";  // the page's title and top heading (the job's name)
    bool showTrace = true;                // trace lines, folded away under their procedure
};

// report.html: one self-contained page (inline style, no script, no external resource).
void writeHtml(Document const& document, std::ostream& out, HtmlOptions const& options = {});
files::WriteResult writeHtmlFile(Document const& document, std::filesystem::path const& path,
                                 HtmlOptions const& options = {});

// Writes output.json and report.html into `folder` (which must exist). Both are attempted; the
// result names the first that failed.
files::WriteResult writeOutputs(Document const& document, std::filesystem::path const& folder,
                                HtmlOptions const& options = {});

// Text made safe for HTML and XML element content and attribute values; control characters
// other than tab and line ends become blanks.
std::string escapeHtml(std::string const& text);

}  // namespace host::output
