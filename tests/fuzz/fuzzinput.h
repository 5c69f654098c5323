#pragma once

// What the fuzz targets share: the decoding of the fuzzer's bytes into
// numbers, and the checks that end a run.
//
// Every target is built twice: by clang as a libFuzzer target (its entry is
// LLVMFuzzerTestOneInput), and by the ordinary builds into tst_fuzzcorpus,
// which replays the stored corpus (its entry is then renamed to
// SKEDA_FUZZ_ENTRY, one per target).

#include <QString>
#include <QtGlobal>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#ifndef SKEDA_FUZZ_ENTRY
#define SKEDA_FUZZ_ENTRY LLVMFuzzerTestOneInput
#endif

// A broken property: print it and abort, which the fuzzer reports as a crash
// with the input that led to it.
#define FUZZ_CHECK(condition, what)                                                                \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "fuzz check failed at %s:%d: %s (%s)\n", __FILE__, __LINE__,      \
                         what, #condition);                                                        \
            std::abort();                                                                          \
        }                                                                                          \
    } while (false)

namespace fuzz {

// Qt warns about every point a painter path refuses (NaN, beyond 1e128) and
// the geometry about out-of-range input; at thousands of runs a second those
// lines are noise. Fatal messages still end the run.
void quietQt();

// Reads the fuzzer's bytes front to back; past the end every read gives 0.
class Input
{
public:
    Input(const uint8_t* data, size_t size)
        : m_data(data)
        , m_size(size)
    {
    }

    bool atEnd() const { return m_pos >= m_size; }

    uint8_t byte() { return m_pos < m_size ? m_data[m_pos++] : 0; }

    bool flag() { return byte() & 1; }

    // 0 .. count - 1
    int below(int count) { return count > 0 ? byte() % count : 0; }

    int16_t int16()
    {
        const uint16_t value = uint16_t(byte()) | uint16_t(uint16_t(byte()) << 8);
        int16_t result;
        std::memcpy(&result, &value, sizeof result);
        return result;
    }

    int32_t int32()
    {
        uint32_t value = 0;
        for (int i = 0; i < 4; ++i)
            value |= uint32_t(byte()) << (8 * i);
        int32_t result;
        std::memcpy(&result, &value, sizeof result);
        return result;
    }

    // Any int, with the edges of the range likely.
    int integer()
    {
        switch (below(8)) {
        case 0:
            return std::numeric_limits<int>::max();
        case 1:
            return std::numeric_limits<int>::min();
        case 2:
            return int32();
        default:
            return int16();
        }
    }

    // Mostly a coordinate as a screen has them (in 1/16 pixel steps within
    // +-2048, or coarser within +-8 million); otherwise one of the values no
    // screen sends: NaN, infinities, signed zeros, the extremes of double,
    // denormals, the edge of what a QPainterPath holds, or raw bits.
    double real()
    {
        const uint8_t kind = byte();
        if (kind < 150)
            return int16() / 16.0;
        if (kind < 190)
            return int32() / 256.0;
        switch (kind % 16) {
        case 0:
            return std::numeric_limits<double>::quiet_NaN();
        case 1:
            return std::numeric_limits<double>::infinity();
        case 2:
            return -std::numeric_limits<double>::infinity();
        case 3:
            return 0.0;
        case 4:
            return -0.0;
        case 5:
            return std::numeric_limits<double>::max();
        case 6:
            return std::numeric_limits<double>::lowest();
        case 7:
            return std::numeric_limits<double>::min();
        case 8:
            return std::numeric_limits<double>::denorm_min();
        case 9:
            return 1e128;
        case 10:
            return -1e128 * (1.0 - 1e-16);
        case 11:
            return 1e300;
        case 12:
            return 2147483648.0; // one past INT_MAX
        case 13:
            return 1e-300;
        default: {
            uint64_t bits = 0;
            for (int i = 0; i < 8; ++i)
                bits |= uint64_t(byte()) << (8 * i);
            double result;
            std::memcpy(&result, &bits, sizeof result);
            return result;
        }
        }
    }

private:
    const uint8_t* m_data;
    size_t m_size;
    size_t m_pos = 0;
};

// Finite and small enough that sums and products of a few of them stay far
// from overflow, and that a QPainterPath keeps them.
inline bool bounded(double value, double limit = 1e12)
{
    return std::isfinite(value) && std::fabs(value) <= limit;
}

} // namespace fuzz
