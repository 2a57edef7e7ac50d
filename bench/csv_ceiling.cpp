// How fast can this machine ingest the bar-chart bench's CSV at all? A bare program that does
// the least any reader must do: map the file, count its rows, and parse the first two columns
// (a short text and a decimal) into fresh column memory on two threads, with no check of any
// kind (no quotes, no missing values, no widths, no messages). It reads only the layout
// bar_means_peer.py writes ("g,y,z" rows); it is a yardstick for the ingest figure, not a reader.
//
// Usage: csv_ceiling FILE. Prints the rows and a checksum (so that nothing is optimised away).
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <thread>

namespace {

constexpr double kPowersOfTen[] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10};

struct Half {
    char const* begin;
    char const* end;
    std::size_t rows = 0;
};

// Rows of [begin, end): every row ends in a line feed.
std::size_t countRows(char const* begin, char const* end) {
    return static_cast<std::size_t>(std::count(begin, end, '\n'));
}

void parse(char const* p, char const* end, double* numbers, std::uint64_t* texts) {
    for (std::size_t row = 0; p < end; ++row) {
        char const* const text = p;
        while (*p != ',') ++p;
        std::uint64_t word = 0;
        std::memcpy(&word, text, static_cast<std::size_t>(std::min<long>(p - text, 8)));
        texts[row] = word;
        ++p;
        std::uint64_t mantissa = 0;
        int decimals = 0;
        while (static_cast<unsigned char>(*p - '0') < 10) mantissa = mantissa * 10 + (*p++ - '0');
        if (*p == '.') {
            char const* const fraction = ++p;
            while (static_cast<unsigned char>(*p - '0') < 10) mantissa = mantissa * 10 + (*p++ - '0');
            decimals = static_cast<int>(p - fraction);
        }
        numbers[row] = static_cast<double>(mantissa) / kPowersOfTen[decimals];
        while (*p != '\n') ++p;
        ++p;
    }
}

template <class T>
T* freshColumn(std::size_t rows) {
    void* block = ::mmap(nullptr, std::max<std::size_t>(rows, 1) * sizeof(T),
                         PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return block == MAP_FAILED ? nullptr : static_cast<T*>(block);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: csv_ceiling FILE\n");
        return 2;
    }
    int const fd = ::open(argv[1], O_RDONLY);
    struct stat info {};
    if (fd < 0 || ::fstat(fd, &info) != 0 || info.st_size == 0) {
        std::perror(argv[1]);
        return 2;
    }
    auto const size = static_cast<std::size_t>(info.st_size);
    auto const* text = static_cast<char const*>(
        ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd, 0));
    if (text == MAP_FAILED || text[size - 1] != '\n') {
        std::fprintf(stderr, "%s: not mapped, or it does not end in a line feed\n", argv[1]);
        return 2;
    }
    char const* const end = text + size;
    char const* const data = static_cast<char const*>(std::memchr(text, '\n', size)) + 1;
    char const* middle = data + (end - data) / 2;
    while (middle < end && middle[-1] != '\n') ++middle;
    Half halves[2] = {{data, middle}, {middle, end}};

    std::thread counter([&] { halves[1].rows = countRows(halves[1].begin, halves[1].end); });
    halves[0].rows = countRows(halves[0].begin, halves[0].end);
    counter.join();
    std::size_t const rows = halves[0].rows + halves[1].rows;
    auto* numbers = freshColumn<double>(rows);
    auto* texts = freshColumn<std::uint64_t>(rows);
    if (!numbers || !texts) {
        std::fprintf(stderr, "out of memory\n");
        return 2;
    }
    std::thread second([&] {
        parse(halves[1].begin, halves[1].end, numbers + halves[0].rows, texts + halves[0].rows);
    });
    parse(halves[0].begin, halves[0].end, numbers, texts);
    second.join();

    double sum = 0;
    std::uint64_t letters = 0;
    for (std::size_t row = 0; row < rows; row += 997) {
        sum += numbers[row];
        letters += texts[row] & 0xff;
    }
    std::printf("%zu rows, checksum %.1f %llu\n", rows, sum,
                static_cast<unsigned long long>(letters));
    return 0;
}
