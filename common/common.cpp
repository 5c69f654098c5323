#include "common/common.h"

#include <cmath>

namespace {
constexpr double kDesignWidth = 1920.0;
}

Common* Common::getInstance()
{
    static Common instance;
    return &instance;
}

Common::Common()
{
    m_font.setFamily(QStringLiteral("Microsoft YaHei"));
    m_font.setPixelSize(14);
}

void Common::InitSize(const QSize& size)
{
    m_deskSize = size;
    m_scale = size.width() >= kDesignWidth ? size.width() / kDesignWidth : 1.0;
}

int Common::getNewSize(int value) const
{
    return static_cast<int>(std::lround(value * m_scale));
}

QSize Common::getNewSize(int width, int height) const
{
    return QSize(getNewSize(width), getNewSize(height));
}

QSize Common::getNewSize(const QSize& size) const
{
    return getNewSize(size.width(), size.height());
}

QSize Common::getDeskSize() const
{
    return m_deskSize;
}

double Common::getScale() const
{
    return m_scale;
}

QFont Common::getFont() const
{
    return m_font;
}

void Common::setFont(const QFont& font)
{
    m_font = font;
}

QFont Common::getFont(int px) const
{
    QFont font;
    font.setPixelSize(static_cast<int>(px * m_scale));
    return font;
}
