#include "engines/local/local_runner.h"

#include "platform/text_literals.h"
#include "posix/system_error.h"
#include "support/fakes/memory_log.h"
#include "support/fifo.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <sys/stat.h>
#include <cerrno>
#include <csignal>
#include <thread>

namespace tavlo {
namespace {

// A support folder and a bundle with a ready model, and shell scripts in whisper-cli's place.
class LocalRunnerTest : public testing::Test {
protected:
    LocalRunnerTest() { makeModel(kModelMinBytes); }

    // Without blocks on the disk.
    void makeModel(qint64 size)
    {
        QDir().mkpath(m_locations.kModelsDir);
        QFile model(m_locations.kModelURL);
        ASSERT_TRUE(model.open(QIODevice::WriteOnly));
        ASSERT_TRUE(model.resize(size));
    }

    void writeProgram(const QString& path, const QByteArray& text, QFile::Permissions permissions = kRunnable)
    {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(text);
        ASSERT_TRUE(file.setPermissions(permissions));
    }

    void installScript(const QByteArray& commands) { writeProgram(m_bundled, "#!/bin/sh\n" + commands); }

    TranscriptionResult run(const Config& config = {}, std::chrono::milliseconds limit = kLongestLocalRun)
    {
        return LocalRunner(m_locations, m_log, limit).transcribeLocal(m_home.filePath(u"een opname.wav"_s), config);
    }

    static constexpr QFile::Permissions kRunnable = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;

    QTemporaryDir m_home;
    Locations m_locations = Locations::inFolders(m_home.filePath(u"data"_s), m_home.filePath(u"prefix/bin"_s));
    const QString m_bundled = m_locations.kBundleResourceDir + u"/whisper-cli"_s;
    const QString m_own = m_locations.kAppSupportDir + u"/bin/whisper-cli"_s;
    MemoryLog m_log;
};

TEST(CleanedTranscript, joinsTrimmedLinesByOneBlank)
{
    EXPECT_EQ(cleanedTranscript("  Hallo wereld. \n\n  Tweede regel\n"), u"Hallo wereld. Tweede regel"_s);
}

TEST(CleanedTranscript, isEmptyForBlankLines)
{
    EXPECT_EQ(cleanedTranscript("\n  \n\t\n \n"), QString());
    EXPECT_EQ(cleanedTranscript({}), QString());
}

TEST(CleanedTranscript, keepsOtherLineEndsInsideAndTrimsThemAtTheEnds)
{
    EXPECT_EQ(cleanedTranscript("\r\nEen \r\n\tTwee\r\n"), u"Een \r Twee"_s);
}

TEST(CleanedTranscript, isEmptyForOutputThatIsNotUtf8)
{
    EXPECT_EQ(cleanedTranscript("Hallo \xff wereld\n"), QString());
    EXPECT_EQ(cleanedTranscript("Zo\xc3\xab\n"), u"Zo\u00eb"_s);
}

TEST_F(LocalRunnerTest, aModelOfExactlyTheSmallestSizeIsReady)
{
    makeModel(1'500'000'000);
    EXPECT_TRUE(LocalRunner(m_locations, m_log).localModelReady());
}

TEST_F(LocalRunnerTest, aModelOfOneByteLessIsNotReady)
{
    makeModel(1'499'999'999);
    EXPECT_FALSE(LocalRunner(m_locations, m_log).localModelReady());
}

TEST_F(LocalRunnerTest, aMissingModelOrAFolderInItsPlaceIsNotReady)
{
    QFile::remove(m_locations.kModelURL);
    EXPECT_FALSE(LocalRunner(m_locations, m_log).localModelReady());
    QDir().mkpath(m_locations.kModelURL);
    EXPECT_FALSE(LocalRunner(m_locations, m_log).localModelReady());
}

TEST_F(LocalRunnerTest, theBundlesProgramComesBeforeTheUsersOwn)
{
    writeProgram(m_own, "#!/bin/sh\necho eigen\n");
    EXPECT_EQ(LocalRunner(m_locations, m_log).whisperBinaryURL(), m_own);
    EXPECT_EQ(run().value(), u"eigen"_s);
    writeProgram(m_bundled, "#!/bin/sh\necho bundel\n");
    EXPECT_EQ(LocalRunner(m_locations, m_log).whisperBinaryURL(), m_bundled);
    EXPECT_EQ(run().value(), u"bundel"_s);
}

TEST_F(LocalRunnerTest, aProgramThatIsNotExecutableIsSkipped)
{
    writeProgram(m_bundled, "#!/bin/sh\necho bundel\n", QFile::ReadOwner | QFile::WriteOwner);
    EXPECT_EQ(LocalRunner(m_locations, m_log).whisperBinaryURL(), std::nullopt);
    writeProgram(m_own, "#!/bin/sh\necho eigen\n");
    EXPECT_EQ(LocalRunner(m_locations, m_log).whisperBinaryURL(), m_own);
}

TEST_F(LocalRunnerTest, aFolderInTheProgramsPlaceIsSkipped)
{
    QDir().mkpath(m_bundled);
    EXPECT_EQ(LocalRunner(m_locations, m_log).whisperBinaryURL(), std::nullopt);
}

TEST_F(LocalRunnerTest, aMissingProgramIsAFailureWithCode3)
{
    EXPECT_EQ(run().error(), (Error{u"Tavlo"_s, 3, u"whisper-cli ontbreekt in de app."_s}));
}

TEST_F(LocalRunnerTest, aMissingModelIsAFailureWithCode3)
{
    installScript("echo nooit\n");
    makeModel(10);
    EXPECT_EQ(run().error(), (Error{u"Tavlo"_s, 3, u"Het offline taalmodel is nog niet gedownload."_s}));
}

TEST_F(LocalRunnerTest, theChildGetsExactlyEightArguments)
{
    installScript("printf '%s\\n' \"$#\" \"$@\"\n");
    Config config;
    config.language = u"auto"_s;
    config.vocabulary = u"woorden"_s;
    EXPECT_EQ(run(config).value(), u"8 -m "_s + m_locations.kModelURL + u" -l auto --no-timestamps -np -f "_s +
                                       m_home.filePath(u"een opname.wav"_s));
}

TEST_F(LocalRunnerTest, outputOfBlankLinesIsAnEmptyTranscript)
{
    installScript("printf '\\n  \\n\\n'\n");
    EXPECT_EQ(run().value(), QString());
}

TEST_F(LocalRunnerTest, exitStatus2IsAFailureWithCode2)
{
    installScript("echo tekst\nexit 2\n");
    EXPECT_EQ(run().error(), (Error{u"Tavlo"_s, 2, u"whisper-cli stopte met code 2."_s}));
}

TEST_F(LocalRunnerTest, aChildKilledByASignalIsAFailureWithTheSignalsNumber)
{
    installScript("echo tekst\nkill -KILL $$\n");
    EXPECT_EQ(run().error(), (Error{u"Tavlo"_s, 9, u"whisper-cli stopte met code 9."_s}));
}

TEST_F(LocalRunnerTest, outputThatIsNotUtf8IsAnEmptyTranscript)
{
    installScript("printf 'Hallo \\377 wereld\\n'\n");
    EXPECT_EQ(run().value(), QString());
}

TEST_F(LocalRunnerTest, aProgramThatTheSystemRefusesIsThePlatformsFailure)
{
    writeProgram(m_bundled, "#!/no/such/interpreter\n");
    EXPECT_EQ(run().error().domain, kSystemErrorDomain);
    EXPECT_EQ(run().error().code, ENOENT);
    EXPECT_FALSE(run().error().description.isEmpty());
    writeProgram(m_bundled, QByteArray("\x7f"
                                       "ELF\0\0\0\0",
                                       8));
    EXPECT_EQ(run().error().code, ENOEXEC);
}

TEST(LocalRunner, aRunMayTakeThreeMinutes)
{
    EXPECT_EQ(kLongestLocalRun, std::chrono::seconds(180));
}

TEST_F(LocalRunnerTest, aChildThatHangsPastTheLimitIsAskedToEndAndLogged)
{
    installScript("echo tekst\nexec tail -f /dev/null\n");
    EXPECT_EQ(run({}, std::chrono::milliseconds(50)).error(),
              (Error{u"Tavlo"_s, SIGTERM, u"whisper-cli stopte met code 15."_s}));
    EXPECT_EQ(m_log.lines(), QStringList(u"whisper-cli geforceerd gestopt (timeout)"_s));
}

TEST_F(LocalRunnerTest, aChildIsAskedToEndWhenTheProcessIsAboutTo)
{
    installScript("echo klaar > \"$0.fifo\"\nexec tail -f /dev/null\n");
    const QByteArray fifo = QFile::encodeName(m_bundled + u".fifo"_s);
    ASSERT_EQ(::mkfifo(fifo.constData(), 0600), 0);
    LocalRunner runner(m_locations, m_log);
    std::thread hand([&] {
        EXPECT_EQ(readFifo(fifo), "klaar\n");
        runner.stop();
    });
    const QString wav = m_home.filePath(u"een opname.wav"_s);
    EXPECT_EQ(runner.transcribeLocal(wav, {}).error().code, SIGTERM);
    hand.join();
    EXPECT_TRUE(m_log.lines().isEmpty());
    installScript("exec tail -f /dev/null\n");
    EXPECT_EQ(runner.transcribeLocal(wav, {}).error().code, SIGTERM) << "one that starts later";
}

TEST_F(LocalRunnerTest, aChildWithinTheLimitIsNotLogged)
{
    installScript("echo tekst\n");
    EXPECT_EQ(run().value(), u"tekst"_s);
    EXPECT_TRUE(m_log.lines().isEmpty());
}

}  // namespace
}  // namespace tavlo
