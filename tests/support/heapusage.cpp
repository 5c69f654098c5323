#include "tests/support/heapusage.h"

#include <malloc.h>

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
// From the sanitizer runtime (GCC installs no header that declares it).
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace HeapUsage {

qint64 bytesInUse()
{
#if defined(__SANITIZE_ADDRESS__)
    return qint64(__sanitizer_get_current_allocated_bytes());
#else
    // Give freed memory back first, so that what is left is what is held.
    malloc_trim(0);
    const struct mallinfo2 info = mallinfo2();
    return qint64(info.uordblks) + qint64(info.hblkhd);
#endif
}

bool sanitized()
{
#if defined(__SANITIZE_ADDRESS__)
    return true;
#else
    return false;
#endif
}

} // namespace HeapUsage
