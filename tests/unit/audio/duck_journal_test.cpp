#include "audio/volume_ducker.h"

#include "platform/text_literals.h"
#include "support/fakes/fake_output_volume.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace tavlo {
namespace {

const QString kSpeakers = u"speakers"_s;

class DuckJournalTest : public testing::Test {
protected:
    QString path() const { return folder.filePath(u"gedempt.json"_s); }

    // What a process leaves that dies while the speakers stand at `volume`.
    void dieAt(float volume, const DuckedOutput& ducked)
    {
        DuckJournalFile(path()).began(ducked);
        output.userSets(kSpeakers, volume);
    }

    void restart()
    {
        DuckJournalFile journal(path());
        DuckRepair(journal, output).start();
    }

    float speakers() { return *output.volume(kSpeakers); }

    QTemporaryDir folder;
    FakeOutputVolume output;
};

TEST_F(DuckJournalTest, KeepsWhatWasLoweredUntilTheFadeBackHasEnded)
{
    const DuckedOutput ducked{kSpeakers, 0.8F, 0.8F, 0.08F};
    DuckJournalFile journal(path());
    EXPECT_EQ(journal.left(), std::nullopt);
    journal.began(ducked);
    EXPECT_EQ(DuckJournalFile(path()).left(), ducked);
    struct stat status = {};
    ASSERT_EQ(stat(qPrintable(path()), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    journal.ended();
    EXPECT_FALSE(QFile::exists(path()));
}

TEST_F(DuckJournalTest, AnUnreadableEntryIsNone)
{
    QFile file(path());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(R"({"device": "speakers", "original": "0.8"})");
    file.close();
    EXPECT_EQ(DuckJournalFile(path()).left(), std::nullopt);
}

TEST_F(DuckJournalTest, TheNextStartPutsALoweredVolumeBack)
{
    dieAt(0.08F, {kSpeakers, 0.8F, 0.8F, 0.08F});
    restart();
    EXPECT_FLOAT_EQ(speakers(), 0.8F);
    EXPECT_FALSE(QFile::exists(path()));
}

TEST_F(DuckJournalTest, AStopInTheMiddleOfAFadeIsRepairedToo)
{
    dieAt(fadeStep(0.8F, 0.08F, 4), {kSpeakers, 0.8F, 0.8F, 0.08F});
    restart();
    EXPECT_FLOAT_EQ(speakers(), 0.8F);
    dieAt(fadeStep(0.3F, 0.8F, 11), {kSpeakers, 0.8F, 0.3F, 0.8F});
    restart();
    EXPECT_FLOAT_EQ(speakers(), 0.8F);
}

TEST_F(DuckJournalTest, AVolumeThatTheUserHasChangedSinceStays)
{
    dieAt(0.3F, {kSpeakers, 0.8F, 0.8F, 0.08F});
    restart();
    EXPECT_FLOAT_EQ(speakers(), 0.3F);
    EXPECT_FALSE(QFile::exists(path()));
}

TEST_F(DuckJournalTest, AnOutputThatIsNotThereYetIsRepairedWhenItComes)
{
    dieAt(0.08F, {kSpeakers, 0.8F, 0.8F, 0.08F});
    const auto devices = std::exchange(output.devices, {});
    DuckJournalFile journal(path());
    DuckRepair repair(journal, output);
    repair.start();
    EXPECT_TRUE(QFile::exists(path()));
    output.notifyChange();
    EXPECT_TRUE(QFile::exists(path()));
    output.devices = devices;
    output.notifyChange();
    EXPECT_FLOAT_EQ(speakers(), 0.8F);
}

TEST_F(DuckJournalTest, ARepairLeavesTheEntryOfAnotherOutputThatIsLoweredMeanwhile)
{
    const DuckedOutput headphones{u"headphones"_s, 0.5F, 0.5F, 0.08F};
    dieAt(0.08F, {kSpeakers, 0.8F, 0.8F, 0.08F});
    const auto devices = std::exchange(output.devices, {});
    DuckJournalFile journal(path());
    DuckRepair repair(journal, output);
    repair.start();
    journal.began(headphones);
    output.devices = devices;
    output.notifyChange();
    EXPECT_FLOAT_EQ(speakers(), 0.8F);
    EXPECT_EQ(journal.left(), headphones);
}

TEST_F(DuckJournalTest, TheRepairHappensOnce)
{
    dieAt(0.08F, {kSpeakers, 0.8F, 0.8F, 0.08F});
    DuckJournalFile journal(path());
    DuckRepair repair(journal, output);
    repair.start();
    EXPECT_FLOAT_EQ(speakers(), 0.8F);
    EXPECT_EQ(output.listenerCount(), 0);
}

TEST_F(DuckJournalTest, WithNothingLeftTheOutputsAreNotListenedTo)
{
    DuckJournalFile journal(path());
    DuckRepair repair(journal, output);
    repair.start();
    EXPECT_EQ(output.listenerCount(), 0);
}

}  // namespace
}  // namespace tavlo
