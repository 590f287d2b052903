#include "ui/tray/tray_status_item.h"
#include "platform/text_literals.h"

#include "support/fakes/fake_panel.h"
#include "support/fakes/manual_main_queue.h"

#include <gtest/gtest.h>

#include <vector>

namespace tavlo {
namespace {

class TrayStatusItemTest : public testing::Test {
protected:
    TrayStatusItem makeItem()
    {
        return TrayStatusItem(
            queue, host, appearance, [](MenuAction, const QVariant&) {},
            [this](bool available) { reports.push_back(available); });
    }

    ManualMainQueue queue;
    FakeTrayHost host;
    FakePanelAppearance appearance;
    std::vector<bool> reports;
};

TEST_F(TrayStatusItemTest, ReportsATrayOnTheBusAtOnce)
{
    host.set(TrayKind::Bus);
    const auto item = makeItem();
    EXPECT_EQ(reports, (std::vector<bool>{true}));
    queue.advance(std::chrono::minutes(1));
    EXPECT_EQ(reports.size(), 1U);
}

TEST_F(TrayStatusItemTest, WaitsTwoSecondsBeforeItSaysThatThereIsNoTray)
{
    const auto item = makeItem();
    queue.advance(std::chrono::milliseconds(1999));
    EXPECT_TRUE(reports.empty());
    queue.advance(std::chrono::milliseconds(1));
    EXPECT_EQ(reports, (std::vector<bool>{false}));
}

TEST_F(TrayStatusItemTest, GivesAnEmbeddingTrayTimeToOfferTheBus)
{
    host.set(TrayKind::Embedding);
    const auto item = makeItem();
    queue.advance(std::chrono::milliseconds(500));
    EXPECT_TRUE(reports.empty());
    host.set(TrayKind::Bus);
    EXPECT_EQ(reports, (std::vector<bool>{true}));
}

TEST_F(TrayStatusItemTest, TakesAnEmbeddingTrayThatStaysAlone)
{
    host.set(TrayKind::Embedding);
    const auto item = makeItem();
    queue.advance(std::chrono::seconds(2));
    EXPECT_EQ(reports, (std::vector<bool>{true}));
}

TEST_F(TrayStatusItemTest, ReportsATrayThatComesLaterAndOneThatGoes)
{
    const auto item = makeItem();
    queue.advance(std::chrono::seconds(10));
    host.set(TrayKind::Bus);
    host.set(TrayKind::None);
    queue.advance(std::chrono::milliseconds(1999));
    EXPECT_EQ(reports, (std::vector<bool>{false, true}));
    queue.advance(std::chrono::milliseconds(1));
    EXPECT_EQ(reports, (std::vector<bool>{false, true, false}));
    host.set(TrayKind::Bus);
    EXPECT_EQ(reports, (std::vector<bool>{false, true, false, true}));
}

TEST_F(TrayStatusItemTest, APanelThatIsStartedAnewWasNeverMissing)
{
    host.set(TrayKind::Bus);
    const auto item = makeItem();
    host.set(TrayKind::None);
    queue.advance(std::chrono::seconds(1));
    host.set(TrayKind::Bus);
    queue.advance(std::chrono::minutes(1));
    EXPECT_EQ(reports, (std::vector<bool>{true}));
}

TEST_F(TrayStatusItemTest, ATrayOfTheOtherKindIsNoneForAnIconThatIsMade)
{
    host.set(TrayKind::Embedding);
    const auto item = makeItem();
    queue.advance(std::chrono::seconds(2));
    host.set(TrayKind::Bus);
    host.set(TrayKind::Embedding);
    EXPECT_EQ(reports, (std::vector<bool>{true, false, true}));
}

TEST_F(TrayStatusItemTest, TakesIconsAndMenusBeforeThereIsATray)
{
    auto item = makeItem();
    MenuItemDescription row;
    row.title = u"row"_s;
    item.setIcon(u"waveform"_s);
    item.setMenu({row});
    host.set(TrayKind::Bus);
    item.setMenu({row, row});
    item.setIcon(u"mic"_s);
    EXPECT_EQ(reports, (std::vector<bool>{true}));
}

TEST_F(TrayStatusItemTest, AfterItsEndNothingIsCalledAnyMore)
{
    {
        const auto item = makeItem();
    }
    host.set(TrayKind::Bus);
    appearance.set({});
    queue.advance(std::chrono::minutes(1));
    EXPECT_TRUE(reports.empty());
}

}  // namespace
}  // namespace tavlo
