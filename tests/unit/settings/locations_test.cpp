#include "settings/locations.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>

#include <cstdlib>

namespace tavlo {
namespace {

// Sets a variable, and puts it back.
class Variable {
public:
    Variable(const char* name, const QByteArray& value)
        : m_name(name), m_wasSet(qEnvironmentVariableIsSet(name)), m_before(qgetenv(name))
    {
        if (value.isNull()) {
            qunsetenv(name);
        } else {
            qputenv(name, value);
        }
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;
    ~Variable()
    {
        if (m_wasSet) {
            qputenv(m_name, m_before);
        } else {
            qunsetenv(m_name);
        }
    }

private:
    const char* m_name;
    bool m_wasSet;
    QByteArray m_before;
};

class LocationsTest : public ::testing::Test {
protected:
    static QString supportFolder()
    {
        int argumentCount = 1;
        char name[] = "test";
        char* arguments[] = {name, nullptr};
        const QCoreApplication application(argumentCount, arguments);
        return Locations::forThisProcess().kAppSupportDir;
    }
};

TEST_F(LocationsTest, EveryPlaceStandsInTheSupportFolder)
{
    const Locations locations =
        Locations::inFolders(QStringLiteral("/home/anna/.local/share"), QStringLiteral("/usr/bin"));
    EXPECT_EQ(locations.kAppSupportDir, QStringLiteral("/home/anna/.local/share/Tavlo"));
    EXPECT_EQ(locations.kConfigURL, QStringLiteral("/home/anna/.local/share/Tavlo/config.json"));
    EXPECT_EQ(locations.kLastWavURL, QStringLiteral("/home/anna/.local/share/Tavlo/laatste-opname.wav"));
    EXPECT_EQ(locations.kLogURL, QStringLiteral("/home/anna/.local/share/Tavlo/app.log"));
    EXPECT_EQ(locations.kModelsDir, QStringLiteral("/home/anna/.local/share/Tavlo/models"));
    EXPECT_EQ(locations.kModelURL, QStringLiteral("/home/anna/.local/share/Tavlo/models/ggml-large-v3-turbo.bin"));
    EXPECT_EQ(locations.kBundleResourceDir, QStringLiteral("/usr/libexec/tavlo"));
    EXPECT_EQ(kModelMinBytes, 1'500'000'000);
}

TEST_F(LocationsTest, TheDesktopsDataFolderGoesBeforeTheOneInTheHomeFolder)
{
    const Variable data("XDG_DATA_HOME", "/data");
    const Variable home("HOME", "/home/anna");
    EXPECT_EQ(supportFolder(), QStringLiteral("/data/Tavlo"));
}

TEST_F(LocationsTest, WithoutADataFolderTheHomeFolderHasIt)
{
    const Variable home("HOME", "/home/anna");
    for (const QByteArray& value : {QByteArray(), QByteArray(""), QByteArray("relative/folder")}) {
        const Variable data("XDG_DATA_HOME", value);
        EXPECT_EQ(supportFolder(), QStringLiteral("/home/anna/.local/share/Tavlo"));
    }
}

TEST_F(LocationsTest, WithoutAnyFolderTheProcessStopsWithAMessage)
{
    const Variable data("XDG_DATA_HOME", {});
    const Variable home("HOME", {});
    EXPECT_DEATH(supportFolder(), "XDG_DATA_HOME");
}

}  // namespace
}  // namespace tavlo
