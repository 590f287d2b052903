#include "settings/locations.h"
#include "platform/text_literals.h"

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
    const Locations locations = Locations::inFolders(u"/home/anna/.local/share"_s, u"/usr/bin"_s);
    EXPECT_EQ(locations.kAppSupportDir, u"/home/anna/.local/share/Tavlo"_s);
    EXPECT_EQ(locations.kConfigURL, u"/home/anna/.local/share/Tavlo/config.json"_s);
    EXPECT_EQ(locations.kLastWavURL, u"/home/anna/.local/share/Tavlo/laatste-opname.wav"_s);
    EXPECT_EQ(locations.kLogURL, u"/home/anna/.local/share/Tavlo/app.log"_s);
    EXPECT_EQ(locations.kModelsDir, u"/home/anna/.local/share/Tavlo/models"_s);
    EXPECT_EQ(locations.kModelURL, u"/home/anna/.local/share/Tavlo/models/ggml-large-v3-turbo.bin"_s);
    EXPECT_EQ(locations.kBundleResourceDir, u"/usr/libexec/tavlo"_s);
}

TEST(Model, HasItsAddressAndItsSmallestSize)
{
    EXPECT_EQ(kModelRemoteURL, u"https://huggingface.co/ggerganov/whisper.cpp/resolve/main/ggml-large-v3-turbo.bin"_s);
    EXPECT_EQ(kModelMinBytes, 1'500'000'000);
}

TEST_F(LocationsTest, TheDesktopsDataFolderGoesBeforeTheOneInTheHomeFolder)
{
    const Variable data("XDG_DATA_HOME", "/data");
    const Variable home("HOME", "/home/anna");
    EXPECT_EQ(supportFolder(), u"/data/Tavlo"_s);
}

TEST_F(LocationsTest, WithoutADataFolderTheHomeFolderHasIt)
{
    const Variable home("HOME", "/home/anna");
    for (const QByteArray& value : {QByteArray(), QByteArray(""), QByteArray("relative/folder")}) {
        const Variable data("XDG_DATA_HOME", value);
        EXPECT_EQ(supportFolder(), u"/home/anna/.local/share/Tavlo"_s);
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
