#pragma once
// The cells of a column of the case store. Growing one does not zero what it gains: a reader
// that sizes a column of ten million cases and fills it from several threads at once would
// otherwise write every cell twice, the second time on one core. A large column has pages of its
// own (mapped, not from the heap), so that it can take a file's pages instead of a copy of them.

#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>
#include <vector>

#include "platform/dictionary.h"

namespace host::dictionary {

// Blocks of at least this many bytes are mapped pages, page-aligned; smaller ones come from
// the heap.
inline constexpr std::size_t kMappedCellBytes = std::size_t{4} << 20;

void* mapCellPages(std::size_t bytes);  // throws std::bad_alloc
void unmapCellPages(void* block, std::size_t bytes) noexcept;

// std::allocator, except that a value made without arguments is left as the memory holds it,
// and that large blocks are mapped pages of their own.
template <class T>
struct UninitializedAllocator {
    using value_type = T;
    UninitializedAllocator() = default;
    template <class U>
    UninitializedAllocator(UninitializedAllocator<U> const&) noexcept {}

    T* allocate(std::size_t n) {
        if (n > static_cast<std::size_t>(-1) / sizeof(T))
            throw std::bad_array_new_length();
        std::size_t const bytes = n * sizeof(T);
        if (bytes >= kMappedCellBytes)
            return static_cast<T*>(mapCellPages(bytes));
        return static_cast<T*>(::operator new(bytes));
    }
    void deallocate(T* block, std::size_t n) noexcept {
        std::size_t const bytes = n * sizeof(T);
        if (bytes >= kMappedCellBytes)
            unmapCellPages(block, bytes);
        else
            ::operator delete(block);
    }

    template <class U>
    void construct(U* place) noexcept {
        ::new (static_cast<void*>(place)) U;
    }
    template <class U, class... Args>
    void construct(U* place, Args&&... args) {
        ::new (static_cast<void*>(place)) U(std::forward<Args>(args)...);
    }

    template <class U>
    bool operator==(UninitializedAllocator<U> const&) const noexcept {
        return true;
    }
};

// resize() leaves the new cells unset; assign() or the count-and-value resize() fill them.
using Cells = std::vector<OBS, UninitializedAllocator<OBS>>;

// Makes `cells` the `count` cells stored in the open file at `offset` (a multiple of the page
// size). A large column maps the file's pages privately: nothing is copied until a cell is
// written, and then only that page. The file must not be written in place while the cells live;
// replacing it (a rename) is safe. False, with `cells` empty, when the file could not be read.
bool readCellsFromFile(Cells& cells, int fd, std::uint64_t offset, std::size_t count);

}  // namespace host::dictionary
