#pragma once
// The template library: chart templates (a GPL body with declared slots, docs/templates.md),
// found by name in a folder or read from a file, and filled with the variables of a mapping.

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host::chart {

struct TemplateSlot {
    enum class Kind { Categorical, Continuous, Any };
    std::string name;
    std::string role;
    bool required = false;
    Kind kind = Kind::Any;
};

struct ChartTemplate {
    std::string name;
    std::string description;
    std::vector<TemplateSlot> slots;
    std::string body;
    int bodyLine = 1;  // the file's line of the body's first line
    std::string file;

    // The slot of that name (any case).
    TemplateSlot const* slot(std::string_view name) const;
    // The slot a mapping key fills: the slot of that name, or else the one slot of that role.
    TemplateSlot const* slotFor(std::string_view key) const;
};

// Reads a template's text; on failure `error` says what is wrong and on which line.
std::optional<ChartTemplate> parseTemplate(std::string_view text, std::string const& file,
                                           std::string& error);

// The library's folder: `templates/` of the project unless set otherwise.
std::filesystem::path templateFolder();
void setTemplateFolder(std::filesystem::path folder);

// A template name as it is compared: lower case, without blanks, hyphens and underscores.
std::string templateKey(std::string_view name);

// The template called `name` among the files of `folder` (or the file of that name there).
std::optional<ChartTemplate> findTemplate(std::string const& name,
                                          std::filesystem::path const& folder, std::string& error);
// The template in the file at `path`.
std::optional<ChartTemplate> readTemplateFile(std::filesystem::path const& path, std::string& error);

// What fills one slot.
struct SlotFill {
    std::string slot;  // the key of the mapping
    std::string column;
    std::string dataSet;
    bool categorical = true;
    bool weight = false;
};

// The maps named for the chart, as the body's placeholders give them.
struct TemplateMaps {
    std::string map, refMap, mapKey;
    bool showAll = false;
};

struct TemplateInstance {
    std::string gpl;                    // empty when the template could not be filled
    std::vector<std::string> warnings;  // mappings left out
    std::string error;
};

// Fills the template: a SOURCE for each data set the slots draw on (with its weight), a DATA for
// each filled slot, then the body with its placeholders replaced.
TemplateInstance instantiate(ChartTemplate const& tmpl, std::vector<SlotFill> const& fills,
                             TemplateMaps const& maps);

}  // namespace host::chart
