#include "settings/locations.h"

#include <QCoreApplication>
#include <QDir>

namespace tavlo {

namespace {

// The desktop's rules tell a program to take no notice of a variable that holds a relative path.
QString absolutePathFromEnvironment(const char* variable)
{
    const QString path = QFile::decodeName(qgetenv(variable));
    return QDir::isAbsolutePath(path) ? path : QString();
}

}  // namespace

Locations Locations::inFolders(const QString& dataFolder, const QString& executableFolder)
{
    const auto inside = [](const QString& folder, const QString& name) {
        return QDir::cleanPath(folder + QLatin1Char('/') + name);
    };
    Locations locations;
    locations.kAppSupportDir = inside(dataFolder, QStringLiteral("Tavlo"));
    locations.kConfigURL = inside(locations.kAppSupportDir, QStringLiteral("config.json"));
    locations.kLastWavURL = inside(locations.kAppSupportDir, QStringLiteral("laatste-opname.wav"));
    locations.kLogURL = inside(locations.kAppSupportDir, QStringLiteral("app.log"));
    locations.kDuckJournalURL = inside(locations.kAppSupportDir, QStringLiteral("gedempt-volume.json"));
    locations.kModelsDir = inside(locations.kAppSupportDir, QStringLiteral("models"));
    locations.kModelURL = inside(locations.kModelsDir, QStringLiteral("ggml-large-v3-turbo.bin"));
    locations.kBundleResourceDir = inside(executableFolder, QStringLiteral("../libexec/tavlo"));
    return locations;
}

Locations Locations::forThisProcess()
{
    QString dataFolder = absolutePathFromEnvironment("XDG_DATA_HOME");
    if (dataFolder.isEmpty()) {
        const QString home = absolutePathFromEnvironment("HOME");
        if (home.isEmpty()) {
            qFatal("Tavlo has no folder for its data: neither XDG_DATA_HOME nor HOME holds an absolute path.");
        }
        dataFolder = home + QStringLiteral("/.local/share");
    }
    return inFolders(dataFolder, QCoreApplication::applicationDirPath());
}

}  // namespace tavlo
