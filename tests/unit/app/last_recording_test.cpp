#include "app/dictation_session.h"
#include "platform/text_literals.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include <sys/resource.h>
#include <sys/stat.h>

namespace tavlo {
namespace {

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
}

TEST(LastRecording, ReplacesTheFileBeforeAndIsReadableByItsOwnerOnly)
{
    QTemporaryDir folder;
    const QString path = folder.filePath(u"laatste-opname.wav"_s);
    ASSERT_TRUE(writeLastRecording("first, and longer", path));
    ASSERT_TRUE(writeLastRecording("second", path));
    EXPECT_EQ(contentOf(path), "second");
    struct stat status = {};
    ASSERT_EQ(stat(qPrintable(path), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

// While it lives, no file of this process grows past `bytes`, as on a full disk.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        getrlimit(RLIMIT_FSIZE, &m_before);
        m_handler = std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit = m_before;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }

private:
    rlimit m_before = {};
    void (*m_handler)(int) = nullptr;
};

TEST(LastRecording, RemovesAnOlderFileWhenTheNewOneCannotBeWritten)
{
    QTemporaryDir folder;
    const QString path = folder.filePath(u"laatste-opname.wav"_s);
    ASSERT_TRUE(writeLastRecording("yesterday's words", path));
    Result<void> result;
    {
        const FileSizeLimit limit(1000);
        result = writeLastRecording(QByteArray(100'000, 'x'), path);
    }
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().description, QString::fromLocal8Bit(std::strerror(EFBIG)));
    EXPECT_TRUE(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).isEmpty());
}

TEST(LastRecording, AMissingFolderIsAFailureWithADescription)
{
    QTemporaryDir folder;
    const auto result = writeLastRecording("words", folder.filePath(u"missing/laatste-opname.wav"_s));
    ASSERT_FALSE(result);
    EXPECT_FALSE(result.error().description.isEmpty());
}

}  // namespace
}  // namespace tavlo
