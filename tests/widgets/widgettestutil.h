#pragma once

#include "common/common.h"
#include "tests/support/pixelcheck.h"

#include <QSize>

// Helpers shared by the widget-kit tests.
namespace WidgetTest {

using PixelCheck::describe;
using PixelCheck::render;

// Whether the premultiplied pixel matches r, g, b, a within tolerance.
inline bool near(const QImage& image, int x, int y, int r, int g, int b, int a, int tolerance = 0)
{
    return PixelCheck::near(image, x, y, r, g, b, a, tolerance, tolerance);
}

// Puts the shared scale back to the design screen when a test ends, also on
// failure.
class ScaleGuard
{
public:
    explicit ScaleGuard(const QSize& desk) { Common::getInstance()->InitSize(desk); }
    ~ScaleGuard() { Common::getInstance()->InitSize(QSize(1920, 1080)); }
    ScaleGuard(const ScaleGuard&) = delete;
    ScaleGuard& operator=(const ScaleGuard&) = delete;
};

} // namespace WidgetTest

// Fails the test unless the premultiplied pixel matches within tolerance; the
// message is only built on failure.
#define VERIFY_PIXEL(image, x, y, r, g, b, a, tolerance)                                           \
    do {                                                                                           \
        if (!WidgetTest::near(image, x, y, r, g, b, a, tolerance)) {                               \
            QFAIL(qPrintable(WidgetTest::describe(image, x, y) +                                   \
                             QStringLiteral(", expected r %1 g %2 b %3 a %4 within %5")            \
                                 .arg(r)                                                           \
                                 .arg(g)                                                           \
                                 .arg(b)                                                           \
                                 .arg(a)                                                           \
                                 .arg(tolerance)));                                                \
        }                                                                                          \
    } while (false)
