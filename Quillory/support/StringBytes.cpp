#include "support/StringBytes.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

namespace quillory {

// Freed at once, hundreds of megabytes keep the thread for as many milliseconds.
void StringBytes::forgetBefore(std::size_t end) const
{
    static const auto pageSize = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto start = reinterpret_cast<std::uintptr_t>(m_bytes.data());
    const auto first = (start + m_forgotten + pageSize - 1) / pageSize * pageSize;
    const auto last = (start + end) / pageSize * pageSize;
    if (first >= last)
        return;
    madvise(reinterpret_cast<void*>(first), last - first, MADV_DONTNEED);
    m_forgotten = last - start;
}

}
