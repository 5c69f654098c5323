#pragma once

#include <QFont>
#include <QSize>

// Screen scaling shared by every widget of the board. All sizes are designed
// for a screen 1920 pixels wide; InitSize() derives one factor from the
// primary screen and the getNewSize() family applies it.
class Common
{
public:
    static Common* getInstance();

    // Stores the desk size. The factor becomes width / 1920 for screens at
    // least 1920 wide and stays exactly 1.0 below that: narrow screens are
    // never scaled down.
    void InitSize(const QSize& size);

    // value x factor, rounded half away from zero.
    int getNewSize(int value) const;
    QSize getNewSize(int width, int height) const;
    QSize getNewSize(const QSize& size) const;

    QSize getDeskSize() const;
    double getScale() const;

    QFont getFont() const;
    void setFont(const QFont& font);
    // A default QFont (not the stored family) with pixel size px x factor,
    // truncated towards zero.
    QFont getFont(int px) const;

private:
    Common();
    Common(const Common&) = delete;
    Common& operator=(const Common&) = delete;

    QSize m_deskSize;
    double m_scale = 1.0;
    QFont m_font;
};
