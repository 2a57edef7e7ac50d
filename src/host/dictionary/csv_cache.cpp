#include "host/dictionary/csv_cache.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <utility>

#include <nlohmann/json.hpp>

#include "host/files/file_io.h"

namespace host::dictionary {

namespace {

using host::files::readAt;
using host::files::writeAt;
using nlohmann::json;
namespace fs = std::filesystem;

// An entry: this fixed head, the description (JSON), then the blocks (the rows' lines and each
// read column's cells), each starting on a page so that a column can be mapped where it lies.
constexpr char kMagic[16] = "ggraph csvcache";  // 15 characters and a zero
constexpr int kFormat = 1;
constexpr std::size_t kHeadBytes = 32;  // magic, description length, where the blocks start
constexpr std::uint64_t kBlockAlign = 4096;
constexpr std::uint64_t kMaxDescriptionBytes = std::uint64_t{256} << 20;
constexpr std::size_t kSampleBytes = 64 << 10;
constexpr char kEntrySuffix[] = ".csvcache";

std::uint64_t fnv1a(void const* data, std::size_t size, std::uint64_t hash = 14695981039346656037ull) {
    auto const* bytes = static_cast<unsigned char const*>(data);
    for (std::size_t i = 0; i < size; ++i) {
        hash ^= bytes[i];
        hash *= 1099511628211ull;
    }
    return hash;
}

std::string hex(std::uint64_t value) {
    static char const digits[] = "0123456789abcdef";
    std::string text(16, '0');
    for (int i = 15; i >= 0; --i, value >>= 4) text[static_cast<std::size_t>(i)] = digits[value & 15];
    return text;
}

std::uint64_t alignUp(std::uint64_t bytes) {
    return (bytes + kBlockAlign - 1) / kBlockAlign * kBlockAlign;
}

std::string absolutePath(std::string const& path) {
    std::error_code error;
    fs::path const resolved = fs::weakly_canonical(fs::absolute(path, error), error);
    return error ? fs::absolute(path, error).lexically_normal().string() : resolved.string();
}

// What says that a CSV is still the file an entry was made from.
struct CsvIdentity {
    std::string path;  // absolute
    std::uint64_t size = 0;
    std::int64_t modifiedNs = 0;
    std::uint64_t inode = 0;
    std::uint64_t device = 0;
    std::uint64_t sample = 0;  // hash of the first and the last bytes

    json toJson() const {
        return {{"path", path},   {"size", size},     {"modified", modifiedNs},
                {"inode", inode}, {"device", device}, {"sample", hex(sample)}};
    }
};

// Nothing when the file is not a regular file that can be read: readCsv says why.
std::optional<CsvIdentity> identify(std::string const& path) {
    int const fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return std::nullopt;
    struct stat info {};
    std::optional<CsvIdentity> identity;
    if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode)) {
        CsvIdentity id;
        id.path = absolutePath(path);
        id.size = static_cast<std::uint64_t>(info.st_size);
        id.modifiedNs = static_cast<std::int64_t>(info.st_mtim.tv_sec) * 1000000000 + info.st_mtim.tv_nsec;
        id.inode = static_cast<std::uint64_t>(info.st_ino);
        id.device = static_cast<std::uint64_t>(info.st_dev);
        std::string head(std::min<std::uint64_t>(id.size, kSampleBytes), '\0');
        std::string tail(std::min<std::uint64_t>(id.size, kSampleBytes), '\0');
        if (readAt(fd, head.data(), head.size(), 0) &&
            readAt(fd, tail.data(), tail.size(), id.size - tail.size())) {
            id.sample = fnv1a(tail.data(), tail.size(), fnv1a(head.data(), head.size()));
            identity = std::move(id);
        }
    }
    ::close(fd);
    return identity;
}

json declarationJson(CsvOptions const& options, std::string const& header) {
    CsvColumnDeclaration const d = options.declare ? options.declare(header) : CsvColumnDeclaration{};
    return {{"declared", d.declared}, {"numeric", d.numeric}, {"width", d.width},
            {"nullMarkers", d.nullMarkers}};
}

// What the read depended on besides the file: which columns were read and what the dictionary
// declared of each.
json readingJson(CsvOptions const& options, std::vector<std::string> const& headers) {
    std::vector<bool> const selected =
        options.select ? options.select(headers) : std::vector<bool>(headers.size(), true);
    json columns = json::array();
    for (std::size_t i = 0; i < headers.size(); ++i) {
        json column = declarationJson(options, headers[i]);
        column["read"] = i < selected.size() && selected[i];
        columns.push_back(std::move(column));
    }
    return columns;
}

json messageJson(Diagnostic const& d) {
    return {{"level", static_cast<int>(d.level)}, {"file", d.file}, {"line", d.line},
            {"column", d.column}, {"text", d.text}};
}

// A block of the entry: bytes at `offset` past the start of the blocks.
struct Block {
    void const* data = nullptr;
    std::uint64_t bytes = 0;
    std::uint64_t offset = 0;
};

// An entry ready to be written: its head and description, and the blocks that follow.
struct EntryImage {
    std::string head;  // the fixed head and the description, padded to the first block
    std::vector<Block> blocks;
    std::uint64_t totalBytes = 0;
};

EntryImage imageOf(CsvIdentity const& identity, json reading, std::string const& pathAsGiven,
                   CsvTable const& table, std::vector<Diagnostic> const& readMessages) {
    EntryImage image;
    std::uint64_t next = 0;
    auto addBlock = [&](void const* data, std::uint64_t bytes) {
        image.blocks.push_back({data, bytes, next});
        json place = {{"offset", next}, {"bytes", bytes}};
        next += alignUp(bytes);
        return place;
    };
    json description;
    description["format"] = kFormat;
    description["csv"] = identity.toJson();
    description["pathAsGiven"] = pathAsGiven;
    description["reading"] = std::move(reading);
    description["rows"] = table.rows;
    description["rowLines"] =
        addBlock(table.rowLines.data(), table.rowLines.size() * sizeof(table.rowLines[0]));
    json messages = json::array();
    for (auto const& message : readMessages) messages.push_back(messageJson(message));
    description["messages"] = std::move(messages);
    json columns = json::array();
    for (auto const& column : table.columns) {
        json c = {{"header", column.header},         {"loaded", column.loaded},
                  {"numeric", column.numeric},       {"cellsPerValue", column.cellsPerValue},
                  {"width", column.width},           {"maxDecimals", column.maxDecimals},
                  {"maxLength", column.maxLength}};
        if (column.loaded) {
            Cells const& cells = column.numeric ? column.numbers : column.cells;
            c["cells"] = addBlock(cells.data(), cells.size() * sizeof(OBS));
        }
        columns.push_back(std::move(c));
    }
    description["columns"] = std::move(columns);

    std::string const text = description.dump();
    std::uint64_t const blocksStart = alignUp(kHeadBytes + text.size());
    image.head.assign(kHeadBytes, '\0');
    std::memcpy(image.head.data(), kMagic, sizeof kMagic);
    std::uint64_t const textBytes = text.size();
    std::memcpy(image.head.data() + 16, &textBytes, 8);
    std::memcpy(image.head.data() + 24, &blocksStart, 8);
    image.head += text;
    for (auto& block : image.blocks) block.offset += blocksStart;
    image.totalBytes = blocksStart + next;
    return image;
}

// Writes the entry aside and renames it into place; a failure leaves no file behind.
bool writeEntry(std::string const& entryPath, EntryImage const& image) {
    std::string const aside = entryPath + ".tmp" + std::to_string(::getpid());
    int const fd = ::open(aside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0)
        return false;
    bool ok = ::ftruncate(fd, static_cast<off_t>(image.totalBytes)) == 0 &&
              writeAt(fd, image.head.data(), image.head.size(), 0);
    for (auto const& block : image.blocks) {
        if (!ok)
            break;
        ok = block.bytes == 0 || writeAt(fd, block.data, block.bytes, block.offset);
    }
    ok = ::close(fd) == 0 && ok;
    ok = ok && ::rename(aside.c_str(), entryPath.c_str()) == 0;
    if (!ok)
        ::unlink(aside.c_str());
    return ok;
}

// Deletes the least recently used entries (and leftovers of interrupted writes) until the
// folder holds at most `maxBytes`; `keep` stays.
void trimFolder(std::string const& folder, std::string const& keep, std::uint64_t maxBytes) {
    struct Entry {
        fs::path path;
        std::uint64_t bytes;
        fs::file_time_type used;
    };
    std::vector<Entry> entries;
    std::uint64_t total = 0;
    std::error_code error;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        std::string const name = it->path().filename().string();
        bool const entry = name.size() > sizeof kEntrySuffix &&
                           name.compare(name.size() - (sizeof kEntrySuffix - 1),
                                        std::string::npos, kEntrySuffix) == 0;
        bool const leftover = name.find(std::string(kEntrySuffix) + ".tmp") != std::string::npos;
        if (!entry && !leftover)
            continue;
        std::error_code e;
        auto const bytes = it->file_size(e);
        auto const used = it->last_write_time(e);
        if (e)
            continue;
        if (leftover) {
            // Another run's write in progress is younger than a minute.
            if (fs::file_time_type::clock::now() - used > std::chrono::minutes(1))
                fs::remove(it->path(), e);
            continue;
        }
        total += bytes;
        if (it->path().string() != keep)
            entries.push_back({it->path(), bytes, used});
    }
    std::sort(entries.begin(), entries.end(),
              [](Entry const& a, Entry const& b) { return a.used < b.used; });
    for (auto const& entry : entries) {
        if (total <= maxBytes)
            break;
        std::error_code e;
        if (fs::remove(entry.path, e))
            total -= entry.bytes;
    }
}

bool roomFor(std::string const& folder, std::uint64_t bytes, CsvCacheOptions const& cache) {
    if (bytes > cache.maxFolderBytes)
        return false;
    struct statvfs space {};
    if (::statvfs(folder.c_str(), &space) != 0)
        return false;
    // Leave the disk at least as much free as the entry takes.
    return static_cast<std::uint64_t>(space.f_bavail) * space.f_frsize / 2 > bytes;
}

void store(std::string const& entryPath, EntryImage const& image, CsvCacheOptions const& cache) {
    if (writeEntry(entryPath, image))
        trimFolder(cache.folder, entryPath, cache.maxFolderBytes);
}

// Writes from a grandchild of this process, at the lowest priority, so that the run neither waits for
// the disk nor leaves a child to reap. The child's memory is this moment's: later changes of the
// columns do not reach the entry.
void storeInBackground(std::string const& entryPath, EntryImage const& image,
                       CsvCacheOptions const& cache) {
    pid_t const child = ::fork();
    if (child < 0)
        return;  // no entry this time
    if (child == 0) {
        if (::fork() == 0) {
            // Behind any other work, even when this run has a real-time priority.
            sched_param const none{};
            (void)::sched_setscheduler(0, SCHED_BATCH, &none);
            (void)::setpriority(PRIO_PROCESS, 0, 19);
            store(entryPath, image, cache);
        }
        ::_exit(0);
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
}

std::optional<CsvTable> lookUp(std::string const& entryPath, CsvIdentity const& identity,
                               CsvOptions const& options, std::string const& pathAsGiven,
                               std::vector<Diagnostic>& messages) try {
    int const fd = ::open(entryPath.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return std::nullopt;
    struct Closer {
        int fd;
        ~Closer() { ::close(fd); }
    } closer{fd};
    struct stat info {};
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode))
        return std::nullopt;
    std::uint64_t const fileBytes = static_cast<std::uint64_t>(info.st_size);
    char head[kHeadBytes];
    if (fileBytes < kHeadBytes || !readAt(fd, head, kHeadBytes, 0) ||
        std::memcmp(head, kMagic, sizeof kMagic) != 0)
        return std::nullopt;
    std::uint64_t textBytes = 0;
    std::uint64_t blocksStart = 0;
    std::memcpy(&textBytes, head + 16, 8);
    std::memcpy(&blocksStart, head + 24, 8);
    if (textBytes > kMaxDescriptionBytes || kHeadBytes + textBytes > fileBytes ||
        blocksStart < kHeadBytes + textBytes || blocksStart % kBlockAlign != 0)
        return std::nullopt;
    std::string text(textBytes, '\0');
    if (!readAt(fd, text.data(), text.size(), kHeadBytes))
        return std::nullopt;
    json const description = json::parse(text, nullptr, false);
    if (description.is_discarded() || description.value("format", 0) != kFormat ||
        description.at("csv") != identity.toJson())
        return std::nullopt;

    json const& columns = description.at("columns");
    std::vector<std::string> headers;
    for (auto const& column : columns) headers.push_back(column.at("header").get<std::string>());
    if (description.at("reading") != readingJson(options, headers))
        return std::nullopt;

    // Where a block lies, if it lies within the file.
    auto placeOf = [&](json const& place, std::uint64_t& offset, std::uint64_t& bytes) {
        std::uint64_t const relative = place.at("offset").get<std::uint64_t>();
        bytes = place.at("bytes").get<std::uint64_t>();
        offset = blocksStart + relative;
        return relative % kBlockAlign == 0 && offset >= blocksStart && bytes <= fileBytes &&
               offset <= fileBytes - bytes;
    };

    CsvTable table;
    table.ok = true;
    table.rows = description.at("rows").get<std::int64_t>();
    if (table.rows < 0)
        return std::nullopt;
    std::uint64_t offset = 0;
    std::uint64_t bytes = 0;
    if (!placeOf(description.at("rowLines"), offset, bytes) ||
        bytes % sizeof(table.rowLines[0]) != 0)
        return std::nullopt;
    table.rowLines.resize(bytes / sizeof(table.rowLines[0]));
    if (bytes && !readAt(fd, table.rowLines.data(), bytes, offset))
        return std::nullopt;

    for (auto const& c : columns) {
        CsvColumn column;
        column.header = c.at("header").get<std::string>();
        column.loaded = c.at("loaded").get<bool>();
        column.numeric = c.at("numeric").get<bool>();
        column.cellsPerValue = c.at("cellsPerValue").get<int>();
        column.width = c.at("width").get<int>();
        column.maxDecimals = c.at("maxDecimals").get<int>();
        column.maxLength = c.at("maxLength").get<int>();
        if (column.loaded) {
            // A text's cells must hold its width, and the block a cell per row and cell.
            bool const shapeOk = column.numeric
                                     ? column.cellsPerValue == 1
                                     : column.width >= 0 && column.width <= kMaxStringWidth &&
                                           column.cellsPerValue >= 1 &&
                                           column.width <= column.cellsPerValue * 8 &&
                                           column.cellsPerValue <= kMaxStringWidth / 8 + 1;
            std::uint64_t expected = 0;
            if (!shapeOk ||
                __builtin_mul_overflow(static_cast<std::uint64_t>(table.rows),
                                       static_cast<std::uint64_t>(column.cellsPerValue) * sizeof(OBS),
                                       &expected) ||
                !placeOf(c.at("cells"), offset, bytes) || bytes != expected ||
                !readCellsFromFile(column.numeric ? column.numbers : column.cells, fd, offset,
                                   bytes / sizeof(OBS)))
                return std::nullopt;
        }
        table.columns.push_back(std::move(column));
    }

    std::string const cachedPath = description.at("pathAsGiven").get<std::string>();
    for (auto const& m : description.at("messages")) {
        Diagnostic d;
        int const level = m.at("level").get<int>();
        if (level < Diagnostic::Note || level > Diagnostic::Error)
            return std::nullopt;
        d.level = static_cast<Diagnostic::Level>(level);
        d.file = m.at("file").get<std::string>();
        if (d.file == cachedPath)
            d.file = pathAsGiven;
        d.line = m.at("line").get<std::int64_t>();
        d.column = m.at("column").get<std::int64_t>();
        d.text = m.at("text").get<std::string>();
        messages.push_back(std::move(d));
    }
    ::futimens(fd, nullptr);  // used now: the last to go when the folder is trimmed
    return table;
} catch (json::exception const&) {
    return std::nullopt;  // not an entry this reader wrote
}

}  // namespace

std::string defaultCsvCacheFolder() {
    if (char const* xdg = std::getenv("XDG_CACHE_HOME"); xdg && *xdg == '/')
        return std::string(xdg) + "/ggraph";
    if (char const* home = std::getenv("HOME"); home && *home)
        return std::string(home) + "/.cache/ggraph";
    return {};
}

std::string csvCacheEntryPath(std::string const& folder, std::string const& csvPath) {
    std::string const absolute = absolutePath(csvPath);
    return folder + "/" + hex(fnv1a(absolute.data(), absolute.size())) + kEntrySuffix;
}

CsvTable readCsvCached(std::string const& path, CsvOptions const& options,
                       CsvCacheOptions const& cache, std::vector<Diagnostic>& messages,
                       bool* fromCache) {
    if (fromCache)
        *fromCache = false;
    std::optional<CsvIdentity> identity;
    if (!cache.folder.empty())
        identity = identify(path);
    if (!identity || identity->size < cache.minBytes)
        return readCsv(path, options, messages);

    std::string const entryPath = csvCacheEntryPath(cache.folder, path);
    std::size_t const before = messages.size();
    if (auto table = lookUp(entryPath, *identity, options, path, messages)) {
        if (fromCache)
            *fromCache = true;
        return std::move(*table);
    }
    messages.resize(before);  // of an entry that turned out unusable half way

    CsvTable table = readCsv(path, options, messages);
    std::error_code error;
    fs::create_directories(cache.folder, error);
    // The file may have changed while it was read: such a read is not kept.
    std::optional<CsvIdentity> const after = identify(path);
    if (!table.ok || error || !after || after->toJson() != identity->toJson())
        return table;
    std::vector<std::string> headers;
    for (auto const& column : table.columns) headers.push_back(column.header);
    std::vector<Diagnostic> const readMessages(messages.begin() + static_cast<std::ptrdiff_t>(before),
                                               messages.end());
    EntryImage const image =
        imageOf(*identity, readingJson(options, headers), path, table, readMessages);
    if (!roomFor(cache.folder, image.totalBytes, cache))
        return table;
    if (cache.writeInBackground)
        storeInBackground(entryPath, image, cache);
    else
        store(entryPath, image, cache);
    return table;
}

}  // namespace host::dictionary
