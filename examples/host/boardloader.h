#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

class QPluginLoader;
class SkedaInterFace;

// Finds libSkeda and loads it as a Qt plugin. Without an explicit file it
// tries, in this order: the name "skeda/libSkeda.so" in Qt's plugin path
// (the installed location, or a folder listed in QT_PLUGIN_PATH), the plugin
// folder of an installation this program belongs to, and the build tree's
// libSkeda next to this program. The first file that loads and whose
// instance is a SkedaInterFace wins.
class BoardLoader : public QObject
{
    Q_OBJECT

public:
    // The plugin's file name relative to a folder of Qt's plugin path.
    static QString pluginName();

    explicit BoardLoader(QObject* parent = nullptr);
    ~BoardLoader() override;

    // An explicit plugin file: when set, no other place is tried.
    void setExplicitFile(const QString& fileName);

    // True when a board plugin was found; board() and fileName() then tell
    // which. Otherwise errorMessage() lists every place tried and why it
    // failed.
    bool load();

    SkedaInterFace* board() const { return m_board; }
    QString fileName() const { return m_fileName; }
    QString errorMessage() const;

private:
    // One attempt; on failure appends "<what was tried>: <why>" to
    // m_failures.
    bool tryLoad(const QString& fileName, const QString& shownAs);

    QString m_explicitFile;
    SkedaInterFace* m_board = nullptr;
    QString m_fileName;
    QStringList m_failures;
};
