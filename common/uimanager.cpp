#include "common/uimanager.h"

UIManager* UIManager::getInstance()
{
    static UIManager instance;
    return &instance;
}

UIManager::UIManager()
    : m_pen(QColor(QStringLiteral("#F73859")), 6)
{
}

QPen UIManager::pen() const
{
    return m_pen;
}

void UIManager::setPen(const QPen& pen)
{
    m_pen = pen;
}

void UIManager::setPenColor(const QColor& color)
{
    m_pen.setColor(color);
}

void UIManager::setPenWidth(int width)
{
    m_pen.setWidth(width);
}
