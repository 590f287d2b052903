#include "settings/locations.h"

#include "platform/text_literals.h"

#include <QCoreApplication>
#include <QDir>

namespace tavlo {

namespace {

// The desktop's rules tell programs to ignore a variable that holds a relative path.
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
    locations.kAppSupportDir = inside(dataFolder, u"Tavlo"_s);
    locations.kConfigURL = inside(locations.kAppSupportDir, u"config.json"_s);
    locations.kLastWavURL = inside(locations.kAppSupportDir, u"laatste-opname.wav"_s);
    locations.kLogURL = inside(locations.kAppSupportDir, u"app.log"_s);
    locations.kDuckJournalURL = inside(locations.kAppSupportDir, u"gedempt-volume.json"_s);
    locations.kModelsDir = inside(locations.kAppSupportDir, u"models"_s);
    locations.kModelURL = inside(locations.kModelsDir, u"ggml-large-v3-turbo.bin"_s);
    locations.kBundleResourceDir = inside(executableFolder, u"../libexec/tavlo"_s);
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
        dataFolder = home + u"/.local/share"_s;
    }
    return inFolders(dataFolder, QCoreApplication::applicationDirPath());
}

}  // namespace tavlo
