#include "host/dictionary/csv_reader.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <exception>
#include <mutex>
#include <set>
#include <string_view>
#include <thread>

#include "host/dictionary/csv_parser.h"
#include "platform/dictionary.h"

namespace host::dictionary {

namespace {

using csv::ColumnState;
using csv::RunResult;

// Lays a string column out with `per` cells per value, narrower or wider.
void relayout(CsvColumn& column, std::size_t per) {
    std::size_t const old = static_cast<std::size_t>(column.cellsPerValue);
    if (per > old) {
        csv::widen(column, per);
        return;
    }
    if (per == old)
        return;
    std::size_t const rows = column.cells.size() / old;
    for (std::size_t row = 1; row < rows; ++row) {  // narrower: move down in place
        std::memmove(column.cells.data() + row * per, column.cells.data() + row * old,
                     per * sizeof(OBS));
    }
    column.cells.resize(rows * per);
    column.cellsPerValue = static_cast<int>(per);
}

// A file cut into pieces at row boundaries, parsed side by side, each by the first thread free.
class PieceReader {
public:
    PieceReader(std::string_view text, std::string const& name, CsvOptions const& options)
        : text_(text), name_(name), options_(options) {}

    // Parses the rows from `dataStart` with the columns as `states` sets them out. The results
    // are in file order; a piece whose guessed start was inside a quoted field is parsed again
    // from where the piece before it really ended.
    std::vector<RunResult> parse(char const* dataStart, std::vector<ColumnState> const& states);
    // The table's column `c` that the runs wrote into, where they did.
    Cells& column(std::size_t c) { return columns_[c]; }

private:
    void watch(std::size_t pieces);
    // Sets aside each loaded column of the table, and in it a stretch for each piece.
    void layOut(std::vector<ColumnState> const& states, std::vector<std::size_t> const& bounds);
    // The columns as piece k writes them: into its stretches.
    std::vector<ColumnState> statesFor(std::size_t k, std::vector<ColumnState> const& states);
    template <class Work>
    void onThreads(std::size_t count, Work const& work);

    std::string_view text_;
    std::string const& name_;
    CsvOptions const& options_;
    csv::RunProgress progress_;
    std::mutex mutex_;
    std::condition_variable finished_;
    std::size_t done_ = 0;
    unsigned threads_ = 1;
    std::vector<Cells> columns_;
    std::vector<std::size_t> perValue_;  // cells per value of each column
    std::vector<std::size_t> offsets_;   // the first row of each piece's stretch
    std::vector<std::size_t> bounds_;    // and the rows it has room for
};

// Runs work(k) for every k below `count`, in order of k, on up to `threads` threads (this one
// among them), each taking the next k when it is done with one; the first failure is thrown.
template <class Work>
void PieceReader::onThreads(std::size_t count, Work const& work) {
    std::vector<std::exception_ptr> failures(count);
    std::atomic<std::size_t> next{0};
    auto take = [&] {
        for (std::size_t k; (k = next.fetch_add(1)) < count;) {
            try {
                work(k);
            } catch (...) {
                failures[k] = std::current_exception();  // out of memory, most likely
            }
        }
    };
    std::size_t const helpers = std::min<std::size_t>(threads_, count) - 1;
    std::vector<std::thread> workers;
    for (std::size_t w = 0; w < helpers; ++w) workers.emplace_back(take);
    take();
    for (auto& worker : workers) worker.join();
    for (auto const& failure : failures)
        if (failure)
            std::rethrow_exception(failure);
}

void PieceReader::layOut(std::vector<ColumnState> const& states,
                         std::vector<std::size_t> const& bounds) {
    bounds_ = bounds;
    offsets_.assign(bounds.size(), 0);
    std::size_t total = 0;
    for (std::size_t k = 0; k < bounds.size(); ++k) {
        offsets_[k] = total;
        total += bounds[k];
    }
    columns_.assign(states.size(), Cells{});
    perValue_.assign(states.size(), 1);
    for (std::size_t c = 0; c < states.size(); ++c) {
        if (!states[c].load)
            continue;
        if (!states[c].column.numeric && states[c].declaredWidth > 0)
            perValue_[c] = static_cast<std::size_t>(ObsCellsForWidth(states[c].declaredWidth));
        // Not zeroed here: each piece's thread is the first to touch its own stretch.
        columns_[c].resize(total * perValue_[c]);
    }
}

std::vector<ColumnState> PieceReader::statesFor(std::size_t k,
                                                std::vector<ColumnState> const& states) {
    std::vector<ColumnState> laid = states;
    for (std::size_t c = 0; c < laid.size(); ++c) {
        if (!laid[c].load)
            continue;
        laid[c].column.cellsPerValue = static_cast<int>(perValue_[c]);
        laid[c].region = columns_[c].data() + offsets_[k] * perValue_[c];
        laid[c].regionCapacity = bounds_[k] * perValue_[c];
    }
    return laid;
}

std::vector<RunResult> PieceReader::parse(char const* dataStart,
                                          std::vector<ColumnState> const& states) {
    char const* const end = text_.data() + text_.size();
    auto const bytes = static_cast<std::size_t>(end - dataStart);
    threads_ = std::max(1u, options_.threads ? options_.threads : std::thread::hardware_concurrency());
    std::size_t const wanted = options_.pieces ? options_.pieces : std::size_t{4} * threads_;
    std::size_t pieces = std::max<std::size_t>(
        1, std::min(wanted, bytes / std::max<std::size_t>(1, options_.minPieceBytes)));
    std::vector<char const*> starts{dataStart};
    for (std::size_t k = 1; k < pieces; ++k) {
        char const* start = csv::nextRowStart(dataStart + bytes * k / pieces, end);
        if (start > starts.back() && start < end)
            starts.push_back(start);
    }
    pieces = starts.size();
    auto stopOf = [&](std::size_t k) { return k + 1 < pieces ? starts[k + 1] : end; };

    // A piece holds no more rows than line ends (a row that runs on past its piece holds the
    // piece's last one), and the last piece one more where the text ends without one.
    std::vector<std::size_t> bounds(pieces);
    columns_.clear();  // a reader parses again when a column turns out to be text
    onThreads(pieces, [&](std::size_t k) {
        bounds[k] = csv::countLineEnds(starts[k], stopOf(k)) + (k + 1 == pieces ? 1 : 0);
    });
    layOut(states, bounds);

    std::vector<RunResult> results(pieces);
    done_ = 0;
    progress_.bytes = 0;
    progress_.rows = 0;
    auto run = [&](std::size_t k) {
        struct Done {  // counted however the piece ends, so that watch() returns
            PieceReader& reader;
            ~Done() {
                std::lock_guard lock(reader.mutex_);
                ++reader.done_;
                reader.finished_.notify_all();
            }
        } done{*this};
        csv::parseRows(text_, starts[k], stopOf(k), name_, statesFor(k, states), &progress_,
                       results[k]);
    };
    if (!options_.progress) {
        onThreads(pieces, run);
    } else {
        std::exception_ptr failure;
        std::thread parsing([&] {
            try {
                onThreads(pieces, run);
            } catch (...) {
                failure = std::current_exception();
            }
        });
        watch(pieces);
        parsing.join();
        if (failure)
            std::rethrow_exception(failure);
    }
    // Join: each piece must start where the one before it ended.
    std::vector<RunResult> joined;
    joined.push_back(std::move(results[0]));
    for (std::size_t k = 1; k < pieces; ++k) {
        char const* const at = joined.back().end;
        if (at == starts[k]) {
            joined.push_back(std::move(results[k]));
        } else if (at < stopOf(k)) {
            // Into the piece's own stretch again: [at, stop) holds no more line ends.
            RunResult result;
            csv::parseRows(text_, at, stopOf(k), name_, statesFor(k, states), nullptr, result);
            joined.push_back(std::move(result));
        }
        // else: a quoted field ran over the whole piece; its rows are in the one before.
        results[k] = RunResult{};
    }
    return joined;
}

// Reports progress now and then while the pieces are parsed.
void PieceReader::watch(std::size_t pieces) {
    std::unique_lock lock(mutex_);
    auto const total = static_cast<std::uint64_t>(text_.size());
    while (!finished_.wait_for(lock, std::chrono::milliseconds(200),
                               [&] { return done_ == pieces; })) {
        if (options_.progress)
            options_.progress(progress_.bytes.load(), total, progress_.rows.load());
    }
    if (options_.progress)
        options_.progress(total, total, progress_.rows.load());
}

// Columns that were read as numbers in one place and turned out to hold text in another: those
// are read again as text from the start, so that every value keeps its exact spelling.
std::set<std::size_t> columnsToReadAsText(std::vector<RunResult> const& pieces,
                                          std::vector<ColumnState> const& states) {
    std::set<std::size_t> again;
    for (std::size_t c = 0; c < states.size(); ++c) {
        if (!states[c].load || !states[c].column.numeric)
            continue;
        bool text = false;
        bool numbers = false;
        for (auto const& piece : pieces) {
            auto const& state = piece.states[c];
            text = text || !state.column.numeric;
            numbers = numbers || state.flippedLate ||
                      (state.column.numeric && (state.numbersSeen > 0 || state.tabbedBlanks));
        }
        if (text && numbers)
            again.insert(c);
    }
    return again;
}

// Joins the pieces of one column. Where every piece wrote into its stretch of `table`, the
// stretches are only closed up; else the pieces are joined into the first piece's values.
CsvColumn joinColumn(std::vector<RunResult>& pieces, std::size_t c, ColumnState const& declared,
                     Cells& table) {
    CsvColumn& first = pieces[0].states[c].column;
    bool text = false;
    bool inPlace = true;
    int maxLength = 0;
    int maxDecimals = 0;
    int textLength = 0;  // as text: a piece that held only blanks counts their width
    for (auto const& piece : pieces) {
        ColumnState const& state = piece.states[c];
        text = text || !state.column.numeric;
        inPlace = inPlace && state.region;
        maxLength = std::max(maxLength, state.column.maxLength);
        maxDecimals = std::max(maxDecimals, state.column.maxDecimals);
        textLength = std::max(textLength,
                              state.column.numeric ? state.blankLength : state.column.maxLength);
    }
    if (text)
        maxLength = textLength;
    // A piece that held only blanks may make the text wider than its stretches hold; the pieces
    // are then joined by copying, each value laid out again.
    if (text && inPlace) {
        int const width = declared.declaredWidth > 0 ? declared.declaredWidth : std::max(1, maxLength);
        for (auto const& piece : pieces)
            inPlace = inPlace && piece.states[c].column.cellsPerValue == ObsCellsForWidth(width);
    }
    if (inPlace) {
        // Blank lines, quoted line breaks and a last line without an end leave gaps.
        std::size_t at = 0;
        for (auto& piece : pieces) {
            ColumnState& state = piece.states[c];
            if (text && state.column.numeric) {  // held only empty cells
                std::fill(state.region, state.region + state.regionUsed, csv::blankCell());
                state.column.numeric = false;
            }
            if (state.region != table.data() + at)
                std::memmove(table.data() + at, state.region, state.regionUsed * sizeof(OBS));
            at += state.regionUsed;
        }
        table.resize(at);
        Cells& values = first.numeric ? first.numbers : first.cells;
        values = std::move(table);
        first.maxLength = maxLength;
        first.maxDecimals = maxDecimals;
        if (!first.numeric)
            first.width = declared.declaredWidth > 0 ? declared.declaredWidth : std::max(1, maxLength);
        return std::move(first);
    }
    for (auto& piece : pieces) piece.states[c].leaveRegion();
    Cells().swap(table);
    if (!text) {
        for (std::size_t k = 1; k < pieces.size(); ++k) {
            auto& numbers = pieces[k].states[c].column.numbers;
            first.numbers.insert(first.numbers.end(), numbers.begin(), numbers.end());
            Cells().swap(numbers);
        }
        first.maxLength = maxLength;
        first.maxDecimals = maxDecimals;
        return std::move(first);
    }
    for (auto& piece : pieces) {
        if (piece.states[c].column.numeric)  // held only empty cells
            csv::numbersToBlanks(piece.states[c].column);
    }
    // Past the declared width no text is kept, so it is the width; else the longest value.
    int const width = declared.declaredWidth > 0 ? declared.declaredWidth : std::max(1, maxLength);
    std::size_t const per = static_cast<std::size_t>(ObsCellsForWidth(width));
    relayout(first, per);
    for (std::size_t k = 1; k < pieces.size(); ++k) {
        auto& column = pieces[k].states[c].column;
        relayout(column, per);
        first.cells.insert(first.cells.end(), column.cells.begin(), column.cells.end());
        Cells().swap(column.cells);
    }
    first.width = width;
    first.maxLength = maxLength;
    return std::move(first);
}

struct MappedFile {
    void const* data = nullptr;
    std::size_t size = 0;
    void release() {
        if (data)
            munmap(const_cast<void*>(data), size);
        data = nullptr;
    }
    ~MappedFile() { release(); }
};


// Reads the table; `release` is called once the text is no longer needed, before the pieces
// are joined, so that the file's pages and a column joined by copying are not both held.
CsvTable readTable(std::string_view text, std::string const& name, CsvOptions const& options,
                   std::vector<Diagnostic>& messages, std::function<void()> const& release) {
    CsvTable table;
    csv::RunMessages headerMessages;
    std::vector<std::string> headers;
    char const* dataStart = nullptr;
    std::int64_t headerLines = 0;
    DiagnosticSink sink(messages);
    if (!csv::parseHeader(text, name, headers, dataStart, headerLines, headerMessages)) {
        headerMessages.replay(sink, 0);
        sink.finish();
        return table;
    }
    std::vector<bool> keep(headers.size(), true);
    if (options.select) {
        keep = options.select(headers);
        keep.resize(headers.size(), true);
    }
    std::vector<ColumnState> states(headers.size());
    for (std::size_t i = 0; i < headers.size(); ++i) {
        auto& state = states[i];
        state.column.header = headers[i];
        state.load = keep[i];
        state.column.loaded = keep[i];
        CsvColumnDeclaration declaration;
        if (options.declare)
            declaration = options.declare(headers[i]);
        state.declared = declaration.declared;
        if (declaration.declared) {
            state.column.numeric = declaration.numeric;
            state.declaredWidth = declaration.numeric ? 0 : declaration.width;
        }
        state.nullMarkers = std::move(declaration.nullMarkers);
    }

    PieceReader reader(text, name, options);
    std::vector<RunResult> pieces = reader.parse(dataStart, states);
    for (auto again = columnsToReadAsText(pieces, states); !again.empty();
         again = columnsToReadAsText(pieces, states)) {
        for (std::size_t c : again) states[c].column.numeric = false;
        pieces.clear();
        pieces = reader.parse(dataStart, states);
    }

    if (release)
        release();
    headerMessages.replay(sink, 0);
    std::int64_t line = headerLines;  // line breaks before the piece
    for (auto const& piece : pieces) {
        piece.messages.replay(sink, line);
        for (auto const& [row, at] : piece.rowLines)
            table.rowLines.emplace_back(table.rows + row, line + at);
        line += piece.lines;
        table.rows += piece.rows;
    }
    sink.finish();
    table.columns.resize(states.size());
    std::vector<std::size_t> loaded;
    for (std::size_t c = 0; c < states.size(); ++c) {
        if (states[c].load) {
            loaded.push_back(c);
            continue;
        }
        table.columns[c].header = headers[c];
        table.columns[c].loaded = false;
    }
    // Joining closes the gaps between the pieces' stretches, or copies the pieces of a column
    // that left its stretches: a column per core at once, since each column's pieces are its own.
    unsigned const threads = std::max(1u, options.threads ? options.threads
                                                          : std::thread::hardware_concurrency());
    auto joinEvery = [&](std::size_t first, std::size_t step) {
        for (std::size_t k = first; k < loaded.size(); k += step)
            table.columns[loaded[k]] =
                joinColumn(pieces, loaded[k], states[loaded[k]], reader.column(loaded[k]));
    };
    std::size_t const workers = pieces.size() > 1 ? std::min<std::size_t>(threads, loaded.size()) : 1;
    std::vector<std::thread> joiners;
    std::vector<std::exception_ptr> failures(std::max<std::size_t>(1, workers));
    for (std::size_t w = 1; w < workers; ++w)
        joiners.emplace_back([&, w] {
            try {
                joinEvery(w, workers);
            } catch (...) {
                failures[w] = std::current_exception();  // out of memory, most likely
            }
        });
    try {
        joinEvery(0, std::max<std::size_t>(1, workers));
    } catch (...) {
        failures[0] = std::current_exception();
    }
    for (auto& joiner : joiners) joiner.join();
    for (auto const& failure : failures)
        if (failure)
            std::rethrow_exception(failure);
    table.ok = true;
    return table;
}

}  // namespace

std::string CsvColumn::valueAt(std::size_t row) const {
    std::size_t const bytes = static_cast<std::size_t>(cellsPerValue) * sizeof(OBS);
    return std::string(reinterpret_cast<char const*>(cells.data()) + row * bytes,
                       static_cast<std::size_t>(width));
}

std::int64_t CsvTable::lineOf(std::int64_t row) const {
    auto after = std::upper_bound(rowLines.begin(), rowLines.end(), row,
                                  [](std::int64_t r, auto const& mark) { return r < mark.first; });
    if (after == rowLines.begin())
        return row + 2;  // a table not read from text: one header line, a line per row
    auto const& [first, line] = *(after - 1);
    return line + (row - first);
}

CsvTable readCsvText(std::string_view text, std::string const& name, CsvOptions const& options,
                     std::vector<Diagnostic>& messages) {
    return readTable(text, name, options, messages, {});
}

CsvTable readCsvText(std::string_view text, std::string const& name, CsvDeclare const& declare,
                     std::vector<Diagnostic>& messages) {
    CsvOptions options;
    options.declare = declare;
    return readCsvText(text, name, options, messages);
}

CsvTable readCsv(std::string const& path, CsvOptions const& options,
                 std::vector<Diagnostic>& messages) {
    auto fail = [&](std::string text) {
        Diagnostic d;
        d.level = Diagnostic::Error;
        d.file = path;
        d.text = std::move(text);
        messages.push_back(std::move(d));
        CsvTable table;
        table.unreadable = true;
        return table;
    };
    // Not blocking: opening a FIFO would otherwise wait for a writer.
    int const fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return fail(std::string("cannot open the data file: ") + std::strerror(errno));
    struct stat info {};
    if (::fstat(fd, &info) != 0) {
        int const error = errno;
        ::close(fd);
        return fail(std::string("cannot read the data file: ") + std::strerror(error));
    }
    if (!S_ISREG(info.st_mode)) {
        ::close(fd);
        return fail(S_ISDIR(info.st_mode)    ? "the data file is a directory, not a regular file"
                    : S_ISFIFO(info.st_mode) ? "the data file is a FIFO (pipe), not a regular file"
                                             : "the data file is not a regular file");
    }
    MappedFile file;
    file.size = static_cast<std::size_t>(info.st_size);
    if (file.size > 0) {
        void* data = ::mmap(nullptr, file.size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd, 0);
        if (data == MAP_FAILED) {
            int const error = errno;
            ::close(fd);
            return fail(std::string("cannot read the data file: ") + std::strerror(error));
        }
        ::madvise(data, file.size, MADV_SEQUENTIAL);
        file.data = data;
    }
    ::close(fd);
    return readTable(std::string_view(static_cast<char const*>(file.data), file.size), path,
                     options, messages, [&file] { file.release(); });
}

}  // namespace host::dictionary
