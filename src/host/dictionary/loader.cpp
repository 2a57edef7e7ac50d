#include "host/dictionary/loader.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <new>
#include <unordered_map>
#include <unordered_set>
#include <string_view>

#include "host/dictionary/csv_reader.h"
#include "host/dictionary/date_columns.h"
#include "host/dictionary/formats.h"
#include "host/dictionary/number_text.h"
#include "host/dictionary/progress.h"

namespace host::dictionary {

namespace {

constexpr std::size_t kMaxNameLength = 64;

bool isNameByte(unsigned char c, bool first) {
    if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c >= 0x80 || c == '@' || c == '#') {
        return true;
    }
    return !first && ((c >= '0' && c <= '9') || c == '_' || c == '.' || c == '$');
}

std::string shortened(std::string const& text) {
    constexpr std::size_t kShown = 60;
    if (text.size() <= kShown)
        return text;
    std::size_t cut = kShown;
    while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
    return text.substr(0, cut) + "... (" + std::to_string(text.size()) + " bytes)";
}

class Builder {
public:
    Builder(Dictionary const* dictionary, std::vector<Diagnostic>& messages)
        : dictionary_(dictionary), messages_(messages) {
        if (!dictionary_)
            return;
        for (auto const& field : dictionary_->fields) {
            // Names match columns whatever their case, so "X" and "x" describe one column.
            auto const [first, added] = fields_.try_emplace(upper(field.name), &field);
            if (!added)
                warning(dictionary_->file, field.place,
                        "field \"" + field.name + "\" describes a column already described by "
                        "field \"" + first->second->name + "\" (names match whatever their "
                        "case): the column is described twice; the second field is ignored");
        }
    }

    DictField const* fieldFor(std::string const& header) const {
        if (fields_.empty())
            return nullptr;
        auto found = fields_.find(upper(header));
        if (found == fields_.end())
            found = fields_.find(upper(variableNameFor(header, 0)));
        return found == fields_.end() ? nullptr : found->second;
    }

    CsvColumnDeclaration declare(std::string const& header) const {
        CsvColumnDeclaration declaration;
        DictField const* field = fieldFor(header);
        if (!field)
            return declaration;
        bool const isString =
            field->type == "string" || (field->type.empty() && field->formatType == FMT_A);
        bool const isNumber =
            field->type == "number" || field->type == "integer" ||
            (field->type.empty() && field->formatType != 0 && field->formatType != FMT_A);
        if (isString || isNumber) {
            declaration.declared = true;
            declaration.numeric = isNumber;
            declaration.width = field->width;
        }
        if (dateKindOf(*field)) {  // read as text, then as dates (date_columns.cpp)
            declaration.declared = true;
            declaration.numeric = false;
            declaration.width = 0;
        }
        for (auto const& value : field->missing) {
            double number;
            if (!value.isNumber && !numberFromText(value.text, number)) {
                declaration.nullMarkers.push_back(value.text);
            }
        }
        return declaration;
    }

    // Names the columns (as build() will) and says which of them to read.
    std::vector<bool> select(std::vector<std::string> const& headers,
                             ColumnSelection const* selection);
    void build(CsvTable& table, Dataset& dataset);

    // A date field: of a date type, or numeric with a date print format.
    static std::optional<DateKind> dateKindOf(DictField const& field) {
        if (auto kind = dateKindOfType(field.type))
            return kind;
        if (field.type != "string" && isDateFormatType(field.formatType))
            return field.formatType == FMT_TIME || field.formatType == FMT_DTIME ||
                           field.formatType == FMT_MTIME
                       ? DateKind::Time
                   : field.formatType == FMT_DATETIME || field.formatType == FMT_YMDHMS
                       ? DateKind::DateTime
                       : DateKind::Date;
        return std::nullopt;
    }
    void readDates(CsvTable& table, std::string const& file) {
        dateKinds_ = convertDateColumns(
            table,
            [&](std::string const& header) -> std::optional<DateKind> {
                DictField const* field = fieldFor(header);
                return field ? dateKindOf(*field) : std::nullopt;
            },
            file, messages_);
    }

private:
    void error(std::string const& file, DictPlace place, std::string text) {
        Diagnostic d;
        d.level = Diagnostic::Error;
        d.file = file;
        d.line = place.line;
        d.column = place.column;
        d.text = std::move(text);
        messages_.push_back(std::move(d));
    }
    void warning(std::string const& file, DictPlace place, std::string text) {
        error(file, place, std::move(text));
        messages_.back().level = Diagnostic::Warning;
    }
    void nameColumns(std::vector<std::string> const& headers);
    void applyField(DictField const& field, Variable& variable);
    void applySets(Dataset& dataset);

    Dictionary const* dictionary_;
    std::vector<Diagnostic>& messages_;
    std::unordered_map<std::string, DictField const*> fields_;  // by upper-cased name
    std::vector<std::string> names_;                             // of every column
    std::vector<std::optional<DateKind>> dateKinds_;
};

void Builder::nameColumns(std::vector<std::string> const& headers) {
    if (names_.size() == headers.size())
        return;
    names_.clear();
    std::unordered_set<std::string> taken;
    // The first suffix of a name not yet tried: the ones below it are taken, and stay taken.
    std::unordered_map<std::string, int> nextSuffix;
    for (std::size_t i = 0; i < headers.size(); ++i) {
        std::string name = variableNameFor(headers[i], i);
        if (!taken.insert(upper(name)).second) {
            std::string const base = name;
            int& n = nextSuffix.try_emplace(upper(base), 2).first->second;
            do {
                name = base + "_" + std::to_string(n++);
            } while (!taken.insert(upper(name)).second);
        }
        names_.push_back(std::move(name));
    }
}

std::vector<bool> Builder::select(std::vector<std::string> const& headers,
                                  ColumnSelection const* selection) {
    nameColumns(headers);
    if (!selection)
        return std::vector<bool>(headers.size(), true);
    ColumnSelection wanted = *selection;
    if (dictionary_) {
        if (dictionary_->weight)
            wanted.add(*dictionary_->weight);
        for (auto const& name : dictionary_->split) wanted.add(name);
        for (auto const& set : dictionary_->mrsets) {
            for (auto const& name : set.variables) wanted.add(name);
        }
    }
    return wanted.keep(names_);
}

void Builder::build(CsvTable& table, Dataset& dataset) {
    dataset.cases = table.rows;
    std::vector<std::string> headers;
    for (auto const& column : table.columns) headers.push_back(column.header);
    nameColumns(headers);
    std::unordered_set<DictField const*> used;
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
        auto& column = table.columns[i];
        std::string const& name = names_[i];
        if (name != column.header) {
            Diagnostic d;
            d.level = Diagnostic::Warning;
            d.file = dataset.path;
            d.line = 1;
            d.text = "column " + std::to_string(i + 1) + ": the header \"" +
                     shortened(column.header) + "\" is no usable variable name; the variable is called " +
                     shortened(name);
            messages_.push_back(std::move(d));
        }
        DictField const* field = fieldFor(column.header);
        if (field)
            used.insert(field);
        if (!column.loaded)
            continue;
        auto data = std::make_unique<Variable>();
        data->name = name;
        Cells cells;
        if (column.numeric) {
            data->width = 0;
            cells = std::move(column.numbers);
            int const decimals =
                field && field->type == "integer" ? 0 : std::min(column.maxDecimals, 16);
            int width = std::max(8, std::min(column.maxLength, 40));
            if (width <= decimals + 1)
                width = decimals + 2;
            data->format = KwelFormatPack(FMT_F, width, decimals);
            data->measure = MEASURE_SCALE;
            if (i < dateKinds_.size() && dateKinds_[i])
                data->format = KwelFormatPack(dateFormatType(*dateKinds_[i]),
                                              dateFormatWidth(*dateKinds_[i]), 0);
        } else {
            data->width = column.width;
            cells = std::move(column.cells);
            data->format = KwelFormatPack(FMT_A, std::min(data->width, 255), 0);
            data->measure = MEASURE_NOMINAL;
        }
        data->labels = std::make_shared<ValueLabels>(ValueLabels{data->width, {}});
        if (field)
            applyField(*field, *data);
        appendVariable(dataset, std::move(data), std::move(cells));
    }
    if (!dictionary_)
        return;
    for (auto const& field : dictionary_->fields) {
        if (!used.count(&field) && fieldFor(field.name) == &field) {
            error(dictionary_->file, field.place,
                  "field \"" + field.name + "\" names a column that " + dataset.path +
                      " does not have; the field is ignored");
        }
    }
    if (dictionary_->weight) {
        int const index = findVariable(dataset, *dictionary_->weight);
        if (index < 0) {
            error(dictionary_->file, dictionary_->weightPlace,
                  "the weight variable \"" + *dictionary_->weight +
                      "\" does not exist; the cases are not weighted");
        } else if (variableAt(dataset, index).width != 0) {
            error(dictionary_->file, dictionary_->weightPlace,
                  "the weight variable \"" + *dictionary_->weight +
                      "\" is a string; the cases are not weighted");
        } else {
            dataset.weight = index;
        }
    }
    for (auto const& name : dictionary_->split) {
        int const index = findVariable(dataset, name);
        if (index < 0) {
            error(dictionary_->file, dictionary_->splitPlace,
                  "the split variable \"" + name + "\" does not exist; it is left out");
        } else {
            dataset.split.push_back(index);
        }
    }
    applySets(dataset);
    for (std::size_t i = 0; i < dictionary_->currencies.size(); ++i) {
        currencyFormat::SetCCX(static_cast<int>(i), dictionary_->currencies[i].first,
                               dictionary_->currencies[i].second);
    }
}

void Builder::applyField(DictField const& field, Variable& variable) {
    std::string const& file = dictionary_->file;
    std::string const what = "field \"" + field.name + "\"";
    bool const numeric = variable.width == 0;
    if (field.title) {
        variable.label = *field.title;
        variable.hasLabel = true;
    }
    if (field.formatType != 0) {
        if (!formatFitsVariable(field.formatType, numeric)) {
            error(file, field.place,
                  what + ": the print format " + formatTypeName(field.formatType) +
                      " does not fit a " + (numeric ? "numeric" : "string") +
                      " variable; it is ignored");
        } else if (numeric) {
            int const width =
                field.formatWidth > 0 ? field.formatWidth : KwelFormatWidth(variable.format);
            variable.format = KwelFormatPack(field.formatType, width, field.formatDecimals);
        }
    }
    auto labels = std::make_shared<ValueLabels>(ValueLabels{variable.width, {}});
    for (auto const& [value, label] : field.categories) {
        double number = value.number;
        if (numeric && !value.isNumber && !numberFromText(value.text, number)) {
            error(file, field.place,
                  what + ": the category value \"" + value.text +
                      "\" is not a number, as the variable is numeric; it is ignored");
            continue;
        }
        if (!numeric && value.isNumber)
            warning(file, field.place,
                    what + ": the category value " + value.text +
                        " is a number, but the variable holds text; it labels the text \"" +
                        value.text + "\"");
        labels->entries.push_back(makeLabelEntry(variable, number, value.text, label));
    }
    variable.labels = labels;
    if (!field.categories.empty() && field.measure < 0 && numeric)
        variable.measure = MEASURE_NOMINAL;
    if (field.measure >= 0)
        variable.measure = field.measure;
    for (auto const& value : field.missing) {
        if (!numeric) {
            variable.missingTexts.push_back(trimRight(value.text));
            continue;
        }
        double number = value.number;
        if (value.isNumber || numberFromText(value.text, number))
            variable.missingNumbers.push_back(number);
    }
    if (field.hasMissingRange) {
        if (!numeric) {
            error(file, field.place,
                  what + ": a string variable cannot have a missing range; it is ignored");
        } else {
            variable.hasMissingRange = true;
            variable.missingLow = field.missingLow;
            variable.missingHigh = field.missingHigh;
        }
    }
}

void Builder::applySets(Dataset& dataset) {
    for (auto const& set : dictionary_->mrsets) {
        std::vector<std::string> members;
        bool numeric = false;
        bool string = false;
        for (auto const& name : set.variables) {
            int const index = findVariable(dataset, name);
            if (index < 0) {
                error(dictionary_->file, set.place,
                      "multiple-response set \"" + set.name + "\": the member \"" + name +
                          "\" does not exist; it is left out");
                continue;
            }
            (variableAt(dataset, index).width == 0 ? numeric : string) = true;
            members.push_back(variableAt(dataset, index).name);
        }
        if (numeric && string) {
            error(dictionary_->file, set.place,
                  "multiple-response set \"" + set.name +
                      "\" mixes numeric and string members; the set is left out");
            continue;
        }
        double number;
        if (set.type == VariableSet::DICHOTOMY_SET && numeric &&
            !numberFromText(set.countedValue, number)) {
            error(dictionary_->file, set.place,
                  "multiple-response set \"" + set.name + "\": the counted value \"" +
                      set.countedValue +
                      "\" is not a number, as its members are numeric; the set is left out");
            continue;
        }
        dataset.sets.emplace_back(set.name, set.type, set.label, std::move(members),
                                  set.countedValue, set.useCategoryLabels);
    }
}

// Why a dictionary cannot be read, before it is opened: only a regular file of a sane size is
// (a FIFO would block, a device never end). Empty when it can.
std::string notARegularFile(std::string const& path) {
    constexpr std::uintmax_t kMaxDictionaryBytes = std::uintmax_t{1} << 30;
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0)
        return std::string("cannot open the dictionary: ") + std::strerror(errno);
    if (S_ISDIR(info.st_mode))
        return "the dictionary is a directory, not a regular file";
    if (!S_ISREG(info.st_mode))
        return "the dictionary is not a regular file (a FIFO or device?)";
    if (static_cast<std::uintmax_t>(info.st_size) > kMaxDictionaryBytes)
        return "the dictionary is larger than 1 GB; that is no dictionary";
    return {};
}

bool endsWithNoCase(std::string const& text, std::string const& suffix) {
    return text.size() >= suffix.size() &&
           equalsNoCase(std::string_view(text).substr(text.size() - suffix.size()), suffix);
}

}  // namespace

bool LoadResult::hasErrors() const {
    for (auto const& message : messages) {
        if (message.level == Diagnostic::Error)
            return true;
    }
    return false;
}

std::string variableNameFor(std::string const& header, std::size_t position) {
    std::string_view text = header;
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    std::string name;
    bool anyValid = false;
    for (char c : text) {
        bool const valid = isNameByte(static_cast<unsigned char>(c), false);
        anyValid = anyValid || (valid && c != '_');
        name.push_back(valid ? c : '_');
    }
    if (!anyValid)
        return "V" + std::to_string(position + 1);
    if (!isNameByte(static_cast<unsigned char>(name[0]), true))
        name.insert(name.begin(), 'V');
    if (name.back() == '.')
        name.back() = '_';  // a period would end the command that names it
    if (name.size() > kMaxNameLength) {
        std::size_t cut = kMaxNameLength;
        while (cut > 0 && (static_cast<unsigned char>(name[cut]) & 0xC0) == 0x80) --cut;
        name.resize(cut);
    }
    return name;
}

LoadResult loadCsv(std::string const& csvPath, Dictionary const* dictionary,
                   LoadOptions const& options) {
    LoadResult result;
    result.dataset = std::make_shared<Dataset>();
    result.dataset->path = csvPath;
    Builder builder(dictionary, result.messages);
    try {
        CsvOptions csv;
        csv.declare = [&](std::string const& header) { return builder.declare(header); };
        csv.select = [&](std::vector<std::string> const& headers) {
            return builder.select(headers, options.columns);
        };
        csv.progress = options.progress;
        std::optional<ProgressLine> line;
        if (!csv.progress && progressEnabled()) {
            line.emplace("Reading " + csvPath);
            csv.progress = [&line](std::uint64_t done, std::uint64_t total, std::int64_t rows) {
                line->update(done, total, rows);
            };
        }
        CsvTable table = readCsvCached(csvPath, csv, options.cache, result.messages);
        if (!table.ok) {
            // A file that could not be read stops procedures over it. One that holds no header
            // (an empty file) is an error said once; the job runs on over a dataset without
            // variables, so that charts of other datasets are still made.
            result.unreadable = table.unreadable;
            result.dataset->fatal = table.unreadable;
            return result;
        }
        builder.readDates(table, csvPath);
        builder.build(table, *result.dataset);
    } catch (std::bad_alloc const&) {
        // Wide declared strings times many rows can ask for more than the machine has.
        Diagnostic d;
        d.level = Diagnostic::Error;
        d.file = csvPath;
        d.text =
            "there is not enough memory to hold the data (are string widths declared far "
            "wider than needed?)";
        result.messages.push_back(std::move(d));
        result.dataset = std::make_shared<Dataset>();
        result.dataset->path = csvPath;
        result.dataset->fatal = true;
    }
    return result;
}

LoadResult loadDataset(std::string const& path, LoadOptions const& options) {
    std::vector<Diagnostic> messages;
    std::optional<Dictionary> dictionary;
    std::string csvPath = path;
    if (endsWithNoCase(path, ".json")) {
        if (std::string const why = notARegularFile(path); !why.empty()) {
            Diagnostic d;
            d.level = Diagnostic::Error;
            d.file = path;
            d.text = why;
            messages.push_back(std::move(d));
        } else {
            dictionary = readDictionary(path, messages);
        }
        if (dictionary && dictionary->csvPath.empty()) {
            Diagnostic d;
            d.level = Diagnostic::Error;
            d.file = path;
            d.text = "the dictionary has no \"path\" naming its CSV file";
            messages.push_back(std::move(d));
            dictionary.reset();
        }
        if (!dictionary) {
            LoadResult failed;
            failed.unreadable = true;
            failed.dataset = std::make_shared<Dataset>();
            failed.dataset->fatal = true;
            failed.dataset->path = path;
            failed.messages = std::move(messages);
            return failed;
        }
        csvPath = dictionary->csvPath;
    } else {
        std::error_code ignored;
        if (std::filesystem::exists(path + ".json", ignored)) {
            if (std::string const why = notARegularFile(path + ".json"); !why.empty()) {
                Diagnostic d;
                d.level = Diagnostic::Error;
                d.file = path + ".json";
                d.text = why;
                messages.push_back(std::move(d));
            } else {
                dictionary = readDictionary(path + ".json", messages);
            }
            if (!dictionary) {
                Diagnostic d;
                d.level = Diagnostic::Warning;
                d.file = path + ".json";
                d.text = "the dictionary cannot be used; the data is read without it";
                messages.push_back(std::move(d));
            }
        }
    }
    LoadResult result = loadCsv(csvPath, dictionary ? &*dictionary : nullptr, options);
    messages.insert(messages.end(), result.messages.begin(), result.messages.end());
    result.messages = std::move(messages);
    return result;
}

}  // namespace host::dictionary
