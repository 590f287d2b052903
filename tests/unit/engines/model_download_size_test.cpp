#include "engines/model/model_downloader.h"

#include "platform/text_literals.h"
#include "support/fakes/manual_main_queue.h"
#include "support/fakes/memory_log.h"
#include "support/server_process.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <optional>

namespace tavlo {
namespace {

// Resident memory of this process that no file backs, in bytes.
qint64 ownMemory()
{
    QFile file(u"/proc/self/status"_s);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    for (const QByteArray& line : file.readAll().split('\n')) {
        if (line.startsWith("RssAnon:")) {
            return line.mid(8).trimmed().split(' ').first().toLongLong() * 1024;
        }
    }
    ADD_FAILURE() << "no RssAnon";
    return 0;
}

// Processor time that this thread has used.
std::chrono::nanoseconds timeOfThisThread()
{
    timespec time = {};
    EXPECT_EQ(::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time), 0);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

// Downloads of the model's real size.
class ModelDownloadSizeTest : public testing::Test {
protected:
    Result<void> download(qint64 size)
    {
        ServerProcess server(u"model_server.py"_s, QJsonObject{{u"kind"_s, u"body"_s}, {u"size"_s, size}});
        DownloadTerms terms;
        terms.authorities = server.authority();
        ModelDownloader downloader(m_locations, m_log, m_queue, server.baseUrl() + u"/model"_s, terms);
        std::optional<Result<void>> end;
        downloader.onDone = [&](const Result<void>& result) { end = result; };
        qint64 atStart = 0;
        qint64 nextLook = 0;
        downloader.onProgress = [&](double, qint64 written, qint64) {
            if (written < nextLook) {
                return;
            }
            nextLook = written + 50'000'000;
            atStart = atStart == 0 ? ownMemory() : atStart;
            m_memoryGrowth = std::max(m_memoryGrowth, ownMemory() - atStart);
        };
        // Its own time, so that a busy machine does not count.
        const std::chrono::nanoseconds before = timeOfThisThread();
        downloader.start();
        m_startTook = timeOfThisThread() - before;
        EXPECT_TRUE(m_queue.runUntil([&] { return end.has_value(); }, std::chrono::minutes(3)));
        return end.value_or(Result<void>());
    }

    QStringList modelFolder() const
    {
        return QDir(m_locations.kModelsDir).entryList(QDir::NoDotAndDotDot | QDir::AllEntries);
    }

    QTemporaryDir m_home;
    Locations m_locations = Locations::inFolders(m_home.filePath(u"data"_s), m_home.filePath(u"bin"_s));
    MemoryLog m_log;
    ManualMainQueue m_queue;
    qint64 m_memoryGrowth = 0;
    std::chrono::nanoseconds m_startTook{};
};

TEST_F(ModelDownloadSizeTest, aModelOf1500000000BytesIsInstalledWithinAFewMegabytesOfMemory)
{
    EXPECT_TRUE(download(1'500'000'000));
    EXPECT_EQ(QFileInfo(m_locations.kModelURL).size(), 1'500'000'000);
    EXPECT_LT(m_memoryGrowth, 16'000'000);
    EXPECT_LT(m_startTook, std::chrono::milliseconds(10));
}

TEST_F(ModelDownloadSizeTest, aDownloadOf1400000000BytesIsRejectedAndLeavesNeitherStagingFileNorModel)
{
    EXPECT_EQ(download(1'400'000'000).error(), (Error{u"Tavlo"_s, 4, u"Download onvolledig (1400000000 bytes)."_s}));
    EXPECT_EQ(modelFolder(), QStringList());
}

}  // namespace
}  // namespace tavlo
