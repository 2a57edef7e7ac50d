#include "host/dictionary/cells.h"

#include "host/files/file_io.h"

#include <sys/mman.h>
#include <unistd.h>


namespace host::dictionary {

namespace {

std::size_t pageSize() {
    static std::size_t const size = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    return size;
}

std::size_t wholePages(std::size_t bytes) {
    std::size_t const page = pageSize();
    return (bytes + page - 1) / page * page;
}

}  // namespace

void* mapCellPages(std::size_t bytes) {
    void* block = ::mmap(nullptr, wholePages(bytes), PROT_READ | PROT_WRITE,
                         MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (block == MAP_FAILED)
        throw std::bad_alloc();
    return block;
}

void unmapCellPages(void* block, std::size_t bytes) noexcept {
    ::munmap(block, wholePages(bytes));
}

bool readCellsFromFile(Cells& cells, int fd, std::uint64_t offset, std::size_t count) {
    cells = Cells();
    Cells read;
    read.reserve(count);  // exactly `count`: a large block starts on a page of its own
    read.resize(count);
    std::size_t const bytes = count * sizeof(OBS);
    if (bytes >= kMappedCellBytes && offset % pageSize() == 0) {
        // Over the block's own untouched pages, at the same address and length.
        void* mapped = ::mmap(read.data(), wholePages(bytes), PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_FIXED, fd, static_cast<off_t>(offset));
        if (mapped == MAP_FAILED)
            return false;  // the block's pages may be gone: nothing more is read into it
        cells.swap(read);
        return true;
    }
    if (!host::files::readAt(fd, read.data(), bytes, offset))
        return false;
    cells.swap(read);
    return true;
}

}  // namespace host::dictionary
