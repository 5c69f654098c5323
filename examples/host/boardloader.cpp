#include "boardloader.h"

#include <skeda/skedainterface.h>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QPluginLoader>

namespace {

// Why a load failed: the loader's own words, made clearer when it found no
// file at all.
QString reason(const QPluginLoader& loader)
{
    if (loader.fileName().isEmpty())
        return QStringLiteral("no such file (%1)").arg(loader.errorString());
    return loader.errorString();
}

} // namespace

QString BoardLoader::pluginName()
{
    return QStringLiteral("skeda/libSkeda.so");
}

BoardLoader::BoardLoader(QObject* parent)
    : QObject(parent)
{
}

BoardLoader::~BoardLoader() = default;

void BoardLoader::setExplicitFile(const QString& fileName)
{
    m_explicitFile = fileName;
}

bool BoardLoader::load()
{
    m_failures.clear();
    if (!m_explicitFile.isEmpty()) {
        // Absolute, so that the loader takes exactly this file and does not
        // search its library path for a relative name.
        const QString fileName = QFileInfo(m_explicitFile).absoluteFilePath();
        return tryLoad(fileName, fileName);
    }

    const QStringList pluginPath = QCoreApplication::libraryPaths();
    if (tryLoad(pluginName(), QStringLiteral("%1 in Qt's plugin path (%2)")
                                  .arg(pluginName(), pluginPath.join(QStringLiteral(", ")))))
        return true;

    const QDir here(QCoreApplication::applicationDirPath());
    const QStringList nextToThisProgram = {
        // An installation: bin/ and the plugin folder under the same prefix.
        here.filePath(QStringLiteral(SKEDA_HOST_INSTALLED_PLUGIN)),
        // The build tree: bin/ and lib/ side by side.
        here.filePath(QStringLiteral(SKEDA_HOST_BUILD_PLUGIN)),
    };
    for (const QString& candidate : nextToThisProgram) {
        const QString fileName = QDir::cleanPath(candidate);
        if (tryLoad(fileName, fileName))
            return true;
    }
    return false;
}

bool BoardLoader::tryLoad(const QString& fileName, const QString& shownAs)
{
    // Parented to this loader; a plugin loader never unloads on
    // destruction, so the board stays valid for the life of the process.
    auto* loader = new QPluginLoader(fileName, this);
    if (!loader->load()) {
        m_failures.append(QStringLiteral("%1: %2").arg(shownAs, reason(*loader)));
        delete loader;
        return false;
    }
    QObject* instance = loader->instance();
    auto* board = qobject_cast<SkedaInterFace*>(instance);
    if (!board) {
        const QString className =
            instance ? QString::fromLatin1(instance->metaObject()->className()) : QString();
        m_failures.append(
            QStringLiteral("%1: the plugin (class \"%2\") does not implement SkedaInterFace (%3)")
                .arg(loader->fileName(), className, QStringLiteral(SkedaInterFace_iid)));
        delete loader;
        return false;
    }
    m_board = board;
    m_fileName = loader->fileName();
    return true;
}

QString BoardLoader::errorMessage() const
{
    if (m_board)
        return QString();
    QString message = QStringLiteral("could not load the board plugin; tried:");
    for (const QString& failure : m_failures)
        message += QStringLiteral("\n  ") + failure;
    return message;
}
