#include "settings/app_log.h"

#include "platform/text_literals.h"
#include "support/held_thread.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <chrono>
#include <memory>
#include <thread>

namespace tavlo {
namespace {

class FileLogTest : public ::testing::Test {
protected:
    // Writes the lines and waits for them, as the end of the process does.
    void write(const QStringList& messages) const
    {
        FileLog log(m_path, kPatience);
        for (const QString& message : messages) {
            log.appLog(message);
        }
    }

    QByteArray content() const
    {
        QFile file(m_path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    void fill(qint64 size) const
    {
        QFile file(m_path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(QByteArray(size, '.')), size);
    }

    QTemporaryDir m_folder;
    QString m_path = m_folder.filePath(u"app.log"_s);
    static constexpr std::chrono::minutes kPatience{1};
    static constexpr int kStampLength = 20;  // "2026-01-31 23:59:59 "
};

TEST_F(FileLogTest, ALineIsTheLocalTimeABlankTheMessageAndALineFeed)
{
    const QDateTime before = QDateTime::currentDateTime();
    write({u"Opname gestart – ë"_s});
    const QString text = QString::fromUtf8(content());
    static const QRegularExpression form(u"^(\\d{4}-\\d{2}-\\d{2} \\d{2}:\\d{2}:\\d{2}) Opname gestart – ë\n$"_s);
    const auto match = form.match(text);
    ASSERT_TRUE(match.hasMatch()) << text.toStdString();
    const QDateTime stamp = QDateTime::fromString(match.captured(1), u"yyyy-MM-dd HH:mm:ss"_s);
    EXPECT_LE(stamp, QDateTime::currentDateTime());
    EXPECT_GE(stamp, before.addSecs(-1));
}

TEST_F(FileLogTest, AMessageWithLineBreaksIsWrittenAsGiven)
{
    write({u"een\ntwee\n"_s, QString()});
    const QList<QByteArray> lines = content().split('\n');
    ASSERT_EQ(lines.size(), 5);
    EXPECT_EQ(lines[0].mid(kStampLength), "een");
    EXPECT_EQ(lines[1], "twee");
    EXPECT_EQ(lines[2], "");
    EXPECT_EQ(lines[3].size(), kStampLength);
}

TEST_F(FileLogTest, LinesOfOneThreadKeepTheirOrderAndNeverMix)
{
    {
        FileLog log(m_path, kPatience);
        std::thread other([&] {
            for (int i = 0; i < 200; ++i) {
                log.appLog(u"b%1"_s.arg(i));
            }
        });
        for (int i = 0; i < 200; ++i) {
            log.appLog(u"a%1"_s.arg(i));
        }
        other.join();
    }
    int nextA = 0;
    int nextB = 0;
    for (const QByteArray& line : content().trimmed().split('\n')) {
        const QByteArray message = line.mid(kStampLength);
        int& next = message.startsWith('a') ? nextA : nextB;
        EXPECT_EQ(message.mid(1).toInt(), next++);
    }
    EXPECT_EQ(nextA, 200);
    EXPECT_EQ(nextB, 200);
}

TEST_F(FileLogTest, ALogOfExactlyTheLargestSizeIsAppendedTo)
{
    fill(512'000);
    write({u"x"_s});
    EXPECT_EQ(content().size(), 512'000 + kStampLength + 2);
    EXPECT_TRUE(content().startsWith("...."));
}

TEST_F(FileLogTest, ALargerLogStartsOverWithTheNewLineOnly)
{
    fill(512'001);
    write({u"x"_s});
    EXPECT_EQ(content().size(), kStampLength + 2);
    EXPECT_TRUE(content().endsWith(" x\n"));
}

TEST_F(FileLogTest, AMissingFolderIsSilentAndTheLogComesWhenTheFolderDoes)
{
    const QString folder = m_folder.filePath(u"later"_s);
    m_path = folder + u"/app.log"_s;
    write({u"lost"_s});
    EXPECT_FALSE(QFileInfo::exists(folder));
    ASSERT_TRUE(QDir().mkpath(folder));
    write({u"kept"_s});
    EXPECT_TRUE(content().endsWith(" kept\n"));
}

TEST_F(FileLogTest, AFullDiskIsSilent)
{
    ASSERT_TRUE(QFile::link(u"/dev/full"_s, m_path));
    write({u"een"_s, u"twee"_s});
    EXPECT_EQ(QFileInfo(m_path).symLinkTarget(), u"/dev/full"_s);
}

TEST_F(FileLogTest, APipeWithoutAReaderIsSilent)
{
    ASSERT_EQ(::mkfifo(QFile::encodeName(m_path).constData(), 0600), 0);
    write({u"x"_s});
    EXPECT_FALSE(QFileInfo(m_path).isFile());
}

TEST_F(FileLogTest, AFullPipeHoldsUpNeitherTheCallerNorTheLinesAfterIt)
{
    const QByteArray name = QFile::encodeName(m_path);
    ASSERT_EQ(::mkfifo(name.constData(), 0600), 0);
    const int reader = ::open(name.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    ASSERT_EQ(::fcntl(reader, F_SETPIPE_SZ, 4096), 4096);
    {
        FileLog log(m_path, std::chrono::seconds(10));
        for (int i = 0; i < 100; ++i) {  // far more than a pipe holds
            log.appLog(QString(10'000, QLatin1Char('x')));
        }
        int waiting = 0;
        while (waiting < 4096) {
            ASSERT_EQ(::ioctl(reader, FIONREAD, &waiting), 0);
            std::this_thread::yield();
        }
        ASSERT_TRUE(QFile::remove(m_path));
        log.appLog(u"later"_s);
    }
    EXPECT_TRUE(content().endsWith(" later\n"));
    ::close(reader);
}

// As a disk does that does not answer.
TEST_F(FileLogTest, AThreadThatIsHeldUpHoldsUpNeitherTheCallerNorTheEndForLong)
{
    auto log = std::make_unique<FileLog>(m_path, std::chrono::milliseconds(1));
    log->appLog(u"een"_s);
    while (!content().endsWith('\n')) {
        std::this_thread::yield();
    }
    HeldThread thread("tavlo.log");
    log->appLog(u"twee"_s);
    log.reset();
    EXPECT_EQ(content().count('\n'), 1);
    thread.letGo();
    EXPECT_EQ(content().count('\n'), 2);
    EXPECT_TRUE(content().endsWith(" twee\n"));
}

TEST_F(FileLogTest, TheFileIsReadableByItsOwnerOnly)
{
    write({u"x"_s});
    struct stat status = {};
    ASSERT_EQ(::stat(QFile::encodeName(m_path).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, mode_t{0600});
}

TEST_F(FileLogTest, WithoutALineThereIsNoFile)
{
    write({});
    EXPECT_FALSE(QFileInfo::exists(m_path));
}

TEST(AppLog, ANumberIsWrittenAsTheShortestDecimalThatReadsBackTheSame)
{
    EXPECT_EQ(shortestDecimal(0.0F), u"0.0"_s);
    EXPECT_EQ(shortestDecimal(1.0F), u"1.0"_s);
    EXPECT_EQ(shortestDecimal(0.18F), u"0.18"_s);
    EXPECT_EQ(shortestDecimal(0.1F), u"0.1"_s);
    EXPECT_EQ(shortestDecimal(0.123456789F), u"0.12345679"_s);
    EXPECT_EQ(shortestDecimal(0.00001F), u"0.00001"_s);
}

}  // namespace
}  // namespace tavlo
