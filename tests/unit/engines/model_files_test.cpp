#include "engines/model/model_files.h"

#include "platform/text_literals.h"
#include "posix/system_error.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cerrno>
#include <limits>

namespace tavlo {
namespace {

class ModelFilesTest : public testing::Test {
protected:
    ModelFilesTest() { QDir().mkpath(m_locations.kModelsDir); }

    // Without blocks on the disk.
    static void makeFile(const QString& path, qint64 size)
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_TRUE(file.resize(size));
    }

    QStringList modelFolder() const
    {
        return QDir(m_locations.kModelsDir).entryList(QDir::NoDotAndDotDot | QDir::AllEntries);
    }

    QTemporaryDir m_home;
    Locations m_locations = Locations::inFolders(m_home.filePath(u"data"_s), m_home.filePath(u"bin"_s));
    ModelFiles m_files{m_locations};
    const QStringList m_modelAlone{u"ggml-large-v3-turbo.bin"_s};
};

TEST_F(ModelFilesTest, aCompleteModelOf1500000000BytesIsInstalled)
{
    makeFile(m_files.temporaryPath(), 1'500'000'000);
    EXPECT_EQ(m_files.install().value(), 1'500'000'000);
    EXPECT_EQ(modelFolder(), m_modelAlone);
}

TEST_F(ModelFilesTest, oneByteLessIsRejected)
{
    makeFile(m_files.temporaryPath(), 1'499'999'999);
    EXPECT_EQ(m_files.install().error(), (Error{u"Tavlo"_s, 4, u"Download onvolledig (1499999999 bytes)."_s}));
    EXPECT_EQ(modelFolder(), QStringList());
}

TEST_F(ModelFilesTest, aRejectedDownloadLeavesTheOldModel)
{
    makeFile(m_locations.kModelURL, 7);
    makeFile(m_files.temporaryPath(), 8);
    EXPECT_EQ(m_files.install().error().code, 4);
    EXPECT_EQ(QFileInfo(m_locations.kModelURL).size(), 7);
}

TEST_F(ModelFilesTest, anOldStagingFileAndAnOldModelAreReplaced)
{
    makeFile(m_locations.kModelURL, 7);
    makeFile(m_files.stagingPath(), 8);
    makeFile(m_files.temporaryPath(), 1'600'000'000);
    EXPECT_EQ(m_files.install().value(), 1'600'000'000);
    EXPECT_EQ(QFileInfo(m_locations.kModelURL).size(), 1'600'000'000);
    EXPECT_EQ(modelFolder(), m_modelAlone);
}

TEST_F(ModelFilesTest, aMoveThatFailsIsThePlatformsFailureAndLeavesNoFileOfTheTransfer)
{
    QDir().mkpath(m_locations.kModelURL + u"/folder"_s);
    makeFile(m_files.temporaryPath(), 1'500'000'000);
    const Error error = m_files.install().error();
    EXPECT_EQ(error.domain, kSystemErrorDomain);
    EXPECT_EQ(error.code, EISDIR);
    EXPECT_EQ(modelFolder(), m_modelAlone);  // the folder in its place
    EXPECT_EQ(m_files.install().error().code, ENOENT);
}

TEST_F(ModelFilesTest, theFolderIsMadeWithItsParentsForTheOwnerAlone)
{
    QDir(m_home.filePath(u"data"_s)).removeRecursively();
    EXPECT_TRUE(m_files.createFolder());
    EXPECT_TRUE(m_files.createFolder());
    EXPECT_EQ(QFileInfo(m_locations.kModelsDir).permissions() & (QFile::ReadGroup | QFile::ReadOther | QFile::ExeOther),
              QFile::Permissions());
}

TEST_F(ModelFilesTest, aFileInTheFoldersPlaceIsThePlatformsFailure)
{
    QDir(m_locations.kModelsDir).removeRecursively();
    makeFile(m_locations.kModelsDir, 1);
    EXPECT_EQ(m_files.createFolder().error().code, ENOTDIR);
}

TEST_F(ModelFilesTest, roomForTheAnnouncedSizeIsAskedFor)
{
    EXPECT_TRUE(m_files.checkRoom(1));
    constexpr qint64 kFarTooMuch = std::numeric_limits<qint64>::max();
    EXPECT_EQ(
        m_files.checkRoom(kFarTooMuch).error(),
        (Error{u"Tavlo"_s, kNoCode, u"Te weinig schijfruimte voor het model (9223372036854775807 bytes nodig)."_s}));
}

TEST_F(ModelFilesTest, roomForTheSmallestModelIsAskedForWhileTheSizeIsUnknown)
{
    const ModelFiles files(m_locations, std::numeric_limits<qint64>::max());
    for (const qint64 unknown : {-1, 0}) {
        EXPECT_TRUE(files.checkRoom(unknown).error().description.startsWith(u"Te weinig schijfruimte"_s));
    }
}

}  // namespace
}  // namespace tavlo
