#include "ui/tray/menu_mirror.h"
#include "platform/text_literals.h"

#include "language_scope.h"

#include <QAction>
#include <QApplication>
#include <QEvent>
#include <QKeyEvent>
#include <QMenu>

#include <gtest/gtest.h>

#include <vector>

namespace tavlo {
namespace {

struct Chosen {
    MenuAction action;
    QVariant object;

    bool operator==(const Chosen&) const = default;
};

class MenuMirrorTest : public testing::Test {
protected:
    MenuMirrorTest() { state.hotkey = kHotkeyOptions[0]; }

    void show() { mirror.show(statusMenu(state), menu); }
    QAction* action(qsizetype index) const { return menu.actions().value(index); }
    QMenu* hotkeys() const { return action(7)->menu(); }

    LanguageScope language{u"en"_s};
    MenuState state;
    std::vector<Chosen> chosen;
    QMenu menu;
    MenuMirror mirror{TitleEscaping::Toolkit, [this](MenuAction action, const QVariant& object) {
                          chosen.push_back({action, object});
                      }};
};

TEST_F(MenuMirrorTest, ShowsTitlesGreyedRowsChecksKeysAndSubmenus)
{
    show();
    ASSERT_EQ(menu.actions().size(), 16);
    EXPECT_FALSE(action(0)->isEnabled());
    EXPECT_FALSE(action(1)->isEnabled());
    EXPECT_TRUE(action(2)->isEnabled());
    EXPECT_EQ(action(2)->menu()->actions().size(), 2);
    EXPECT_TRUE(action(2)->menu()->actions()[1]->isChecked());
    EXPECT_TRUE(action(3)->isSeparator());
    EXPECT_EQ(action(4)->text(), u"Start recording  (Right ⌘ Command)"_s);
    EXPECT_FALSE(action(4)->isCheckable());
    EXPECT_FALSE(action(5)->isEnabled());
    EXPECT_TRUE(action(8)->isCheckable());
    EXPECT_TRUE(action(8)->isChecked());
    EXPECT_EQ(action(10)->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Comma));
    EXPECT_EQ(action(15)->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Q));
    EXPECT_TRUE(action(4)->shortcut().isEmpty());
}

TEST_F(MenuMirrorTest, HandsOutTheActionAndItsValue)
{
    show();
    action(2)->menu()->actions()[0]->trigger();
    hotkeys()->actions()[4]->trigger();
    action(15)->trigger();
    EXPECT_EQ(chosen, (std::vector<Chosen>{{MenuAction::PickLanguage, u"nl"_s},
                                           {MenuAction::PickHotkey, u"fn"_s},
                                           {MenuAction::Quit, QVariant()}}));
}

TEST_F(MenuMirrorTest, AChoiceAloneDoesNotMoveTheCheckMark)
{
    show();
    action(8)->trigger();
    EXPECT_TRUE(action(8)->isChecked());
    state.config.duckEnabled = false;
    show();
    EXPECT_FALSE(action(8)->isChecked());
    action(8)->trigger();
    EXPECT_FALSE(action(8)->isChecked());
}

TEST_F(MenuMirrorTest, ChangesItemsInPlace)
{
    show();
    const QList<QAction*> before = menu.actions();
    QMenu* const submenu = hotkeys();
    state.statusLine = u"Recording"_s;
    state.recording = true;
    state.lastText = u"text"_s;
    gLang = u"nl"_s;
    show();
    EXPECT_EQ(menu.actions(), before);
    EXPECT_EQ(hotkeys(), submenu);
    EXPECT_EQ(action(0)->text(), u"Recording"_s);
    EXPECT_EQ(action(4)->text(), u"Stop opname"_s);
    EXPECT_TRUE(action(5)->isEnabled());
    EXPECT_EQ(action(15)->text(), u"Stop Tavlo"_s);
    EXPECT_EQ(submenu->accessibleName(), u"Sneltoets"_s);
}

TEST_F(MenuMirrorTest, AKeyEquivalentChoosesItsRow)
{
    show();
    const auto press = [this](Qt::Key key, Qt::KeyboardModifiers modifiers) {
        return pressKeyEquivalent(menu, QKeyEvent(QEvent::KeyPress, key, modifiers));
    };
    EXPECT_TRUE(press(Qt::Key_Comma, Qt::ControlModifier));
    EXPECT_EQ(chosen, (std::vector<Chosen>{{MenuAction::OpenSettings, QVariant()}}));
    EXPECT_FALSE(press(Qt::Key_Q, Qt::NoModifier));
    EXPECT_FALSE(press(Qt::Key_Q, Qt::ControlModifier | Qt::ShiftModifier));
    EXPECT_FALSE(press(Qt::Key_W, Qt::ControlModifier));
    EXPECT_EQ(chosen.size(), 1U);
    EXPECT_TRUE(press(Qt::Key_Q, Qt::ControlModifier));
    EXPECT_EQ(chosen.back(), (Chosen{MenuAction::Quit, QVariant()}));
}

TEST_F(MenuMirrorTest, AddsAndRemovesTheCustomHotkey)
{
    show();
    ASSERT_EQ(hotkeys()->actions().size(), 7);
    state.config.customKeycode = 96;
    state.config.customLabel = u"F5"_s;
    show();
    ASSERT_EQ(hotkeys()->actions().size(), 8);
    EXPECT_EQ(hotkeys()->actions()[6]->text(), u"Custom: F5"_s);
    EXPECT_TRUE(hotkeys()->actions()[6]->isCheckable());
    EXPECT_EQ(hotkeys()->actions()[7]->text(), u"Choose another key…"_s);
    EXPECT_FALSE(hotkeys()->actions()[7]->isCheckable());
    state.config.customKeycode = -1;
    show();
    ASSERT_EQ(hotkeys()->actions().size(), 7);
    EXPECT_EQ(hotkeys()->actions()[6]->text(), u"Choose another key…"_s);
    EXPECT_FALSE(hotkeys()->actions()[6]->isCheckable());
    hotkeys()->actions()[6]->trigger();
    EXPECT_EQ(chosen, (std::vector<Chosen>{{MenuAction::StartCapture, QVariant()}}));
}

TEST_F(MenuMirrorTest, ReplacesRowsOfAnotherKind)
{
    MenuItemDescription plain;
    plain.title = u"plain"_s;
    MenuItemDescription separator;
    separator.separator = true;
    MenuItemDescription folder;
    folder.title = u"folder"_s;
    folder.submenu = {plain};
    mirror.show({plain, separator, folder}, menu);
    mirror.show({folder, plain, separator}, menu);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    ASSERT_EQ(menu.actions().size(), 3);
    ASSERT_NE(action(0)->menu(), nullptr);
    EXPECT_EQ(action(0)->menu()->actions().size(), 1);
    EXPECT_EQ(action(1)->text(), u"plain"_s);
    EXPECT_TRUE(action(2)->isSeparator());
}

TEST_F(MenuMirrorTest, ARowMayVanishWithinItsOwnHandler)
{
    MenuItemDescription row;
    row.title = u"row"_s;
    row.action = MenuAction::Quit;
    QMenu shrinking;
    MenuMirror* self = nullptr;
    MenuMirror shrinker(TitleEscaping::Toolkit, [&](MenuAction, const QVariant&) { self->show({}, shrinking); });
    self = &shrinker;
    shrinker.show({row}, shrinking);
    shrinking.actions()[0]->trigger();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(shrinking.actions().isEmpty());
}

TEST(EscapedTitle, KeepsEveryAmpersandInMenusOfTheToolkit)
{
    EXPECT_EQ(escapedTitle(u"R&D && more_"_s, TitleEscaping::Toolkit), u"R&&D &&&& more_"_s);
    EXPECT_EQ(escapedTitle(u"Stop"_s, TitleEscaping::Toolkit), u"Stop"_s);
}

TEST(EscapedTitle, MarksTheFirstAmpersandOnlyAndDoublesUnderscoresOnTheBus)
{
    EXPECT_EQ(escapedTitle(u"a & b & c_d"_s, TitleEscaping::Bus), u"a && b & c__d"_s);
    EXPECT_EQ(escapedTitle(u"at the end &"_s, TitleEscaping::Bus), u"at the end &"_s);
    EXPECT_EQ(escapedTitle(QString(), TitleEscaping::Bus), QString());
}

}  // namespace
}  // namespace tavlo
