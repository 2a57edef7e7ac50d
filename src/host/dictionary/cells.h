#pragma once
// The cells of a column of the case store. Growing one does not zero what it gains: a reader
// that sizes a column of ten million cases and fills it from several threads at once would
// otherwise write every cell twice, the second time on one core.

#include <memory>
#include <utility>
#include <vector>

#include "platform/dictionary.h"

namespace host::dictionary {

// std::allocator, except that a value made without arguments is left as the memory holds it.
template <class T>
struct UninitializedAllocator : std::allocator<T> {
    using std::allocator<T>::allocator;
    template <class U>
    struct rebind {
        using other = UninitializedAllocator<U>;
    };
    template <class U>
    void construct(U* place) noexcept {
        ::new (static_cast<void*>(place)) U;
    }
    template <class U, class... Args>
    void construct(U* place, Args&&... args) {
        ::new (static_cast<void*>(place)) U(std::forward<Args>(args)...);
    }
};

// resize() leaves the new cells unset; assign() or the count-and-value resize() fill them.
using Cells = std::vector<OBS, UninitializedAllocator<OBS>>;

}  // namespace host::dictionary
