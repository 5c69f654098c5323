#pragma once

#include <QtGlobal>

// What the tests read of the heap to show that memory stays bounded.
namespace HeapUsage {

// Bytes allocated and not yet freed. In the sanitizer build malloc is
// AddressSanitizer's own, which glibc's statistics do not see, so the figure
// then comes from the sanitizer's allocator (and includes its records).
qint64 bytesInUse();

// True in the sanitizer build.
bool sanitized();

} // namespace HeapUsage
