#include "ui/tray/tray_status_item.h"
#include "platform/text_literals.h"

#include "support/fakes/fake_panel.h"
#include "support/fakes/manual_main_queue.h"

#include <gtest/gtest.h>

#include <vector>

namespace tavlo {
namespace {

constexpr TrayPresence kThere = TrayPresence::Present;
constexpr TrayPresence kGone = TrayPresence::Absent;

class TrayStatusItemTest : public testing::Test {
protected:
    // An icon that was asked to appear.
    struct Item : TrayStatusItem {
        explicit Item(TrayStatusItemTest& test)
            : TrayStatusItem(test.queue, test.host, test.appearance),
              registration(appear({{}, [&test](TrayPresence presence) { test.reports.push_back(presence); }}))
        {
        }

        Registration registration;
    };

    ManualMainQueue queue;
    FakeTrayHost host;
    FakePanelAppearance appearance;
    std::vector<TrayPresence> reports;
};

TEST_F(TrayStatusItemTest, ReportsATrayOnTheBusAtOnce)
{
    host.set(TrayKind::Bus);
    const Item item(*this);
    EXPECT_EQ(reports, (std::vector<TrayPresence>{kThere}));
    queue.advance(std::chrono::minutes(1));
    EXPECT_EQ(reports.size(), 1U);
}

TEST_F(TrayStatusItemTest, WaitsTwoSecondsBeforeItSaysThatThereIsNoTray)
{
    const Item item(*this);
    queue.advance(std::chrono::milliseconds(1999));
    EXPECT_TRUE(reports.empty());
    queue.advance(std::chrono::milliseconds(1));
    EXPECT_EQ(reports, (std::vector<TrayPresence>{kGone}));
}

TEST_F(TrayStatusItemTest, GivesAnEmbeddingTrayTimeToOfferTheBus)
{
    host.set(TrayKind::Embedding);
    const Item item(*this);
    queue.advance(std::chrono::milliseconds(500));
    EXPECT_TRUE(reports.empty());
    host.set(TrayKind::Bus);
    EXPECT_EQ(reports, (std::vector<TrayPresence>{kThere}));
}

TEST_F(TrayStatusItemTest, TakesAnEmbeddingTrayThatStaysAlone)
{
    host.set(TrayKind::Embedding);
    const Item item(*this);
    queue.advance(std::chrono::seconds(2));
    EXPECT_EQ(reports, (std::vector<TrayPresence>{kThere}));
}

TEST_F(TrayStatusItemTest, ReportsATrayThatComesLaterAndOneThatGoes)
{
    const Item item(*this);
    queue.advance(std::chrono::seconds(10));
    host.set(TrayKind::Bus);
    host.set(TrayKind::None);
    queue.advance(std::chrono::milliseconds(1999));
    EXPECT_EQ(reports, (std::vector<TrayPresence>{kGone, kThere}));
    queue.advance(std::chrono::milliseconds(1));
    EXPECT_EQ(reports, (std::vector<TrayPresence>{kGone, kThere, kGone}));
    host.set(TrayKind::Bus);
    EXPECT_EQ(reports, (std::vector<TrayPresence>{kGone, kThere, kGone, kThere}));
}

TEST_F(TrayStatusItemTest, APanelThatIsStartedAnewWasNeverMissing)
{
    host.set(TrayKind::Bus);
    const Item item(*this);
    host.set(TrayKind::None);
    queue.advance(std::chrono::seconds(1));
    host.set(TrayKind::Bus);
    queue.advance(std::chrono::minutes(1));
    EXPECT_EQ(reports, (std::vector<TrayPresence>{kThere}));
}

TEST_F(TrayStatusItemTest, ATrayOfTheOtherKindIsNoneForAnIconThatIsMade)
{
    host.set(TrayKind::Embedding);
    const Item item(*this);
    queue.advance(std::chrono::seconds(2));
    host.set(TrayKind::None);
    host.set(TrayKind::Bus);
    host.set(TrayKind::Embedding);
    EXPECT_EQ(reports, (std::vector<TrayPresence>{kThere, kGone, kThere}));
}

TEST_F(TrayStatusItemTest, TakesIconsAndMenusBeforeThereIsATray)
{
    Item item(*this);
    MenuItemDescription row;
    row.title = u"row"_s;
    item.setIcon(Activity::Recording);
    item.setMenu({row});
    host.set(TrayKind::Bus);
    item.setMenu({row, row});
    item.setIcon(Activity::Ready);
    EXPECT_EQ(reports, (std::vector<TrayPresence>{kThere}));
}

TEST_F(TrayStatusItemTest, AfterItsEndNothingIsCalledAnyMore)
{
    {
        const Item item(*this);
    }
    host.set(TrayKind::Bus);
    appearance.set({});
    queue.advance(std::chrono::minutes(1));
    EXPECT_TRUE(reports.empty());
}

}  // namespace
}  // namespace tavlo
