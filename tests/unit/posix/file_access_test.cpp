#include "posix/file_access.h"

#include "platform/text_literals.h"
#include "posix/system_error.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <sys/resource.h>
#include <sys/stat.h>
#include <cerrno>
#include <csignal>

namespace tavlo {
namespace {

// For its life no file of this process can grow beyond `bytes`, as on a full disk.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes)
    {
        m_handler = std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        rlimit now = m_before;
        now.rlim_cur = bytes;
        ::setrlimit(RLIMIT_FSIZE, &now);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
    ~FullDisk()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }

private:
    rlimit m_before = {};
    void (*m_handler)(int) = nullptr;
};

class FileAccessTest : public ::testing::Test {
protected:
    QString at(const char* name) const { return m_folder.filePath(QLatin1String(name)); }

    static void put(const QString& path, const QByteArray& text)
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(text), text.size());
    }

    static mode_t mode(const QString& path)
    {
        struct stat status = {};
        return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777 : 0;
    }

    QTemporaryDir m_folder;
};

constexpr qint64 kPlenty = 1'000'000;

TEST_F(FileAccessTest, ATextIsReadBackAsWritten)
{
    EXPECT_TRUE(writeTextInPlace(at("a"), "text\n"));
    EXPECT_EQ(readFile(at("a"), kPlenty), QByteArray("text\n"));
}

TEST_F(FileAccessTest, ALongerAndAShorterTextReplaceTheOldOneWhole)
{
    put(at("a"), "0123456789");
    EXPECT_TRUE(writeTextInPlace(at("a"), "abc"));
    EXPECT_EQ(readFile(at("a"), kPlenty), QByteArray("abc"));
    const QByteArray longer(100'000, 'x');
    EXPECT_TRUE(writeTextInPlace(at("a"), longer));
    EXPECT_EQ(readFile(at("a"), kPlenty), longer);
    EXPECT_TRUE(writeTextInPlace(at("a"), QByteArray()));
    EXPECT_EQ(readFile(at("a"), kPlenty), QByteArray());
}

TEST_F(FileAccessTest, AFullDiskLeavesTheOldTextWhole)
{
    put(at("a"), "the old text");
    {
        const FullDisk full(4096);
        EXPECT_FALSE(writeTextInPlace(at("a"), QByteArray(5000, 'x')));
    }
    EXPECT_EQ(readFile(at("a"), kPlenty), QByteArray("the old text"));
}

TEST_F(FileAccessTest, AFullDiskLeavesNoEmptyFileBehind)
{
    {
        const FullDisk full(10);
        EXPECT_FALSE(writeTextInPlace(at("a"), "longer than ten bytes"));
    }
    EXPECT_FALSE(QFileInfo::exists(at("a")));
}

TEST_F(FileAccessTest, AShorterTextFitsOnAFullDisk)
{
    put(at("a"), "the old text");
    {
        const FullDisk full(12);
        EXPECT_TRUE(writeTextInPlace(at("a"), "new"));
    }
    EXPECT_EQ(readFile(at("a"), kPlenty), QByteArray("new"));
}

TEST_F(FileAccessTest, ALinkedFileStaysALink)
{
    put(at("target"), "old");
    ASSERT_TRUE(QFile::link(at("target"), at("link")));
    EXPECT_TRUE(writeTextInPlace(at("link"), "new"));
    EXPECT_TRUE(QFileInfo(at("link")).isSymLink());
    EXPECT_EQ(readFile(at("target"), kPlenty), QByteArray("new"));
}

TEST_F(FileAccessTest, ALinkWithoutATargetMakesTheTarget)
{
    ASSERT_TRUE(QFile::link(at("target"), at("link")));
    EXPECT_TRUE(writeTextInPlace(at("link"), "new"));
    EXPECT_TRUE(QFileInfo(at("link")).isSymLink());
    EXPECT_EQ(readFile(at("target"), kPlenty), QByteArray("new"));
}

TEST_F(FileAccessTest, AHardLinkKeepsItsOtherName)
{
    put(at("a"), "old");
    ASSERT_EQ(::link(QFile::encodeName(at("a")).constData(), QFile::encodeName(at("b")).constData()), 0);
    EXPECT_TRUE(writeTextInPlace(at("a"), "new"));
    EXPECT_EQ(readFile(at("b"), kPlenty), QByteArray("new"));
}

TEST_F(FileAccessTest, AFileIsReadableByItsOwnerOnly)
{
    EXPECT_TRUE(writeTextInPlace(at("new"), "x"));
    EXPECT_EQ(mode(at("new")), mode_t{0600});
    put(at("old"), "x");
    ASSERT_EQ(::chmod(QFile::encodeName(at("old")).constData(), 0644), 0);
    EXPECT_TRUE(writeTextInPlace(at("old"), "y"));
    EXPECT_EQ(mode(at("old")), mode_t{0600});
}

TEST_F(FileAccessTest, WhatIsNoRegularFileIsNeitherReadNorWritten)
{
    ASSERT_EQ(::mkfifo(QFile::encodeName(at("pipe")).constData(), 0600), 0);
    for (const QString& path : {at("pipe"), m_folder.path(), u"/dev/zero"_s, u"/dev/full"_s, at("none/file")}) {
        EXPECT_EQ(readFile(path, kPlenty), std::nullopt) << path.toStdString();
        EXPECT_FALSE(writeTextInPlace(path, "x")) << path.toStdString();
    }
}

TEST_F(FileAccessTest, AFileBeyondTheLargestSizeIsNotRead)
{
    put(at("a"), "12345");
    EXPECT_EQ(readFile(at("a"), 5), QByteArray("12345"));
    EXPECT_EQ(readFile(at("a"), 4), std::nullopt);
}

TEST_F(FileAccessTest, AnEnormousFileIsNotReplaced)
{
    put(at("a"), "x");
    ASSERT_TRUE(QFile::resize(at("a"), 10'000'000'000));  // Sparse: it takes no room.
    EXPECT_FALSE(writeTextInPlace(at("a"), "new"));
    EXPECT_EQ(QFileInfo(at("a")).size(), 10'000'000'000);
}

TEST_F(FileAccessTest, WhatIsAppendedFollowsWhatIsThere)
{
    EXPECT_TRUE(appendToFile(at("a"), "one\n"));
    EXPECT_TRUE(appendToFile(at("a"), "two\n"));
    EXPECT_EQ(readFile(at("a"), kPlenty), QByteArray("one\ntwo\n"));
    EXPECT_EQ(mode(at("a")), mode_t{0600});
}

TEST_F(FileAccessTest, AFullDiskTakesNoPartOfWhatIsAppended)
{
    put(at("a"), "one\n");
    {
        const FullDisk full(10);
        EXPECT_FALSE(appendToFile(at("a"), "longer than what is left\n"));
    }
    EXPECT_EQ(readFile(at("a"), kPlenty), QByteArray("one\n"));
}

TEST_F(FileAccessTest, APipeWithoutAReaderTakesNothingAndWaitsForNobody)
{
    ASSERT_EQ(::mkfifo(QFile::encodeName(at("pipe")).constData(), 0600), 0);
    EXPECT_FALSE(appendToFile(at("pipe"), "x"));
}

TEST_F(FileAccessTest, AReplacementThatFailsTellsTheSystemsErrorAndLeavesTheOldFile)
{
    put(at("a"), "old");
    {
        const FullDisk full(10);
        EXPECT_EQ(replaceFile(at("a"), QByteArray(100, 'x')).error(), systemError(EFBIG));
    }
    EXPECT_EQ(readFile(at("a"), kPlenty), QByteArray("old"));
    EXPECT_EQ(replaceFile(at("none/file"), "x").error(), systemError(ENOENT));
}

TEST_F(FileAccessTest, AFolderIsMadeWithThoseAboveItForItsOwnerOnly)
{
    EXPECT_TRUE(makeFolder(at("one/two/three")));
    EXPECT_EQ(mode(at("one/two/three")), mode_t{0700});
    ASSERT_EQ(::chmod(QFile::encodeName(at("one/two/three")).constData(), 0755), 0);
    EXPECT_TRUE(makeFolder(at("one/two/three")));
    EXPECT_EQ(mode(at("one/two/three")), mode_t{0755}) << "one that is there stays as its owner made it";
}

TEST_F(FileAccessTest, AFolderThatCannotBeMadeIsTheSystemsError)
{
    put(at("file"), "x");
    EXPECT_EQ(makeFolder(at("file")).error(), systemError(ENOTDIR));
    EXPECT_EQ(makeFolder(at("file/below")).error(), systemError(ENOTDIR));
    EXPECT_EQ(makeFolder(u"/proc/none"_s).error(), systemError(ENOENT));
}

}  // namespace
}  // namespace tavlo
