#include "audio/volume_ducker.h"

#include "platform/text_literals.h"
#include "support/fakes/fake_output_volume.h"
#include "support/fakes/manual_main_queue.h"

#include <gtest/gtest.h>

#include <QStringList>

#include <utility>

namespace tavlo {
namespace {

using namespace std::chrono_literals;

const QString kSpeakers = u"speakers"_s;
const QString kHeadset = u"headset"_s;

class RecordingJournal : public DuckJournal {
public:
    void began(const DuckedOutput& ducked) override
    {
        entries << u"%1 %2: %3 to %4"_s.arg(ducked.device)
                       .arg(ducked.original, 0, 'f', 2)
                       .arg(ducked.from, 0, 'f', 2)
                       .arg(ducked.to, 0, 'f', 2);
        isOpen = true;
    }
    void ended() override
    {
        entries << u"ended"_s;
        isOpen = false;
    }

    QStringList entries;
    bool isOpen = false;
};

class VolumeDuckerTest : public testing::Test {
protected:
    void expectSet(const std::vector<float>& expected)
    {
        const std::vector<float> set = output.scalarsSet();
        ASSERT_EQ(set.size(), expected.size());
        for (std::size_t i = 0; i < set.size(); ++i) {
            EXPECT_NEAR(set[i], expected[i], 1e-5F) << i;
        }
    }

    float speakers() { return *output.volume(kSpeakers); }

    ManualMainQueue queue;
    FakeOutputVolume output;
    RecordingJournal journal;
    VolumeDucker ducker{output, queue, &journal};
};

std::vector<float> steps(float from, float to)
{
    std::vector<float> volumes;
    for (int n = 1; n <= 15; ++n) {
        volumes.push_back(from + (to - from) * static_cast<float>(n) / 15);
    }
    return volumes;
}

TEST_F(VolumeDuckerTest, FifteenStepsDownAndBack)
{
    output.userSets(kSpeakers, 0.8F);
    ducker.duckTo(0.2F);
    queue.advance(1s);
    expectSet(
        {0.76F, 0.72F, 0.68F, 0.64F, 0.60F, 0.56F, 0.52F, 0.48F, 0.44F, 0.40F, 0.36F, 0.32F, 0.28F, 0.24F, 0.20F});
    EXPECT_EQ(speakers(), 0.2F) << "the last step lands exactly";

    output.settings.clear();
    ducker.restore();
    queue.advance(1s);
    expectSet(steps(0.2F, 0.8F));
    EXPECT_EQ(speakers(), 0.8F);
}

TEST_F(VolumeDuckerTest, OneStepEveryThirtyMilliseconds)
{
    ducker.duckTo(0.25F);
    queue.runPending();
    EXPECT_EQ(output.settings.size(), 0U);
    queue.advance(29ms);
    EXPECT_EQ(output.settings.size(), 0U);
    queue.advance(1ms);
    EXPECT_EQ(output.settings.size(), 1U);
    queue.advance(419ms);
    EXPECT_EQ(output.settings.size(), 14U);
    queue.advance(1ms);
    EXPECT_EQ(output.settings.size(), 15U);
    EXPECT_EQ(queue.waitingCount(), 0U);
}

TEST_F(VolumeDuckerTest, LateStepsDoNotAddUp)
{
    ducker.duckTo(0.1F);
    EXPECT_EQ(queue.untilNext(), 30ms);
    queue.stall(50ms);
    queue.runPending();
    EXPECT_EQ(output.settings.size(), 1U);
    EXPECT_EQ(queue.untilNext(), 10ms) << "the second step is due 60 ms after the beginning";
    queue.stall(85ms);
    queue.runPending();
    EXPECT_EQ(output.settings.size(), 4U) << "steps that are overdue come at once";
    EXPECT_EQ(queue.untilNext(), 15ms);
}

TEST_F(VolumeDuckerTest, AlreadyQuieterDoesNothing)
{
    output.userSets(kSpeakers, 0.2F);
    ducker.duckTo(0.3F);
    queue.advance(1s);
    ducker.restore();
    queue.advance(1s);
    ducker.restoreImmediately();
    EXPECT_TRUE(output.settings.empty());
    EXPECT_TRUE(journal.entries.isEmpty());
}

TEST_F(VolumeDuckerTest, ExactlyAtTheTargetDoesNothing)
{
    output.userSets(kSpeakers, 0.3F);
    ducker.duckTo(0.3F);
    queue.advance(1s);
    EXPECT_TRUE(output.settings.empty());
}

TEST_F(VolumeDuckerTest, ASecondDuckKeepsTheFirstSavedVolume)
{
    output.userSets(kSpeakers, 0.8F);
    ducker.duckTo(0.4F);
    queue.advance(1s);
    ducker.duckTo(0.1F);
    queue.advance(1s);
    EXPECT_EQ(speakers(), 0.4F);
    ducker.restore();
    queue.advance(1s);
    EXPECT_EQ(speakers(), 0.8F);
}

TEST_F(VolumeDuckerTest, RestoreDuringTheFadeDownStartsWhereItIs)
{
    output.userSets(kSpeakers, 0.8F);
    ducker.duckTo(0.2F);
    queue.advance(150ms);
    EXPECT_NEAR(speakers(), 0.6F, 1e-6F);
    output.settings.clear();
    ducker.restore();
    queue.advance(1s);
    expectSet(steps(0.6F, 0.8F));
}

TEST_F(VolumeDuckerTest, RestoreStartsAtWhatTheUserChoseMeanwhile)
{
    output.userSets(kSpeakers, 0.8F);
    ducker.duckTo(0.2F);
    queue.advance(1s);
    output.userSets(kSpeakers, 0.5F);
    output.settings.clear();
    ducker.restore();
    queue.advance(1s);
    expectSet(steps(0.5F, 0.8F));
}

TEST_F(VolumeDuckerTest, ASecondRestoreDoesNothing)
{
    ducker.duckTo(0.2F);
    queue.advance(1s);
    ducker.restore();
    queue.advance(300ms);
    ducker.restore();
    queue.advance(1s);
    EXPECT_EQ(output.settings.size(), 30U);
    EXPECT_EQ(speakers(), 1.0F);
}

TEST_F(VolumeDuckerTest, RestoreGoesToTheDuckedDeviceEvenWhenTheDefaultChanged)
{
    output.devices[kHeadset] = {{0.9F, 0.9F}, true};
    ducker.duckTo(0.2F);
    queue.advance(1s);
    output.currentDefault = kHeadset;
    ducker.restore();
    queue.advance(1s);
    EXPECT_EQ(speakers(), 1.0F);
    EXPECT_EQ(*output.volume(kHeadset), 0.9F);
}

TEST_F(VolumeDuckerTest, RestoreFromZeroWhereTheVolumeCannotBeRead)
{
    output.userSets(kSpeakers, 0.6F);
    ducker.duckTo(0.2F);
    queue.advance(1s);
    output.devices[kSpeakers].canBeRead = false;
    output.settings.clear();
    ducker.restore();
    queue.advance(1s);
    expectSet(steps(0.0F, 0.6F));
}

TEST_F(VolumeDuckerTest, AFailingSetIsIgnored)
{
    ducker.duckTo(0.2F);
    queue.advance(60ms);
    output.devices.clear();
    queue.advance(1s);
    ducker.restore();
    queue.advance(1s);
    EXPECT_EQ(output.settings.size(), 30U) << "both fades went on to their ends";
}

TEST_F(VolumeDuckerTest, NoDeviceNoVolumeOrNoAnswerDoesNothing)
{
    output.devices[kSpeakers].canBeRead = false;
    ducker.duckTo(0.2F);
    output.devices[kSpeakers].channels.clear();
    ducker.duckTo(0.2F);
    output.currentDefault.reset();
    ducker.duckTo(0.2F);
    queue.advance(1s);
    EXPECT_TRUE(output.settings.empty());
}

TEST_F(VolumeDuckerTest, RestoreImmediatelyClampsTheSavedVolume)
{
    output.userSets(kSpeakers, 1.2F);
    ducker.duckTo(0.2F);
    queue.advance(1s);
    output.settings.clear();
    ducker.restoreImmediately();
    queue.advance(1s);
    expectSet({1.0F});
}

TEST_F(VolumeDuckerTest, StepsAreClamped)
{
    output.userSets(kSpeakers, 1.5F);
    ducker.duckTo(0.0F);
    queue.advance(150ms);
    expectSet({1.0F, 1.0F, 1.0F, 1.0F, 1.0F});
}

TEST_F(VolumeDuckerTest, RestoreImmediatelyStopsTheFadeDown)
{
    output.userSets(kSpeakers, 0.8F);
    ducker.duckTo(0.2F);
    queue.advance(150ms);
    ducker.restoreImmediately();
    EXPECT_EQ(speakers(), 0.8F);
    EXPECT_EQ(queue.waitingCount(), 0U);
    ducker.restore();
    queue.advance(1s);
    EXPECT_EQ(speakers(), 0.8F);
}

TEST_F(VolumeDuckerTest, RestoreImmediatelyWithNothingSavedOnlyStopsTheFade)
{
    ducker.duckTo(0.2F);
    queue.advance(1s);
    ducker.restore();
    queue.advance(150ms);
    const float stopped = speakers();
    output.settings.clear();
    ducker.restoreImmediately();
    queue.advance(1s);
    EXPECT_TRUE(output.settings.empty());
    EXPECT_EQ(speakers(), stopped);
}

TEST_F(VolumeDuckerTest, ADuckDuringTheFadeUpSavesTheVolumeItWasGoingTo)
{
    output.userSets(kSpeakers, 0.8F);
    for (int dictation = 0; dictation < 5; ++dictation) {
        ducker.duckTo(0.2F);
        queue.advance(500ms);
        EXPECT_EQ(speakers(), 0.2F);
        ducker.restore();
        queue.advance(90ms);
    }
    queue.advance(1s);
    EXPECT_EQ(speakers(), 0.8F);
}

TEST_F(VolumeDuckerTest, ADuckRightAfterTheRestoreStillLowers)
{
    output.userSets(kSpeakers, 0.8F);
    ducker.duckTo(0.2F);
    queue.advance(1s);
    ducker.restore();
    ducker.duckTo(0.2F);  // the volume itself is at the target still
    queue.advance(1s);
    EXPECT_EQ(speakers(), 0.2F);
    ducker.restore();
    queue.advance(1s);
    EXPECT_EQ(speakers(), 0.8F);
}

TEST_F(VolumeDuckerTest, ADuckOfAnotherDeviceFinishesTheFadeUpOfTheFirst)
{
    output.devices[kHeadset] = {{0.9F, 0.9F}, true};
    ducker.duckTo(0.2F);
    queue.advance(1s);
    ducker.restore();
    queue.advance(90ms);
    output.currentDefault = kHeadset;
    ducker.duckTo(0.2F);
    EXPECT_EQ(speakers(), 1.0F);
    queue.advance(1s);
    EXPECT_EQ(*output.volume(kHeadset), 0.2F);
    ducker.restore();
    queue.advance(1s);
    EXPECT_EQ(*output.volume(kHeadset), 0.9F);
}

TEST_F(VolumeDuckerTest, BalanceSurvivesADuckToSilence)
{
    output.devices[kSpeakers].channels = {0.8F, 0.4F};
    ducker.duckTo(0.0F);
    queue.advance(1s);
    ducker.restore();
    queue.advance(1s);
    EXPECT_NEAR(output.devices[kSpeakers].channels[0], 0.8F, 1e-5F);
    EXPECT_NEAR(output.devices[kSpeakers].channels[1], 0.4F, 1e-5F);
}

TEST_F(VolumeDuckerTest, NothingRunsAfterTheDuckerIsGone)
{
    {
        VolumeDucker shortLived(output, queue);
        shortLived.duckTo(0.2F);
    }
    queue.advance(1s);
    EXPECT_TRUE(output.settings.empty());
}

TEST_F(VolumeDuckerTest, JournalIsOpenFromBeforeTheFirstStepUntilTheFadeBackHasEnded)
{
    ducker.duckTo(0.2F);
    EXPECT_TRUE(output.settings.empty());
    EXPECT_EQ(journal.entries, (QStringList{u"speakers 1.00: 1.00 to 0.20"_s}));
    queue.advance(1s);
    ducker.restore();
    queue.advance(449ms);
    EXPECT_TRUE(journal.isOpen);
    queue.advance(1ms);
    EXPECT_EQ(journal.entries,
              (QStringList{u"speakers 1.00: 1.00 to 0.20"_s, u"speakers 1.00: 0.20 to 1.00"_s, u"ended"_s}));
}

TEST_F(VolumeDuckerTest, RestoreImmediatelyEndsTheJournalsEntry)
{
    ducker.duckTo(0.2F);
    queue.advance(1s);
    ducker.restoreImmediately();
    EXPECT_FALSE(journal.isOpen);
}

TEST_F(VolumeDuckerTest, AStopInTheFadeBackStaysInTheJournalWithTheVolumeReached)
{
    ducker.duckTo(0.2F);
    queue.advance(1s);
    ducker.restore();
    queue.advance(150ms);
    ducker.restoreImmediately();
    EXPECT_TRUE(journal.isOpen);
    EXPECT_EQ(journal.entries.last(), u"speakers 1.00: 0.47 to 0.47"_s);
}

TEST_F(VolumeDuckerTest, ADeviceThatWasTakenAwayStaysInTheJournal)
{
    ducker.duckTo(0.2F);
    queue.advance(1s);
    output.devices.clear();
    ducker.restore();
    queue.advance(1s);
    EXPECT_TRUE(journal.isOpen);
}

TEST_F(VolumeDuckerTest, ADuckDuringTheFadeUpReplacesTheJournalsEntry)
{
    ducker.duckTo(0.2F);
    queue.advance(1s);
    ducker.restore();
    queue.advance(90ms);
    ducker.duckTo(0.3F);
    queue.advance(1s);
    EXPECT_EQ(journal.entries.last(), u"speakers 1.00: 0.36 to 0.30"_s);
    EXPECT_TRUE(journal.isOpen);
}

}  // namespace
}  // namespace tavlo
