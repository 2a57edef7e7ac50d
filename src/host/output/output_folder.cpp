#include "host/output/output_folder.h"

#include <ostream>
#include <regex>

#include "host/output/writers.h"

namespace host::output {
namespace {

bool isUnfinishedWrite(std::string const& name) {
    static std::regex const pattern(R"((output\.json|report\.html)\.tmp-[0-9]+)");
    return std::regex_match(name, pattern);
}

void removeMatching(std::filesystem::path const& folder, bool (*matches)(std::string const&)) {
    std::error_code ec;
    std::filesystem::directory_iterator it(folder, ec), end;
    for (; !ec && it != end; it.increment(ec)) {
        std::error_code ignored;
        if (it->is_regular_file(ignored) && matches(it->path().filename().string()))
            std::filesystem::remove(it->path(), ignored);
    }
}

}  // namespace

bool isChartFileName(std::string const& name) {
    static std::regex const pattern(R"(chart-[0-9]{3,}(\.(svg|png|pdf|xml)|-[A-Za-z0-9_-]+\.csv))");
    return std::regex_match(name, pattern);
}

files::WriteResult prepareOutputFolder(std::filesystem::path const& folder,
                                       std::string const& title) {
    std::error_code ignored;
    std::filesystem::remove(folder / "output.json", ignored);
    removeMatching(folder, isUnfinishedWrite);
    removeMatching(folder / "charts", isChartFileName);
    return files::writeFileAtomically(folder / "report.html", [&](std::ostream& out) {
        out << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>"
            << escapeHtml(title) << "</title>\n</head>\n<body>\n<h1>" << escapeHtml(title)
            << "</h1>\n<p>This run has not finished. When it ends, its report replaces this "
               "page; if this page stays, the run stopped before it could write one.</p>\n"
               "</body>\n</html>\n";
    });
}

}  // namespace host::output
