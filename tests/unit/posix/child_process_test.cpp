#include "posix/child_process.h"

#include "platform/text_literals.h"
#include "posix/system_error.h"
#include "support/fifo.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/stat.h>
#include <cerrno>
#include <csignal>
#include <thread>

namespace tavlo {
namespace {

constexpr std::chrono::minutes kPatience{3};

class ChildProcessTest : public testing::Test {
protected:
    ChildProcessTest()
    {
        EXPECT_EQ(::mkfifo(m_fifo.constData(), 0600), 0);
        qputenv("TAVLO_FIFO", m_fifo);
    }
    ~ChildProcessTest() override { qunsetenv("TAVLO_FIFO"); }

    // Runs shell commands, for which the fixture's pipe is $TAVLO_FIFO.
    Result<ChildResult> run(
        const QByteArray& commands, std::chrono::milliseconds limit = kPatience,
        const std::function<void()>& beforeTermination = [] { ADD_FAILURE() << "asked to end"; })
    {
        return runChild(u"/bin/sh"_s, {"-c", commands}, limit, beforeTermination, m_running);
    }

    QTemporaryDir m_folder;
    const QByteArray m_fifo = QFile::encodeName(m_folder.filePath(u"fifo"_s));
    RunningChildren m_running;
};

TEST_F(ChildProcessTest, handsOverOutputAndStatus)
{
    const Result<ChildResult> child = run("echo een; echo twee; exit 7");
    EXPECT_EQ(child.value().output, "een\ntwee\n");
    EXPECT_EQ(child.value().status, 7);
}

TEST_F(ChildProcessTest, inheritsEnvironmentAndWorkingDirectory)
{
    EXPECT_EQ(run("echo $TAVLO_FIFO; pwd").value().output,
              m_fifo + '\n' + QFile::encodeName(QDir::currentPath()) + '\n');
}

TEST_F(ChildProcessTest, inheritsNoDescriptorOfOurs)
{
    QList<QByteArray> expected{"0", "1", "2"};
    for (const QString& name : QDir(u"/proc/self/fd"_s).entryList(QDir::AllEntries | QDir::System)) {
        // Whoever started the tests may have left some open for all.
        if (const int flags = ::fcntl(name.toInt(), F_GETFD); flags >= 0 && (flags & FD_CLOEXEC) == 0) {
            expected << name.toLatin1();
        }
    }
    int others = 0;
    for (const QByteArray& name : run("exec ls /proc/self/fd").value().output.trimmed().split('\n')) {
        others += expected.contains(name) ? 0 : 1;
    }
    EXPECT_EQ(others, 1) << "the one by which ls reads the folder";
}

TEST_F(ChildProcessTest, takesSignalsAlthoughTheThreadThatStartsItBlocksThem)
{
    sigset_t all;
    sigfillset(&all);
    sigset_t before;
    ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &all, &before), 0);
    const Result<ChildResult> child = run("kill -TERM $$; echo blocked");
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    EXPECT_EQ(child.value().status, SIGTERM);
    EXPECT_EQ(child.value().output, "");
}

TEST_F(ChildProcessTest, megabytesOnStandardErrorDoNotStallIt)
{
    const char* const commands = "head -c 8000000 /dev/zero >&2; echo klaar; exec >&-; head -c 8000000 /dev/zero >&2";
    EXPECT_EQ(run(commands).value().output, "klaar\n");
}

TEST_F(ChildProcessTest, megabytesOnStandardOutputAreReadToTheEnd)
{
    const QByteArray output = run("head -c 3000000 /dev/zero; echo b").value().output;
    EXPECT_EQ(output.size(), 3'000'002);
    EXPECT_TRUE(output.endsWith("b\n"));
}

TEST_F(ChildProcessTest, theOutputOfAChildsChildIsReadToItsEnd)
{
    // The child does not wait for its own child, which still holds the output.
    std::thread hand([&] { writeFifo(m_fifo, "regel\n"); });
    const Result<ChildResult> child = run("echo eerst; (read -r line < $TAVLO_FIFO; echo \"later: $line\") &");
    hand.join();
    EXPECT_EQ(child.value().output, "eerst\nlater: regel\n");
}

TEST_F(ChildProcessTest, oneThatHangsAfterItsOutputIsAskedToEndToo)
{
    int asked = 0;
    const Result<ChildResult> child =
        run("exec >/dev/null 2>&1; exec tail -f /dev/null", std::chrono::milliseconds(1), [&] { ++asked; });
    EXPECT_EQ(child.value().status, SIGTERM);
    EXPECT_EQ(asked, 1);
}

TEST_F(ChildProcessTest, oneThatRefusesToEndIsAskedOnceAndWaitedFor)
{
    int asked = 0;
    // The first word comes once the shell ignores the request; the second lets it go on, into its end.
    std::thread hand;
    const auto beforeTermination = [&] {
        ++asked;
        EXPECT_EQ(readFifo(m_fifo), "klaar\n");
        hand = std::thread([&] { writeFifo(m_fifo, "regel\n"); });
    };
    const Result<ChildResult> child =
        run("trap '' TERM; echo klaar > $TAVLO_FIFO; read -r line < $TAVLO_FIFO; echo $line",
            std::chrono::milliseconds(1), beforeTermination);
    hand.join();
    EXPECT_EQ(child.value().status, 0);
    EXPECT_EQ(child.value().output, "regel\n");
    EXPECT_EQ(asked, 1);
}

TEST_F(ChildProcessTest, thoseThatRunAndThoseThatComeLaterAreAskedToEnd)
{
    std::thread hand([&] {
        EXPECT_EQ(readFifo(m_fifo), "klaar\n");
        m_running.terminate();
    });
    EXPECT_EQ(run("echo klaar > $TAVLO_FIFO; exec tail -f /dev/null").value().status, SIGTERM);
    hand.join();
    EXPECT_EQ(run("exec tail -f /dev/null").value().status, SIGTERM) << "one that starts later";
}

TEST_F(ChildProcessTest, aProgramThatCannotBeStartedIsTheSystemsError)
{
    const auto start = [this](const QString& program) {
        return runChild(
                   program, {}, kPatience, [] {}, m_running)
            .error();
    };
    EXPECT_EQ(start(m_folder.filePath(u"none"_s)), systemError(ENOENT));
    EXPECT_EQ(start(m_folder.path()), systemError(EACCES));
}

}  // namespace
}  // namespace tavlo
