// The aggregation cube: categories of the break variables as the cases show them, one cell per
// combination met, running sums per summary variable, and stored values only where an order
// statistic needs them. Cells are found through a dense grid over the category numbers while
// it stays small, and through a hash map beyond that.
#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cmath>
#include <cstring>
#include <deque>
#include <exception>
#include <thread>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>

#include "host/aggregation/cell_statistics.h"
#include "host/aggregation/partial_cells.h"
#include "host/dictionary/dataset.h"
#include "platform/aggregation.h"
#include "platform/data_source.h"

namespace {

using Codes = TableEncryptionCodes;

// Runs work(0) .. work(threads - 1) side by side, work(0) on this thread; the first failure of
// any (out of memory, most likely) is thrown here once all have ended.
template <class Work>
void onThreads(unsigned threads, Work const& work) {
    std::vector<std::exception_ptr> failures(std::max(threads, 1u));
    auto guarded = [&](unsigned w) {
        try {
            work(w);
        } catch (...) {
            failures[w] = std::current_exception();
        }
    };
    std::vector<std::thread> workers;
    for (unsigned w = 1; w < threads; ++w) workers.emplace_back(guarded, w);
    guarded(0);
    for (auto& worker : workers) worker.join();
    for (auto const& failure : failures)
        if (failure)
            std::rethrow_exception(failure);
}

struct StringHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
};

// Cells by their category numbers where a grid would be too big: open addressing over the
// numbers each cell already keeps (`ids`, n per cell), so a cell costs two four-byte slots.
class CellHash {
public:
    void clear() {
        slots_.clear();
        count_ = 0;
    }
    long find(std::uint32_t const* key, std::size_t n, std::vector<std::uint32_t> const& ids) const {
        if (slots_.empty()) return -1;
        std::size_t const mask = slots_.size() - 1;
        for (std::size_t at = hash(key, n) & mask;; at = (at + 1) & mask) {
            std::uint32_t const slot = slots_[at];
            if (slot == 0) return -1;
            if (std::equal(key, key + n, ids.data() + std::size_t(slot - 1) * n)) return long(slot - 1);
        }
    }
    // Cells come in order: `cell` is the count so far, its numbers already in `ids`.
    void add(std::uint32_t cell, std::size_t n, std::vector<std::uint32_t> const& ids) {
        if ((count_ + 1) * 2 > slots_.size()) {
            slots_.assign(std::max<std::size_t>(16, slots_.size() * 2), 0);
            for (std::uint32_t c = 0; c < count_; ++c) place(c, n, ids);
        }
        place(cell, n, ids);
        ++count_;
    }

private:
    static std::size_t hash(std::uint32_t const* key, std::size_t n) {
        std::uint64_t h = 0x9E3779B97F4A7C15ull;
        for (std::size_t d = 0; d < n; ++d) {
            h = (h ^ key[d]) * 0xFF51AFD7ED558CCDull;
            h ^= h >> 32;
        }
        return static_cast<std::size_t>(h);
    }
    void place(std::uint32_t cell, std::size_t n, std::vector<std::uint32_t> const& ids) {
        std::size_t const mask = slots_.size() - 1;
        std::size_t at = hash(ids.data() + std::size_t(cell) * n, n) & mask;
        while (slots_[at] != 0) at = (at + 1) & mask;
        slots_[at] = cell + 1;
    }
    std::vector<std::uint32_t> slots_;  // cell + 1, 0 for none
    std::uint32_t count_ = 0;
};

// What the engine knows of one dictionary variable.
struct Column {
    OBS const* cells = nullptr;  // the host's column, when the iterator is the host's own
    int cellsPerValue = 1;
    int width = 0;  // 0 numeric
    KWEL_Variable const* variable = nullptr;
    KWEL_Variable::Data const* record = nullptr;
};

bool numberIsMissing(KWEL_Variable::Data const* record, double value) {
    if (value == KWEL_Globals::sysmis()) return true;
    if (record == nullptr) return false;
    for (double missing : record->missingNumbers) {
        if (value == missing) return true;
    }
    return record->hasMissingRange && value >= record->missingLow && value <= record->missingHigh;
}

std::uint64_t numberKey(double value) {
    if (value == 0.0) value = 0.0;  // -0 and +0 are one category
    return std::bit_cast<std::uint64_t>(value);
}

constexpr int kSmallIntegers = 4096;

// Texts of up to eight bytes (most category codes) by their bytes as one number: an open-addressed
// table, so that a case's category is found without hashing or copying a string.
class ShortTextTable {
public:
    static bool fits(std::uint32_t bytes) { return bytes <= 8; }
    static std::uint64_t keyOf(char const* bytes, std::uint32_t length) {
        std::uint64_t key = 0;
        std::memcpy(&key, bytes, length);
        return key;
    }
    // The category of `key`, or -1.
    std::int64_t find(std::uint64_t key) const {
        if (slots_.empty()) return -1;
        for (std::size_t i = slotOf(key);; i = (i + 1) & mask_) {
            Slot const& slot = slots_[i];
            if (slot.idPlusOne == 0) return -1;
            if (slot.key == key) return static_cast<std::int64_t>(slot.idPlusOne) - 1;
        }
    }
    void add(std::uint64_t key, std::uint32_t id) {
        if ((count_ + 1) * 2 > slots_.size()) grow();
        insert(key, id);
        ++count_;
    }
    void clear() {
        slots_.clear();
        count_ = 0;
        mask_ = 0;
    }

private:
    struct Slot {
        std::uint64_t key = 0;
        std::uint32_t idPlusOne = 0;  // 0: empty
    };
    // The high half folded onto the low first: a number's key (its double's bits) has its
    // differences at the top and zeros below, which the product alone would not carry into the
    // bits that pick the slot.
    std::size_t slotOf(std::uint64_t key) const {
        return static_cast<std::size_t>(((key ^ (key >> 32)) * 0x9E3779B97F4A7C15ull) >> 32) & mask_;
    }
    void insert(std::uint64_t key, std::uint32_t id) {
        std::size_t i = slotOf(key);
        while (slots_[i].idPlusOne != 0) i = (i + 1) & mask_;
        slots_[i] = {key, id + 1};
    }
    void grow() {
        std::vector<Slot> old = std::move(slots_);
        slots_.assign(std::max<std::size_t>(64, old.size() * 2), Slot{});
        mask_ = slots_.size() - 1;
        for (Slot const& slot : old)
            if (slot.idPlusOne != 0) insert(slot.key, slot.idPlusOne - 1);
    }
    std::vector<Slot> slots_;
    std::size_t count_ = 0;
    std::size_t mask_ = 0;
};

}  // namespace

// ---- TableDimension

struct TableDimension::Data {
    struct Record {
        AggregationCategory category;
        std::vector<OBS> cells;
        bool missing = false;
        int member = -1;  // position in a dichotomy set
    };
    bool computingCounts = false;
    bool excludeMissing = true;
    bool isString = false;
    bool byMember = false;
    std::uint32_t keyBytes = 8;
    std::deque<Record> records;
    std::vector<AggregationCategory const*> sorted;
    bool dirty = true;
    // Look-ups from a value to its category number.
    std::vector<std::int32_t> smallIntegers;  // number + 1 for integers 0..kSmallIntegers-1
    std::unordered_map<std::uint64_t, std::uint32_t> numbers;
    std::unordered_map<std::string, std::uint32_t, StringHash, std::equal_to<>> texts;
    ShortTextTable shortTexts;  // the texts of a dimension whose keys fit in eight bytes
    std::vector<std::int32_t> members;  // dichotomy member position -> number + 1
    // Cubes over this dimension that hold cases not yet counted: asked to count them before
    // the categories are read. A cube that is gone no longer answers.
    std::vector<std::weak_ptr<std::function<void()>>> pendingCubes;

    void clear() {
        records.clear();
        sorted.clear();
        dirty = true;
        smallIntegers.assign(kSmallIntegers, 0);
        numbers.clear();
        texts.clear();
        shortTexts.clear();
        std::fill(members.begin(), members.end(), 0);
    }

    std::uint32_t add(OBS const* cell, std::uint32_t bytes, bool missing, int member, int memberIndex) {
        Record& record = records.emplace_back();
        std::size_t const count = std::max<std::size_t>(1, (bytes + 7) / 8);
        record.cells.assign(count, 0.0);
        if (cell != nullptr) std::memcpy(record.cells.data(), cell, isString ? bytes : sizeof(OBS));
        if (!isString && !byMember && record.cells[0] == 0.0) record.cells[0] = 0.0;
        record.missing = missing;
        record.member = member;
        record.category.stringLength = isString ? bytes : 8;
        record.category.value = record.cells.data();
        record.category.memberIndex = memberIndex;
        record.category.id = static_cast<std::uint32_t>(records.size() - 1);
        dirty = true;
        return record.category.id;
    }

    // Texts in byte order over their first `bytes` bytes. The first eight, read as a
    // big-endian number, sort beside each pointer; only ties look further.
    static void sortTexts(std::vector<AggregationCategory const*>& sorted, std::uint32_t bytes) {
        struct Keyed {
            std::uint64_t head;
            AggregationCategory const* category;
        };
        auto text = [](AggregationCategory const* c) { return reinterpret_cast<unsigned char const*>(c->value); };
        std::vector<Keyed> keyed;
        keyed.reserve(sorted.size());
        for (auto const* c : sorted) {
            unsigned char first[8] = {};
            std::memcpy(first, text(c), std::min<std::uint32_t>(bytes, 8));
            std::uint64_t head = 0;
            for (unsigned char b : first) head = (head << 8) | b;
            keyed.push_back({head, c});
        }
        std::sort(keyed.begin(), keyed.end(), [&](Keyed const& a, Keyed const& b) {
            if (a.head != b.head) return a.head < b.head;
            return bytes > 8 && std::memcmp(text(a.category) + 8, text(b.category) + 8, bytes - 8) < 0;
        });
        for (std::size_t i = 0; i < keyed.size(); ++i) sorted[i] = keyed[i].category;
    }

    std::vector<AggregationCategory const*> const& categories() {
        for (auto const& cube : pendingCubes)
            if (auto const flush = cube.lock()) (*flush)();
        if (!dirty) return sorted;
        sorted.clear();
        for (Record const& record : records) {
            // A missing value met by an excluded case is known here but is no category.
            if (!(record.missing && excludeMissing)) sorted.push_back(&record.category);
        }
        auto const byId = [this](AggregationCategory const* c) -> Record const& { return records[c->id]; };
        if (byMember) {
            std::sort(sorted.begin(), sorted.end(), [&](auto a, auto b) { return byId(a).member < byId(b).member; });
        } else if (isString) {
            sortTexts(sorted, keyBytes);
        } else {
            // By value, sorted beside their pointers: a million categories are not looked up
            // through their records at every comparison.
            std::vector<std::pair<double, AggregationCategory const*>> keyed;
            keyed.reserve(sorted.size());
            for (auto const* c : sorted) keyed.emplace_back(*c->value, c);
            std::sort(keyed.begin(), keyed.end(),
                      [](auto const& a, auto const& b) { return a.first < b.first; });
            for (std::size_t i = 0; i < keyed.size(); ++i) sorted[i] = keyed[i].second;
        }
        dirty = false;
        return sorted;
    }
};

TableDimension::TableDimension() : d(std::make_unique<Data>()) { d->clear(); }
TableDimension::~TableDimension() = default;
void TableDimension::SetComputingCounts(bool counting) { d->computingCounts = counting; }
bool TableDimension::GetComputingCounts() const { return d->computingCounts; }
std::vector<AggregationCategory const*> const& TableDimension::GetCategories() { return d->categories(); }

// ---- Break variables

AggregationVariable::AggregationVariable(int index, std::string const& label)
    : AggregationVariable(Kind::Variable, std::vector<int>{index}, label) {}
AggregationVariable::AggregationVariable(Kind kind, std::vector<int> indices, std::string const& label)
    : kind_(kind), indices_(std::move(indices)), label_(label) {}
AggregationVariable::~AggregationVariable() = default;
void AggregationVariable::SetExcludeMissing(bool exclude) {
    excludeMissing_ = exclude;
    dimension_.data().excludeMissing = exclude;
}
TableDimension* AggregationVariable::GetDimension() { return &dimension_; }

AggregationMCSet::AggregationMCSet(std::vector<int> const& indices, std::string const& label)
    : AggregationVariable(Kind::CategorySet, indices, label) {}

AggregationMDSet::AggregationMDSet(std::vector<int> const& indices, std::string const& label,
                                   OBS const* countedValue, int length, bool countLabels)
    : AggregationVariable(Kind::DichotomySet, indices, label),
      countedSource_(countedValue),
      countedLength_(length),
      countLabels_(countLabels) {}

std::vector<OBS> const& AggregationMDSet::GetCountedValue(bool stringMembers) {
    // A number comes as 8 bytes, a string as `length` cells: only the members tell which.
    if (!copied_) {
        copied_ = true;
        if (countedSource_ != nullptr && countedLength_ > 0) {
            std::size_t const cells = stringMembers ? static_cast<std::size_t>(countedLength_) : 1;
            counted_.assign(countedSource_, countedSource_ + cells);
        }
    }
    return counted_;
}

// ---- StatValues

StatValues::StatValues(std::vector<AggregationResult> values) : values_(std::move(values)) {}

AggregationResult StatValues::GetStatValue(int position) const {
    if (position < 0 || static_cast<std::size_t>(position) >= values_.size())
        return AggregationResult(KWEL_Globals::sysmis());
    return values_[static_cast<std::size_t>(position)];
}

// ---- The engine of one cube

struct CubeAggregator::Engine {
    struct Slot {
        int variable = -1;
        bool keepValues = false;
        bool keepOrder = false;  // a statistic needs the values sorted, not just selected
    };
    struct LimitRule {
        int slot;
        Codes::StatisticCodes code;
        double lower;
        double upper;
    };
    struct Pick {
        std::uint32_t id;
        std::uint32_t weight;  // responses this case gives the category
    };
    struct Cell {
        double cases = 0.0;
        double responses = 0.0;
        std::unique_ptr<StatValues> values;
    };
    struct Sums {
        double n = 0.0;
        double shift = 0.0;  // the first value, so that the squares keep their precision
        double shifted = 0.0;
        double squares = 0.0;
        double sum = 0.0;
        double min = 0.0;
        double max = 0.0;
    };
    // Per dichotomy member: the counted value as that member's cells.
    struct Member {
        int index;
        std::vector<OBS> expected;
    };
    struct Dimension {
        AggregationVariable* variable;
        TableDimension::Data* data;
        std::vector<Member> members;  // dichotomy sets
        std::vector<char> scratch;    // a category-set value padded to the key width
    };
    // The common shape of a pass (break variables of numbers or of texts of up to eight bytes,
    // summary variables read straight from the host's columns) skips the general look-ups:
    // small integer values map to their category through a table filled as they are met, short
    // texts through the dimension's table of eight-byte keys.
    struct FastBreak {
        OBS const* cells = nullptr;
        TableDimension::Data* data = nullptr;
        Column const* column = nullptr;
        bool exclude = false;
        bool text = false;
        std::vector<std::int32_t> ids;  // value -> category + 1; -1 excluded; 0 not met yet
        std::vector<std::uint8_t> textExcluded;  // by category of a text break: 1 excluded
    };
    struct FastSlot {
        OBS const* cells;
        KWEL_Variable::Data const* record;
        bool userMissing;  // the variable declares missing values beyond the system one
    };

    Engine(KWEL_InputCaseIterator& it, bool byVariable)
        : iterator(it),
          hostIterator(dynamic_cast<ProcDSIterator*>(&it)),
          groupSource(dynamic_cast<host::aggregation::PartialCellSource*>(&it)),
          variablewise(byVariable) {}

    KWEL_InputCaseIterator& iterator;
    ProcDSIterator* hostIterator;
    // Set when the iterator's steps are groups of cases summarised elsewhere.
    host::aggregation::PartialCellSource* groupSource;
    bool variablewise;
    bool summarised = false;
    std::int64_t groupRow = -1;
    bool bound = false;
    std::vector<Dimension> dimensions;
    std::vector<AggregationStatistic> statistics;
    std::vector<Column> columns;
    std::vector<Slot> slots;
    std::vector<int> statisticSlot;
    std::vector<int> statisticLimit;
    std::vector<LimitRule> limits;

    std::vector<double> caseValues;
    std::vector<char> caseValid;
    std::vector<std::vector<Pick>> picks;
    std::vector<std::uint32_t> caseIds;
    std::vector<std::size_t> odometer;

    std::vector<std::uint32_t> cellIds;  // cells x dimensions
    std::vector<Cell> cells;
    std::vector<Sums> sums;                  // cells x slots
    std::vector<std::vector<double>> stored;  // cells x slots, where values are kept
    std::vector<double> limitCounts;          // cells x limits
    double totalResponses = 0.0;

    // Per length k from 1 to dimensions - 1: the first k categories of every cell, for readers
    // that walk the categories and pass over what holds no cell. Built when first asked for.
    std::vector<std::unordered_set<std::string>> prefixes;
    bool prefixesBuilt = false;

    std::vector<int> bits;     // per dimension: the grid holds 2^bits categories
    std::vector<std::uint32_t> grid;  // cell + 1, 0 for none
    bool hashed = false;
    CellHash cellMap;
    std::string key;

    bool fast = false;
    bool plainSums = false;  // one slot, no limits, no stored values
    bool blockSlots = false;  // up to kBlockSlots slots, no limits: long runs go in blocks
    // Cases of the fast shape are counted in runs: the cases of consecutive rows wait here
    // until something reads the cube (or its categories), then go in one loop.
    std::int64_t pendingBegin = 0;
    std::int64_t pendingEnd = 0;
    std::shared_ptr<std::function<void()>> flusher;
    void flushPending();
    void addPending(std::int64_t row) {
        if (row != pendingEnd || pendingBegin == pendingEnd) {
            flushPending();
            pendingBegin = row;
            pendingEnd = row;
        }
        ++pendingEnd;
    }
    void addPositions(ProcDSIterator const& iterator, std::int64_t first, std::int64_t count);
    void addRowsFast(std::int64_t begin, std::int64_t end);
    void addRowsOneBreak(std::int64_t begin, std::int64_t end);
    // A long run of up to kBlockSlots summary variables by up to kBlockBreaks breaks, on every
    // core; false when a block met more values of a break than its key packs, and nothing was
    // added.
    bool addRowsInBlocks(std::int64_t begin, std::int64_t end);
    void computeKeptValues();
    static constexpr std::size_t kBlockBreaks = 4;
    static constexpr std::size_t kBlockSlots = 4;
    // A block of a long run: the cells it meets by an eight-byte key, in the order met. With
    // one break the key is the break's own; with more, each break's values are numbered in the
    // block (in `values`) and the key is their numbers side by side, sixteen bits each.
    struct BlockEntry {
        std::int64_t firstRow;
        double cases = 0.0;  // a double, so that counting does not make the loop reload the table
        std::array<Sums, kBlockSlots> sums;
        // For the order statistics: each slot's valid values, in row order.
        std::array<std::vector<double>, kBlockSlots> values;
    };
    struct RowBlock {
        ShortTextTable keys;  // key -> entry
        std::vector<BlockEntry> entries;
        std::array<ShortTextTable, kBlockBreaks> values;  // break value -> number in the block
        std::array<std::uint32_t, kBlockBreaks> counts{};
    };
    // What the block loop reads, copied so that it stays in registers.
    struct BlockSource {
        std::size_t slots;
        std::array<FastSlot, kBlockSlots> slot;
        std::array<bool, kBlockSlots> keepValues;
        std::size_t breaks;
        std::array<OBS const*, kBlockBreaks> breakCells;
        std::array<bool, kBlockBreaks> text;
        std::array<std::uint64_t, kBlockBreaks> keyMask;
        double sysmis;
        bool variablewise;
    };
    static std::uint64_t breakKey(BlockSource const& source, std::size_t d, std::int64_t row) {
        if (source.text[d]) {
            std::uint64_t key;
            std::memcpy(&key, source.breakCells[d] + row, sizeof key);
            return key & source.keyMask[d];
        }
        return numberKey(source.breakCells[d][row]);
    }
    template <unsigned kReads, bool kOneBreak, bool kOneSlot>
    static bool sumRowBlock(BlockSource source, std::int64_t from, std::int64_t to, RowBlock& block);
    double sysmis = 0.0;
    std::vector<FastBreak> fastBreaks;
    std::vector<FastSlot> fastSlots;

    static constexpr int kGridBits = 22;
    // Rows a block of a long run: blocks are summed on their own, side by side, and their sums
    // joined in block order, so that the result does not depend on the number of cores.
    static constexpr std::int64_t kRowBlock = std::int64_t{1} << 20;

    void bind();
    void bindFast();
    void reset();
    void addCase();
    void addCaseFast(std::int64_t row);
    // The running sums that the statistics read beyond the count and the shifted sum (the
    // mean): a loop over many rows keeps only these.
    enum SumsRead : unsigned { kReadSpread = 1, kReadTotal = 2, kReadRange = 4, kReadAll = 7 };
    unsigned sumsRead = kReadAll;
    template <unsigned kReads = kReadAll>
    static void add(Sums& acc, double x) {
        if (acc.n == 0.0) {
            acc.shift = x;
            if constexpr ((kReads & kReadRange) != 0) {
                acc.min = x;
                acc.max = x;
            }
        } else if constexpr ((kReads & kReadRange) != 0) {
            acc.min = x < acc.min ? x : acc.min;
            acc.max = x > acc.max ? x : acc.max;
        }
        acc.n += 1.0;
        double const dx = x - acc.shift;
        acc.shifted += dx;
        if constexpr ((kReads & kReadSpread) != 0)
            acc.squares += dx * dx;
        if constexpr ((kReads & kReadTotal) != 0)
            acc.sum += x;
    }
    // The sums of a group of values joined to `acc` as if its values had come one by one; the
    // group's shifted sums are moved onto acc's shift.
    static void merge(Sums& acc, Sums const& group) {
        if (acc.n == 0.0) {
            acc.shift = group.shift;
            acc.min = group.min;
            acc.max = group.max;
        } else {
            acc.min = std::min(acc.min, group.min);
            acc.max = std::max(acc.max, group.max);
        }
        double const offset = group.shift - acc.shift;
        acc.squares += group.squares + 2.0 * offset * group.shifted + group.n * offset * offset;
        acc.shifted += group.shifted + group.n * offset;
        acc.sum += group.sum;
        acc.n += group.n;
    }
    OBS const* cellOf(int index, std::int64_t row) const {
        if (index < 0) return nullptr;
        if (static_cast<std::size_t>(index) < columns.size() && columns[static_cast<std::size_t>(index)].cells) {
            Column const& column = columns[static_cast<std::size_t>(index)];
            return column.cells + row * column.cellsPerValue;
        }
        return iterator.GetObsPointer(static_cast<unsigned>(index));
    }
    Column const* column(int index) const {
        return index >= 0 && static_cast<std::size_t>(index) < columns.size() ? &columns[static_cast<std::size_t>(index)]
                                                                              : nullptr;
    }
    bool pick(Dimension& dimension, std::vector<Pick>& out, std::int64_t row);
    std::uint32_t numberCategory(TableDimension::Data& data, double value, KWEL_Variable::Data const* record);
    std::uint32_t textCategory(TableDimension::Data& data, char const* bytes, std::uint32_t width,
                               Column const* column);
    // A summary value that counts: neither system- nor user-missing.
    bool isValid(FastSlot const& slot, double x) const { return isValid(slot, x, sysmis); }
    static bool isValid(FastSlot const& slot, double x, double sysmis) {
        return x != sysmis && !(slot.userMissing && numberIsMissing(slot.record, x));
    }
    // The bytes of a short text break's cell that make its key.
    static std::uint64_t keyMaskOf(FastBreak const& fastBreak) {
        std::uint32_t const bytes = fastBreak.text ? fastBreak.data->keyBytes : 8;
        return bytes >= 8 ? ~std::uint64_t{0} : (std::uint64_t{1} << (8 * bytes)) - 1;
    }
    // The category of a short text break's value in `row`; -1 when it is excluded.
    std::int64_t shortTextCategory(FastBreak& fastBreak, std::int64_t row);
    // The same for a number break; small whole numbers through the break's table.
    std::int64_t numberBreakCategory(FastBreak& fastBreak, std::int64_t row) {
        double const value = fastBreak.cells[row];
        bool const small = value >= 0.0 && value < kSmallIntegers &&
                           value == static_cast<double>(static_cast<int>(value));
        std::int32_t code = small ? fastBreak.ids[static_cast<std::size_t>(value)] : 0;
        if (code == 0) [[unlikely]] {
            std::uint32_t const id = numberCategory(*fastBreak.data, value, fastBreak.column->record);
            bool const excluded = fastBreak.exclude && fastBreak.data->records[id].missing;
            code = excluded ? -1 : static_cast<std::int32_t>(id) + 1;
            if (small)
                fastBreak.ids[static_cast<std::size_t>(value)] = code;
        }
        return code < 0 ? -1 : code - 1;
    }
    std::uint32_t findOrCreateCell(std::uint32_t const* ids);
    long findCell(std::uint32_t const* ids);
    bool hasPrefix(std::uint32_t const* ids, std::size_t length);
    void regrid();
    void accumulate(std::uint32_t cell, double responses);
    void accumulateValues(std::uint32_t cell);
    void mergeGroup(std::uint32_t cell);
    host::aggregation::CubePlan plan() const;
    StatValues* values(std::uint32_t cell);
    AggregationResult compute(std::size_t statistic, std::uint32_t cell);
};

void CubeAggregator::Engine::bind() {
    bound = true;
    summarised = groupSource != nullptr && groupSource->summarised();
    if (hostIterator != nullptr && hostIterator->hostData()) {
        auto const& data = *hostIterator->hostData();
        columns.resize(data.variables.size());
        for (std::size_t i = 0; i < data.variables.size(); ++i) {
            Column& column = columns[i];
            column.variable = data.variables[i].get();
            column.record = &column.variable->hostData();
            column.width = column.record->width;
            column.cellsPerValue = host::dictionary::cellsPerValue(*column.record);
            column.cells = data.columns[i].data();
        }
    }
    // Summary variables: one slot each, keeping values only for the order statistics.
    statisticSlot.assign(statistics.size(), -1);
    statisticLimit.assign(statistics.size(), -1);
    sumsRead = 0;
    for (std::size_t i = 0; i < statistics.size(); ++i) {
        AggregationStatistic const& statistic = statistics[i];
        int const variable = statistic.GetVarIndex();
        if (variable < 0) continue;
        Column const* info = column(variable);
        if (info != nullptr && info->width != 0) continue;  // no statistic of a string's values
        auto found = std::find_if(slots.begin(), slots.end(), [&](Slot const& s) { return s.variable == variable; });
        if (found == slots.end()) found = slots.insert(slots.end(), Slot{variable, false});
        int const slot = static_cast<int>(found - slots.begin());
        statisticSlot[i] = slot;
        switch (statistic.GetSummaryStatistic()) {
            case Codes::STAT_VARIANCE:
            case Codes::STAT_STDDEV:
            case Codes::STAT_SEMEAN:
                sumsRead |= kReadSpread;
                break;
            case Codes::STAT_SUM:
                sumsRead |= kReadTotal;
                break;
            case Codes::STAT_MINIMUM:
            case Codes::STAT_MAXIMUM:
                sumsRead |= kReadRange;
                break;
            case Codes::STAT_MEDIAN:
            case Codes::STAT_PTILE:
                found->keepValues = true;
                break;
            case Codes::STAT_GMEDIAN:
            case Codes::STAT_MODE:
            case Codes::STAT_GPTILE:
            case Codes::STAT_MEDIAN_CI:
                found->keepValues = true;
                found->keepOrder = true;
                break;
            case Codes::STAT_PCT_LT: case Codes::STAT_N_LT: case Codes::STAT_PCT_LE: case Codes::STAT_N_LE:
            case Codes::STAT_PCT_GT: case Codes::STAT_N_GT: case Codes::STAT_PCT_GE: case Codes::STAT_N_GE:
            case Codes::STAT_PCT_EQ: case Codes::STAT_N_EQ: case Codes::STAT_PCT_IN: case Codes::STAT_N_IN:
                statisticLimit[i] = static_cast<int>(limits.size());
                limits.push_back({slot, statistic.GetSummaryStatistic(), statistic.GetLowerLimit(),
                                  statistic.GetUpperLimit()});
                break;
            default:
                break;
        }
    }
    caseValues.assign(slots.size(), 0.0);
    caseValid.assign(slots.size(), 0);
    picks.assign(dimensions.size(), {});
    caseIds.assign(dimensions.size(), 0);
    odometer.assign(dimensions.size(), 0);
    bits.assign(dimensions.size(), 4);
    for (Dimension& dimension : dimensions) {
        AggregationVariable& variable = *dimension.variable;
        TableDimension::Data& data = *dimension.data;
        std::vector<int> const& indices = variable.GetIndices();
        int widest = 0;
        for (int index : indices) {
            if (Column const* info = column(index)) widest = std::max(widest, info->width);
        }
        data.isString = widest > 0 && variable.GetKind() != AggregationVariable::Kind::DichotomySet;
        data.byMember = variable.GetKind() == AggregationVariable::Kind::DichotomySet;
        data.keyBytes = static_cast<std::uint32_t>(ObsCellsForWidth(widest) * kObsBytes);
        dimension.scratch.assign(data.keyBytes, ' ');
        if (data.byMember) {
            auto& set = static_cast<AggregationMDSet&>(variable);
            std::vector<OBS> const& counted = set.GetCountedValue(widest > 0);
            data.members.assign(indices.size(), 0);
            for (int index : indices) {
                Member member{index, {}};
                Column const* info = column(index);
                int const width = info != nullptr ? info->width : 0;
                member.expected.assign(static_cast<std::size_t>(ObsCellsForWidth(width)), 0.0);
                if (width == 0) {
                    member.expected[0] = counted.empty() ? KWEL_Globals::sysmis() : counted[0];
                } else {
                    auto* bytes = reinterpret_cast<char*>(member.expected.data());
                    std::memset(bytes, ' ', member.expected.size() * kObsBytes);
                    std::memcpy(bytes, counted.data(),
                                std::min(member.expected.size(), counted.size()) * kObsBytes);
                }
                dimension.members.push_back(std::move(member));
            }
        }
    }
    bindFast();
    reset();
}

void CubeAggregator::Engine::bindFast() {
    sysmis = KWEL_Globals::sysmis();
    fast = hostIterator != nullptr && !columns.empty() && !summarised;
    for (Dimension const& dimension : dimensions) {
        Column const* info = dimension.variable->GetIndices().empty()
                                 ? nullptr
                                 : column(dimension.variable->GetIndices()[0]);
        bool const shortText = dimension.data->isString && info != nullptr && info->width > 0 &&
                               info->cellsPerValue == 1 &&
                               ShortTextTable::fits(dimension.data->keyBytes) &&
                               dimension.data->keyBytes <= sizeof(OBS);
        fast = fast && dimension.variable->GetKind() == AggregationVariable::Kind::Variable &&
               info != nullptr && (shortText || (info->width == 0 && !dimension.data->isString));
        if (!fast)
            break;
        FastBreak& fastBreak = fastBreaks.emplace_back();
        fastBreak.cells = info->cells;
        fastBreak.data = dimension.data;
        fastBreak.column = info;
        fastBreak.exclude = dimension.variable->GetExcludeMissing();
        fastBreak.text = shortText;
    }
    for (Slot const& slot : slots) {
        Column const* info = column(slot.variable);
        fast = fast && info != nullptr && info->width == 0;
        if (!fast)
            break;
        fastSlots.push_back(
            {info->cells, info->record,
             !info->record->missingNumbers.empty() || info->record->hasMissingRange});
    }
    if (!fast) {
        fastBreaks.clear();
        fastSlots.clear();
    }
    blockSlots = fast && slots.size() <= kBlockSlots && limits.empty();
    plainSums = fast && slots.size() == 1 && limits.empty() && !slots[0].keepValues;
    if (fast) {
        flusher = std::make_shared<std::function<void()>>([this] { flushPending(); });
        for (Dimension& dimension : dimensions) dimension.data->pendingCubes.push_back(flusher);
    }
}

void CubeAggregator::Engine::addPositions(ProcDSIterator const& iterator, std::int64_t first,
                                         std::int64_t count) {
    if (!iterator.InFileOrder()) {  // the rows of a split group, gathered from the file
        for (std::int64_t k = 0; k < count; ++k) addPending(iterator.RowAt(first + k));
        return;
    }
    if (first != pendingEnd || pendingBegin == pendingEnd) {
        flushPending();
        pendingBegin = first;
        pendingEnd = first;
    }
    pendingEnd += count;
}

void CubeAggregator::Engine::flushPending() {
    if (pendingBegin == pendingEnd)
        return;
    std::int64_t const begin = pendingBegin;
    std::int64_t const end = pendingEnd;
    pendingBegin = pendingEnd = 0;
    addRowsFast(begin, end);
}

void CubeAggregator::Engine::addRowsFast(std::int64_t begin, std::int64_t end) {
    bool const longRun = end - begin >= 2 * kRowBlock && std::thread::hardware_concurrency() > 1;
    if (blockSlots && longRun && !fastBreaks.empty() && fastBreaks.size() <= kBlockBreaks &&
        addRowsInBlocks(begin, end))
        return;
    if (plainSums && fastBreaks.size() == 1 && !hashed) {
        addRowsOneBreak(begin, end);
        return;
    }
    for (std::int64_t row = begin; row < end; ++row) addCaseFast(row);
}

// A long run on every core: each block of rows keeps the counts, sums (and, for order
// statistics, values) of the cells it meets, by an eight-byte key in the order met; then the
// blocks are joined in order, each cell's categories made as the rows one by one would have
// made them, and the block's sums merged into the cell as a group's are.
template <unsigned kReads, bool kOneBreak, bool kOneSlot>
bool CubeAggregator::Engine::sumRowBlock(BlockSource const source, std::int64_t const from,
                                         std::int64_t const to, RowBlock& block) {
    BlockEntry* entries = block.entries.data();
    std::array<double, kBlockSlots> x{};
    std::array<bool, kBlockSlots> valid{};
    for (std::int64_t row = from; row < to; ++row) {
        bool allValid = true;
        if constexpr (kOneSlot) {
            x[0] = source.slot[0].cells[row];
            valid[0] = isValid(source.slot[0], x[0], source.sysmis);
            allValid = valid[0];
        } else {
            for (std::size_t s = 0; s < source.slots; ++s) {
                x[s] = source.slot[s].cells[row];
                valid[s] = isValid(source.slot[s], x[s], source.sysmis);
                allValid = allValid && valid[s];
            }
        }
        if (!allValid && !source.variablewise)
            continue;  // listwise: out of every statistic
        std::uint64_t key = 0;
        if constexpr (kOneBreak) {
            key = breakKey(source, 0, row);
        } else {
            for (std::size_t d = 0; d < source.breaks; ++d) {
                std::uint64_t const value = breakKey(source, d, row);
                std::int64_t number = block.values[d].find(value);
                if (number < 0) [[unlikely]] {
                    if (block.counts[d] == 0xFFFF)
                        return false;
                    number = block.counts[d]++;
                    block.values[d].add(value, static_cast<std::uint32_t>(number));
                }
                key |= static_cast<std::uint64_t>(number) << (16 * d);
            }
        }
        // Looked up every row: a test for a run of one key costs more in mispredictions, on
        // shuffled categories, than the look-up it saves.
        std::int64_t entry = block.keys.find(key);
        if (entry < 0) [[unlikely]] {
            entry = static_cast<std::int64_t>(block.entries.size());
            block.keys.add(key, static_cast<std::uint32_t>(entry));
            block.entries.push_back({row, 0.0, {}, {}});
            entries = block.entries.data();
        }
        BlockEntry& at = entries[entry];
        at.cases += 1.0;
        std::size_t const slots = kOneSlot ? 1 : source.slots;
        for (std::size_t s = 0; s < slots; ++s) {
            if (!valid[s])
                continue;
            add<kReads>(at.sums[s], x[s]);
            if (source.keepValues[s])
                at.values[s].push_back(x[s]);
        }
    }
    return true;
}

bool CubeAggregator::Engine::addRowsInBlocks(std::int64_t begin, std::int64_t end) {
    BlockSource source{};
    source.slots = fastSlots.size();
    for (std::size_t s = 0; s < fastSlots.size(); ++s) {
        source.slot[s] = fastSlots[s];
        source.keepValues[s] = slots[s].keepValues;
    }
    source.breaks = fastBreaks.size();
    source.sysmis = sysmis;
    source.variablewise = variablewise;
    for (std::size_t d = 0; d < fastBreaks.size(); ++d) {
        source.breakCells[d] = fastBreaks[d].cells;
        source.text[d] = fastBreaks[d].text;
        source.keyMask[d] = keyMaskOf(fastBreaks[d]);
    }
    // The sums the cube's statistics read pick the loop; the others stay zero in the blocks.
    using Loop = bool (*)(BlockSource, std::int64_t, std::int64_t, RowBlock&);
    auto const pick = [](unsigned reads, auto oneBreak, auto oneSlot) -> Loop {
        constexpr bool kBreak = decltype(oneBreak)::value;
        constexpr bool kSlot = decltype(oneSlot)::value;
        switch (reads) {
            case 0: return &sumRowBlock<0, kBreak, kSlot>;
            case kReadSpread: return &sumRowBlock<kReadSpread, kBreak, kSlot>;
            case kReadTotal: return &sumRowBlock<kReadTotal, kBreak, kSlot>;
            case kReadRange: return &sumRowBlock<kReadRange, kBreak, kSlot>;
            default: return &sumRowBlock<kReadAll, kBreak, kSlot>;
        }
    };
    // The commonest shape, one break and one summary variable, has its own loop.
    Loop const sumRows = source.breaks == 1 && source.slots == 1
                             ? pick(sumsRead, std::true_type{}, std::true_type{})
                             : pick(sumsRead, std::false_type{}, std::false_type{});
    std::int64_t const blocks = (end - begin + kRowBlock - 1) / kRowBlock;
    std::vector<RowBlock> partial(static_cast<std::size_t>(blocks));
    std::atomic<bool> packed{true};
    auto sumBlock = [&](std::int64_t b) {
        std::int64_t const from = begin + b * kRowBlock;
        if (packed && !sumRows(source, from, std::min(end, from + kRowBlock),
                               partial[static_cast<std::size_t>(b)]))
            packed = false;
    };
    unsigned const threads = std::min<unsigned>(std::thread::hardware_concurrency(),
                                                static_cast<unsigned>(blocks));
    onThreads(threads, [&](unsigned w) {
        for (std::int64_t b = w; b < blocks; b += threads) sumBlock(b);
    });

    if (!packed)
        return false;

    // In block order, each entry's categories are made as its first row, met one by one, would
    // have made them; a category of a break that the pass leaves out leaves the entry out.
    std::size_t const breaks = fastBreaks.size();
    for (RowBlock& block : partial) {
        for (BlockEntry& entry : block.entries) {
            bool out = false;
            for (std::size_t d = 0; d < breaks && !out; ++d) {
                FastBreak& fastBreak = fastBreaks[d];
                std::int64_t const found = fastBreak.text
                                               ? shortTextCategory(fastBreak, entry.firstRow)
                                               : numberBreakCategory(fastBreak, entry.firstRow);
                out = found < 0;
                caseIds[d] = static_cast<std::uint32_t>(found);
            }
            if (out)
                continue;
            std::uint32_t const cell = findOrCreateCell(caseIds.data());
            Cell& record = cells[cell];
            record.cases += entry.cases;
            record.responses += entry.cases;
            totalResponses += entry.cases;
            record.values.reset();
            for (std::size_t s = 0; s < source.slots; ++s) {
                std::size_t const at = cell * source.slots + s;
                if (entry.sums[s].n != 0.0)
                    merge(sums[at], entry.sums[s]);
                std::vector<double>& values = entry.values[s];
                if (values.empty())
                    continue;
                std::vector<double>& kept = stored[at];  // after the blocks before: row order
                if (kept.empty())
                    kept = std::move(values);
                else
                    kept.insert(kept.end(), values.begin(), values.end());
            }
        }
        block = RowBlock{};
    }
    computeKeptValues();
    return true;
}

// Order statistics of a long run are found here, on every core, rather than cell by cell when
// the cells are read: selecting the medians of ten million values is ~100 ms on one core. The
// values a cell keeps are then no longer in row order, which no statistic of them needs.
void CubeAggregator::Engine::computeKeptValues() {
    std::vector<std::pair<std::size_t, std::uint32_t>> kept;  // (values, cell), largest first
    for (std::uint32_t c = 0; c < cells.size(); ++c) {
        std::size_t values = 0;
        for (std::size_t s = 0; s < slots.size(); ++s) values += stored[c * slots.size() + s].size();
        if (values > 0 && !cells[c].values)
            kept.emplace_back(values, c);
    }
    if (kept.empty())
        return;  // no order statistic asked for
    std::sort(kept.begin(), kept.end(), std::greater<>());
    std::atomic<std::size_t> next{0};
    unsigned const threads =
        std::min<unsigned>(std::thread::hardware_concurrency(), static_cast<unsigned>(kept.size()));
    onThreads(threads, [&](unsigned) {
        for (std::size_t k = next++; k < kept.size(); k = next++) values(kept[k].second);
    });
}

// The commonest pass of all, one break variable and one summary variable: the same sums as
// addCaseFast, in the same order, with the case counts kept as integers until the run ends.
void CubeAggregator::Engine::addRowsOneBreak(std::int64_t begin, std::int64_t end) {
    FastSlot const& slot = fastSlots[0];
    FastBreak& fastBreak = fastBreaks[0];
    std::vector<std::int64_t> counts(cells.size());
    // A short text's eight bytes straight to its cell: a small table of the codes met in this
    // run, in front of the dimension's own look-up.
    struct Remembered {
        std::uint64_t key = 0;
        std::int64_t cell = -1;  // -1 empty, -2 excluded
    };
    constexpr std::size_t kRemembered = 256;
    std::vector<Remembered> remembered(fastBreak.text ? kRemembered : 0);
    std::uint64_t const keyMask = keyMaskOf(fastBreak);
    for (std::int64_t row = begin; row < end; ++row) {
        double const x = slot.cells[row];
        bool const valid = isValid(slot, x);
        if (!valid && !variablewise)
            continue;
        std::uint32_t id;
        Remembered* place = nullptr;
        if (fastBreak.text) {
            std::uint64_t key;
            std::memcpy(&key, fastBreak.cells + row, sizeof key);
            key &= keyMask;
            place = &remembered[static_cast<std::size_t>((key * 0x9E3779B97F4A7C15ull) >> 56)];
            if (place->cell != -1 && place->key == key) {
                if (place->cell < 0)
                    continue;
                auto const cell = static_cast<std::size_t>(place->cell);
                ++counts[cell];
                if (valid)
                    add(sums[cell], x);
                continue;
            }
            std::int64_t const found = shortTextCategory(fastBreak, row);
            if (found < 0) {
                *place = {key, -2};
                continue;
            }
            place->key = key;
            place->cell = -1;
            id = static_cast<std::uint32_t>(found);
        } else {
            std::int64_t const found = numberBreakCategory(fastBreak, row);
            if (found < 0)
                continue;
            id = static_cast<std::uint32_t>(found);
        }
        std::uint32_t cell;
        if ((id >> bits[0]) == 0 && grid[id] != 0) {
            cell = grid[id] - 1;
        } else {
            caseIds[0] = id;
            cell = findOrCreateCell(caseIds.data());
            if (hashed) {  // too many categories for the grid: the general way from here
                counts.resize(cells.size());
                for (std::size_t c = 0; c < counts.size(); ++c) {
                    cells[c].cases += static_cast<double>(counts[c]);
                    cells[c].responses += static_cast<double>(counts[c]);
                    totalResponses += static_cast<double>(counts[c]);
                }
                Cell& record = cells[cell];
                record.cases += 1.0;
                record.responses += 1.0;
                totalResponses += 1.0;
                if (valid)
                    add(sums[cell], x);
                for (Cell& each : cells) each.values.reset();
                for (std::int64_t rest = row + 1; rest < end; ++rest) addCaseFast(rest);
                return;
            }
            counts.resize(cells.size());
        }
        if (place)
            place->cell = cell;
        ++counts[cell];
        if (valid)
            add(sums[cell], x);
    }
    for (std::size_t c = 0; c < counts.size(); ++c) {
        if (counts[c] == 0)
            continue;
        cells[c].cases += static_cast<double>(counts[c]);
        cells[c].responses += static_cast<double>(counts[c]);
        totalResponses += static_cast<double>(counts[c]);
        cells[c].values.reset();
    }
}

void CubeAggregator::Engine::reset() {
    pendingBegin = pendingEnd = 0;  // cases never read: as if counted, then cleared
    for (Dimension& dimension : dimensions) dimension.data->clear();
    for (FastBreak& fastBreak : fastBreaks) {
        fastBreak.ids.assign(kSmallIntegers, 0);
        fastBreak.textExcluded.clear();
    }
    cellIds.clear();
    cells.clear();
    sums.clear();
    stored.clear();
    limitCounts.clear();
    totalResponses = 0.0;
    std::fill(bits.begin(), bits.end(), 4);
    hashed = false;
    cellMap.clear();
    prefixes.clear();
    prefixesBuilt = false;
    regrid();
}

std::uint32_t CubeAggregator::Engine::numberCategory(TableDimension::Data& data, double value,
                                                     KWEL_Variable::Data const* record) {
    if (value >= 0.0 && value < kSmallIntegers && value == static_cast<double>(static_cast<int>(value))) {
        std::int32_t& slot = data.smallIntegers[static_cast<std::size_t>(value)];
        if (slot == 0) slot = static_cast<std::int32_t>(data.add(&value, 8, numberIsMissing(record, value), -1, -1)) + 1;
        return static_cast<std::uint32_t>(slot - 1);
    }
    auto [it, added] = data.numbers.try_emplace(numberKey(value), 0u);
    if (added) it->second = data.add(&value, 8, numberIsMissing(record, value), -1, -1);
    return it->second;
}

std::uint32_t CubeAggregator::Engine::textCategory(TableDimension::Data& data, char const* bytes,
                                                   std::uint32_t width, Column const* info) {
    std::string_view const text(bytes, data.keyBytes);
    bool const isShort = ShortTextTable::fits(data.keyBytes);
    std::uint64_t const shortKey = isShort ? ShortTextTable::keyOf(bytes, data.keyBytes) : 0;
    if (isShort) {
        if (std::int64_t const found = data.shortTexts.find(shortKey); found >= 0)
            return static_cast<std::uint32_t>(found);
    } else if (auto it = data.texts.find(text); it != data.texts.end()) {
        return it->second;
    }
    bool const missing = info != nullptr && info->variable != nullptr &&
                         info->variable->IsMissing(reinterpret_cast<OBS const*>(bytes)) == 1;
    std::uint32_t const id = data.add(reinterpret_cast<OBS const*>(bytes), data.keyBytes, missing, -1, -1);
    data.records[id].category.stringLength = width;
    if (isShort)
        data.shortTexts.add(shortKey, id);
    else
        data.texts.emplace(std::string(text), id);
    return id;
}

bool CubeAggregator::Engine::pick(Dimension& dimension, std::vector<Pick>& out, std::int64_t row) {
    out.clear();
    AggregationVariable& variable = *dimension.variable;
    TableDimension::Data& data = *dimension.data;
    bool const exclude = variable.GetExcludeMissing();
    std::vector<int> const& indices = variable.GetIndices();
    switch (variable.GetKind()) {
        case AggregationVariable::Kind::Variable: {
            OBS const* cell = cellOf(indices[0], row);
            if (cell == nullptr) return false;
            Column const* info = column(indices[0]);
            std::uint32_t id;
            if (data.isString) {
                id = textCategory(data, reinterpret_cast<char const*>(cell), static_cast<std::uint32_t>(info->width), info);
            } else {
                id = numberCategory(data, *cell, info != nullptr ? info->record : nullptr);
            }
            if (exclude && data.records[id].missing) return false;
            out.push_back({id, 1});
            return true;
        }
        case AggregationVariable::Kind::CategorySet: {
            for (int index : indices) {
                OBS const* cell = cellOf(index, row);
                if (cell == nullptr) continue;
                Column const* info = column(index);
                std::uint32_t id;
                if (data.isString) {
                    int const width = info != nullptr ? info->width : 0;
                    if (exclude && info != nullptr && info->variable->IsMissing(cell) == 1) continue;
                    std::memset(dimension.scratch.data(), ' ', dimension.scratch.size());
                    std::memcpy(dimension.scratch.data(), cell, static_cast<std::size_t>(width));
                    id = textCategory(data, dimension.scratch.data(), data.keyBytes, info);
                } else {
                    if (exclude && numberIsMissing(info != nullptr ? info->record : nullptr, *cell)) continue;
                    id = numberCategory(data, *cell, info != nullptr ? info->record : nullptr);
                }
                auto same = std::find_if(out.begin(), out.end(), [id](Pick const& p) { return p.id == id; });
                if (same == out.end()) out.push_back({id, 1});
                else if (data.computingCounts) ++same->weight;  // duplicates count only when asked
            }
            return !out.empty();
        }
        case AggregationVariable::Kind::DichotomySet: {
            for (std::size_t position = 0; position < dimension.members.size(); ++position) {
                Member const& member = dimension.members[position];
                OBS const* cell = cellOf(member.index, row);
                if (cell == nullptr) continue;
                if (std::memcmp(cell, member.expected.data(), member.expected.size() * kObsBytes) != 0) continue;
                std::int32_t& slot = data.members[position];
                if (slot == 0) {
                    slot = static_cast<std::int32_t>(data.add(member.expected.data(), 8, false,
                                                              static_cast<int>(position), member.index)) + 1;
                }
                out.push_back({static_cast<std::uint32_t>(slot - 1), 1});
            }
            return !out.empty();
        }
    }
    return false;
}

void CubeAggregator::Engine::regrid() {
    int total = 0;
    for (int b : bits) total += b;
    if (hashed || total > kGridBits) {
        hashed = true;
        grid.clear();
        cellMap.clear();
        std::size_t const n = dimensions.size();
        for (std::uint32_t cell = 0; cell < cells.size(); ++cell) cellMap.add(cell, n, cellIds);
        return;
    }
    grid.assign(std::size_t{1} << total, 0);
    std::size_t const n = dimensions.size();
    for (std::uint32_t cell = 0; cell < cells.size(); ++cell) {
        std::size_t index = 0;
        for (std::size_t d = 0; d < n; ++d) index = (index << bits[d]) | cellIds[cell * n + d];
        grid[index] = cell + 1;
    }
}

long CubeAggregator::Engine::findCell(std::uint32_t const* ids) {
    std::size_t const n = dimensions.size();
    if (hashed) return cellMap.find(ids, n, cellIds);
    std::size_t index = 0;
    for (std::size_t d = 0; d < n; ++d) {
        if (ids[d] >= (1u << bits[d])) return -1;
        index = (index << bits[d]) | ids[d];
    }
    return static_cast<long>(grid[index]) - 1;
}

bool CubeAggregator::Engine::hasPrefix(std::uint32_t const* ids, std::size_t length) {
    std::size_t const n = dimensions.size();
    if (length == 0)
        return !cells.empty();
    if (length >= n)
        return findCell(ids) >= 0;
    if (!prefixesBuilt) {
        prefixes.assign(n, {});
        for (std::size_t cell = 0; cell < cells.size(); ++cell) {
            auto const* first = reinterpret_cast<char const*>(cellIds.data() + cell * n);
            for (std::size_t k = 1; k < n; ++k) prefixes[k].emplace(first, k * 4);
        }
        prefixesBuilt = true;
    }
    key.assign(reinterpret_cast<char const*>(ids), length * 4);
    return prefixes[length].count(key) != 0;
}

std::uint32_t CubeAggregator::Engine::findOrCreateCell(std::uint32_t const* ids) {
    std::size_t const n = dimensions.size();
    if (!hashed) {
        bool grown = false;
        for (std::size_t d = 0; d < n; ++d) {
            while (ids[d] >= (1u << bits[d])) {
                ++bits[d];
                grown = true;
            }
        }
        if (grown) regrid();
    }
    long const found = findCell(ids);
    if (found >= 0) return static_cast<std::uint32_t>(found);
    auto const cell = static_cast<std::uint32_t>(cells.size());
    cellIds.insert(cellIds.end(), ids, ids + n);
    cells.emplace_back();
    prefixesBuilt = false;
    sums.resize(sums.size() + slots.size());
    stored.resize(stored.size() + slots.size());
    limitCounts.resize(limitCounts.size() + limits.size(), 0.0);
    if (hashed) {
        cellMap.add(cell, n, cellIds);
    } else {
        std::size_t index = 0;
        for (std::size_t d = 0; d < n; ++d) index = (index << bits[d]) | ids[d];
        grid[index] = cell + 1;
    }
    return cell;
}

void CubeAggregator::Engine::accumulate(std::uint32_t cellIndex, double responses) {
    Cell& cell = cells[cellIndex];
    double const cases = summarised ? groupSource->groupCases(groupRow) : 1.0;
    cell.cases += cases;
    cell.responses += responses * cases;
    totalResponses += responses * cases;
    if (cell.values)
        cell.values.reset();
    if (summarised)
        mergeGroup(cellIndex);
    else
        accumulateValues(cellIndex);
}

// A group's sums join the cell's as if its cases had come one by one; the shifted sums are moved
// onto the cell's own shift.
void CubeAggregator::Engine::mergeGroup(std::uint32_t cellIndex) {
    std::size_t const nSlots = slots.size();
    Sums* sum = sums.data() + cellIndex * nSlots;
    for (std::size_t s = 0; s < nSlots; ++s) {
        host::aggregation::SlotPartial const* group = groupSource->groupSlot(groupRow, slots[s].variable);
        if (group == nullptr || group->n == 0.0)
            continue;
        merge(sum[s], {group->n, group->shift, group->shifted, group->squares, group->sum,
                       group->min, group->max});
        if (slots[s].keepValues) {
            std::vector<double>& kept = stored[cellIndex * nSlots + s];
            kept.insert(kept.end(), group->values.begin(), group->values.end());
        }
    }
    double* counts = limitCounts.data() + cellIndex * limits.size();
    for (std::size_t i = 0; i < statistics.size(); ++i) {
        if (statisticLimit[i] >= 0)
            counts[statisticLimit[i]] += groupSource->groupLimitCount(groupRow, i);
    }
}

host::aggregation::CubePlan CubeAggregator::Engine::plan() const {
    host::aggregation::CubePlan result;
    for (Dimension const& dimension : dimensions)
        result.breaks.push_back({dimension.variable->GetKind(), dimension.variable->GetIndices()});
    result.statistics = statistics;
    result.variablewise = variablewise;
    return result;
}

void CubeAggregator::Engine::accumulateValues(std::uint32_t cellIndex) {
    std::size_t const nSlots = slots.size();
    Sums* sum = sums.data() + cellIndex * nSlots;
    for (std::size_t s = 0; s < nSlots; ++s) {
        if (!caseValid[s]) continue;
        double const x = caseValues[s];
        add(sum[s], x);
        if (slots[s].keepValues)
            stored[cellIndex * nSlots + s].push_back(x);
    }
    double* counts = limitCounts.data() + cellIndex * limits.size();
    for (std::size_t l = 0; l < limits.size(); ++l) {
        LimitRule const& rule = limits[l];
        if (!caseValid[static_cast<std::size_t>(rule.slot)]) continue;
        double const x = caseValues[static_cast<std::size_t>(rule.slot)];
        bool hit = false;
        switch (rule.code) {
            case Codes::STAT_PCT_LT: case Codes::STAT_N_LT: hit = x < rule.upper; break;
            case Codes::STAT_PCT_LE: case Codes::STAT_N_LE: hit = x <= rule.lower; break;
            case Codes::STAT_PCT_GT: case Codes::STAT_N_GT: hit = x > rule.lower; break;
            case Codes::STAT_PCT_GE: case Codes::STAT_N_GE: hit = x >= rule.lower; break;
            case Codes::STAT_PCT_EQ: case Codes::STAT_N_EQ: hit = x == rule.lower; break;
            case Codes::STAT_PCT_IN: case Codes::STAT_N_IN: hit = x >= rule.lower && x <= rule.upper; break;
            default: break;
        }
        if (hit) counts[l] += 1.0;
    }
}

void CubeAggregator::Engine::addCaseFast(std::int64_t row) {
    std::size_t const nSlots = fastSlots.size();
    bool anyMissing = false;
    for (std::size_t s = 0; s < nSlots; ++s) {
        FastSlot const& slot = fastSlots[s];
        double const x = slot.cells[row];
        bool const valid = isValid(slot, x);
        caseValid[s] = valid;
        caseValues[s] = valid ? x : 0.0;
        anyMissing |= !valid;
    }
    if (anyMissing && !variablewise)
        return;  // listwise: out of every statistic

    std::size_t const n = fastBreaks.size();
    FastBreak* const breaks = fastBreaks.data();
    int const* const width = bits.data();
    std::uint32_t* const ids = caseIds.data();
    std::size_t index = 0;
    bool onGrid = !hashed;
    for (std::size_t d = 0; d < n; ++d) {
        FastBreak& fastBreak = breaks[d];
        if (fastBreak.text) {
            auto const id = shortTextCategory(fastBreak, row);
            if (id < 0)
                return;
            ids[d] = static_cast<std::uint32_t>(id);
            onGrid = onGrid && (ids[d] >> width[d]) == 0;
            index = (index << width[d]) | ids[d];
            continue;
        }
        std::int64_t const found = numberBreakCategory(fastBreak, row);
        if (found < 0)
            return;
        auto const id = static_cast<std::uint32_t>(found);
        ids[d] = id;
        onGrid = onGrid && (id >> width[d]) == 0;
        index = (index << width[d]) | id;
    }
    std::uint32_t const found = onGrid ? grid[index] : 0;
    std::uint32_t const cell = found != 0 ? found - 1 : findOrCreateCell(ids);
    Cell& record = cells[cell];
    record.cases += 1.0;
    record.responses += 1.0;
    totalResponses += 1.0;
    if (record.values)
        record.values.reset();
    if (plainSums) {
        if (!anyMissing)
            add(sums[cell], caseValues[0]);
        return;
    }
    accumulateValues(cell);
}

std::int64_t CubeAggregator::Engine::shortTextCategory(FastBreak& fastBreak, std::int64_t row) {
    auto const* bytes = reinterpret_cast<char const*>(fastBreak.cells + row);
    TableDimension::Data& data = *fastBreak.data;
    std::int64_t id = data.shortTexts.find(ShortTextTable::keyOf(bytes, data.keyBytes));
    if (id < 0) [[unlikely]]
        id = textCategory(data, bytes, static_cast<std::uint32_t>(fastBreak.column->width),
                          fastBreak.column);
    auto const at = static_cast<std::size_t>(id);
    if (at >= fastBreak.textExcluded.size()) [[unlikely]] {
        std::size_t const from = fastBreak.textExcluded.size();
        fastBreak.textExcluded.resize(data.records.size());
        for (std::size_t k = from; k < data.records.size(); ++k)
            fastBreak.textExcluded[k] = fastBreak.exclude && data.records[k].missing;
    }
    return fastBreak.textExcluded[at] ? -1 : id;
}

void CubeAggregator::Engine::addCase() {
    if (!bound) bind();
    std::int64_t row = 0;
    if (hostIterator != nullptr) {
        row = hostIterator->CurrentRow();
        if (row < 0) return;
    }
    if (fast) {
        addPending(row);
        return;
    }
    if (summarised && groupSource->groupCases(row) == 0.0)
        return;  // every case of the group was screened out
    bool anyMissing = false;
    // A group's summary variables were screened where it was summarised.
    groupRow = row;
    for (std::size_t s = 0; s < slots.size() && !summarised; ++s) {
        OBS const* cell = cellOf(slots[s].variable, row);
        Column const* info = column(slots[s].variable);
        bool const valid = cell != nullptr && !numberIsMissing(info != nullptr ? info->record : nullptr, *cell);
        caseValid[s] = valid;
        caseValues[s] = valid ? *cell : 0.0;
        anyMissing |= !valid;
    }
    if (anyMissing && !variablewise) return;  // listwise: out of every statistic

    std::size_t const n = dimensions.size();
    bool single = true;
    for (std::size_t d = 0; d < n; ++d) {
        if (!pick(dimensions[d], picks[d], row)) return;
        single &= picks[d].size() == 1;
    }
    if (single) {
        double responses = 1.0;
        for (std::size_t d = 0; d < n; ++d) {
            caseIds[d] = picks[d][0].id;
            responses *= picks[d][0].weight;
        }
        accumulate(findOrCreateCell(caseIds.data()), responses);
        return;
    }
    // A set puts the case into several categories: every combination is a cell of the case.
    std::fill(odometer.begin(), odometer.end(), 0);
    while (true) {
        double responses = 1.0;
        for (std::size_t d = 0; d < n; ++d) {
            Pick const& p = picks[d][odometer[d]];
            caseIds[d] = p.id;
            responses *= p.weight;
        }
        accumulate(findOrCreateCell(caseIds.data()), responses);
        std::size_t d = n;
        while (d > 0) {
            --d;
            if (++odometer[d] < picks[d].size()) break;
            odometer[d] = 0;
            if (d == 0) return;
        }
        if (n == 0) return;
    }
}

AggregationResult CubeAggregator::Engine::compute(std::size_t statisticIndex, std::uint32_t cellIndex) {
    AggregationStatistic const& statistic = statistics[statisticIndex];
    Cell const& cell = cells[cellIndex];
    double const missing = KWEL_Globals::sysmis();
    int const slot = statisticSlot[statisticIndex];
    auto const code = statistic.GetSummaryStatistic();
    switch (code) {
        case Codes::STAT_COUNT:
            // A count bound to a summary variable counts the cases valid on it.
            return AggregationResult(slot >= 0 ? sums[cellIndex * slots.size() + static_cast<std::size_t>(slot)].n
                                               : cell.cases);
        case Codes::STAT_RESPONSES:
            return AggregationResult(cell.responses);
        case Codes::STAT_PCTRESPONSES:
            return AggregationResult(totalResponses > 0.0 ? 100.0 * cell.responses / totalResponses : missing);
        default:
            break;
    }
    if (slot < 0) return AggregationResult(missing);
    std::size_t const at = cellIndex * slots.size() + static_cast<std::size_t>(slot);
    Sums const& acc = sums[at];
    double const n = acc.n;
    double variance = missing;
    if (n > 1.0) variance = std::max(0.0, (acc.squares - acc.shifted * acc.shifted / n) / (n - 1.0));
    std::vector<double>& values = stored[at];
    bool const keepOrder = slots[static_cast<std::size_t>(slot)].keepOrder;
    if (keepOrder && !std::is_sorted(values.begin(), values.end()))
        std::sort(values.begin(), values.end());
    // Without a statistic that needs the whole order, a percentile is found by selection.
    auto const percentile = [&](double p) {
        return keepOrder ? host::aggregation::percentile(values, p)
                         : host::aggregation::selectPercentile(values, p);
    };
    int const limit = statisticLimit[statisticIndex];
    switch (code) {
        case Codes::STAT_VALIDN:
            return AggregationResult(n);
        case Codes::STAT_SUM:
            return AggregationResult(n > 0.0 ? acc.sum : missing);
        case Codes::STAT_MEAN:
            return AggregationResult(n > 0.0 ? acc.shift + acc.shifted / n : missing);
        case Codes::STAT_MINIMUM:
            return AggregationResult(n > 0.0 ? acc.min : missing);
        case Codes::STAT_MAXIMUM:
            return AggregationResult(n > 0.0 ? acc.max : missing);
        case Codes::STAT_VARIANCE:
            return AggregationResult(variance);
        case Codes::STAT_STDDEV:
            return AggregationResult(n > 1.0 ? std::sqrt(variance) : missing);
        case Codes::STAT_SEMEAN:
            return AggregationResult(n > 1.0 ? std::sqrt(variance / n) : missing);
        case Codes::STAT_MODE:
            return AggregationResult(host::aggregation::mode(values));
        case Codes::STAT_MEDIAN:
            return AggregationResult(percentile(0.5));
        case Codes::STAT_PTILE:
            return AggregationResult(percentile(statistic.GetPTileCutPoint() / 100.0));
        case Codes::STAT_GMEDIAN:
            return AggregationResult(host::aggregation::groupedPercentile(values, 0.5));
        case Codes::STAT_GPTILE:
            return AggregationResult(
                host::aggregation::groupedPercentile(values, statistic.GetPTileCutPoint() / 100.0));
        case Codes::STAT_MEDIAN_CI: {
            auto const [low, high] = host::aggregation::medianInterval(values, statistic.GetCIMedian());
            return AggregationResult(host::aggregation::percentile(values, 0.5), low, high);
        }
        case Codes::STAT_N_LT: case Codes::STAT_N_LE: case Codes::STAT_N_GT:
        case Codes::STAT_N_GE: case Codes::STAT_N_EQ: case Codes::STAT_N_IN:
            return AggregationResult(limitCounts[cellIndex * limits.size() + static_cast<std::size_t>(limit)]);
        case Codes::STAT_PCT_LT: case Codes::STAT_PCT_LE: case Codes::STAT_PCT_GT:
        case Codes::STAT_PCT_GE: case Codes::STAT_PCT_EQ: case Codes::STAT_PCT_IN:
            if (n == 0.0) return AggregationResult(missing);
            return AggregationResult(100.0 * limitCounts[cellIndex * limits.size() + static_cast<std::size_t>(limit)] / n);
        default:
            return AggregationResult(missing);
    }
}

StatValues* CubeAggregator::Engine::values(std::uint32_t cellIndex) {
    Cell& cell = cells[cellIndex];
    if (!cell.values) {
        std::vector<AggregationResult> results;
        results.reserve(statistics.size());
        for (std::size_t i = 0; i < statistics.size(); ++i) results.push_back(compute(i, cellIndex));
        cell.values = std::make_unique<StatValues>(std::move(results));
    }
    return cell.values.get();
}

// ---- CubeAggregator, AggregationCube, AggregationTable

CubeAggregator::CubeAggregator(Engine& engine) : engine_(engine) {}

StatValues* CubeAggregator::GetStatValues(std::vector<AggregationCategory const*> const& cell, int) {
    if (!engine_.bound) engine_.bind();
    engine_.flushPending();
    std::size_t const n = engine_.dimensions.size();
    if (cell.size() != n) return nullptr;
    std::vector<std::uint32_t> ids(n);
    for (std::size_t d = 0; d < n; ++d) {
        if (cell[d] == nullptr || cell[d]->id >= engine_.dimensions[d].data->records.size()) return nullptr;
        ids[d] = cell[d]->id;
    }
    long const found = engine_.findCell(ids.data());
    return found < 0 ? nullptr : engine_.values(static_cast<std::uint32_t>(found));
}

bool CubeAggregator::HasCellsUnder(std::vector<AggregationCategory const*> const& prefix) {
    if (!engine_.bound) engine_.bind();
    engine_.flushPending();
    std::size_t const n = engine_.dimensions.size();
    if (prefix.size() > n) return false;
    std::vector<std::uint32_t> ids(prefix.size());
    for (std::size_t d = 0; d < prefix.size(); ++d) {
        if (prefix[d] == nullptr || prefix[d]->id >= engine_.dimensions[d].data->records.size()) return false;
        ids[d] = prefix[d]->id;
    }
    return engine_.hasPrefix(ids.data(), ids.size());
}

AggregationCube::AggregationCube(KWEL_InputCaseIterator& iterator, bool variablewise)
    : engine_(std::make_unique<CubeAggregator::Engine>(iterator, variablewise)) {
    if (engine_->groupSource != nullptr)
        engine_->groupSource->attachCube([engine = engine_.get()] { return engine->plan(); });
}
AggregationCube::~AggregationCube() = default;

void AggregationCube::AddCategoricalVariable(AggregationVariable* variable, Codes::DimensionPosition) {
    if (variable == nullptr) return;
    engine_->dimensions.push_back({variable, &variable->GetDimension()->data(), {}, {}});
}

CubeAggregator* AggregationCube::CreateCubeAggregator() {
    if (!aggregator_) aggregator_ = std::make_unique<CubeAggregator>(*engine_);
    return aggregator_.get();
}

void AggregationCube::AddScaleStatistics(std::vector<AggregationStatistic> const& statistics) {
    engine_->statistics.insert(engine_->statistics.end(), statistics.begin(), statistics.end());
}

void AggregationCube::AddCategoryStatistics(std::vector<AggregationStatistic> const& statistics,
                                            AggregationVariable*) {
    // Responses are counted over every break variable's categories, so the first one needs no
    // role of its own.
    engine_->statistics.insert(engine_->statistics.end(), statistics.begin(), statistics.end());
}

void AggregationCube::AddCase() { engine_->addCase(); }

bool AggregationCube::TakesCaseRuns() const {
    return engine_->bound && engine_->fast && engine_->hostIterator != nullptr;
}

void AggregationCube::AddCaseRun(ProcDSIterator const& iterator, std::int64_t first,
                                 std::int64_t count) {
    engine_->addPositions(iterator, first, count);
}

void AggregationCube::Reset() {
    if (engine_->bound) engine_->reset();
}

CubeAggregator* AggregationCube::Aggregator() const { return aggregator_.get(); }

AggregationTable::AggregationTable(KWEL_InputCaseIterator& iterator, bool, bool variablewise, int)
    : iterator_(iterator), variablewise_(variablewise) {}
AggregationTable::~AggregationTable() = default;

AggregationCube* AggregationTable::CreateCube() {
    cubes_.push_back(std::make_unique<AggregationCube>(iterator_, variablewise_));
    return cubes_.back().get();
}

void AggregationTable::AddNewCase() {
    for (auto& cube : cubes_) cube->AddCase();
}

bool AggregationTable::TakesCaseRuns() const {
    for (auto const& cube : cubes_)
        if (!cube->TakesCaseRuns())
            return false;
    return !cubes_.empty();
}

std::int64_t AggregationTable::AddCaseRun(ProcDSIterator& iterator, std::int64_t most) {
    std::int64_t first = 0;
    std::int64_t const count = iterator.StepWithinGroup(most, first);
    if (count > 0)
        for (auto& cube : cubes_) cube->AddCaseRun(iterator, first, count);
    return count;
}

std::vector<CubeAggregator*> AggregationTable::GetCubeAggregators() {
    std::vector<CubeAggregator*> aggregators;
    for (auto& cube : cubes_) {
        if (CubeAggregator* aggregator = cube->Aggregator()) aggregators.push_back(aggregator);
    }
    return aggregators;
}

void AggregationTable::ResetAggregator() {
    for (auto& cube : cubes_) cube->Reset();
}
