#include "contract/x11/x11_environment.h"
#include "linux/qt/qt_pasteboard.h"
#include "linux/x11/x11_desktop.h"
#include "linux/x11/x11_paste_keystroke.h"
#include "platform/text_literals.h"
#include "support/desktop_program.h"
#include "support/x_hands.h"

#include <QClipboard>
#include <QFile>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace tavlo {
namespace {

enum Key : std::uint8_t {
    LeftControl = 37,
    KeyV = 55,
    LeftShift = 50,
    LeftAlt = 64,
    KeyX = 53,
    CapsLock = 66,
    RightAlt = 108,
    RightSuper = 134,
};

constexpr std::uint8_t kShiftLock = 1;
constexpr std::uint8_t kCapsAndNumLock = 2 | 16;

class PasteTest : public testing::Test {
protected:
    PasteTest() { setKeyboard({}); }

    ~PasteTest() override
    {
        for (const std::uint8_t key : m_hands.keysDown()) {
            m_hands.release(key, Device::Test);
            m_hands.release(key, Device::Keyboard);
        }
        m_hands.lockModifiers(0);
        m_hands.lockGroup(0);
    }

    // One window manager for all: a second one would find what the first one has left on the root window.
    static void SetUpTestSuite()
    {
        s_windowManager = new DesktopProgram(u"xfwm4"_s, {u"--compositor=off"_s});
        X11Display display;
        const xcb_atom_t check = display.atom("_NET_SUPPORTING_WM_CHECK");
        ASSERT_TRUE(waitUntil([&] { return !display.numbers(display.root(), check).empty(); }));
    }

    static void TearDownTestSuite()
    {
        delete s_windowManager;
        s_windowManager = nullptr;
    }

    // Until a window of this class really has the focus: the window manager calls it active before that.
    bool waitForFocus(const QByteArray& className)
    {
        return waitUntil([&] { return windowClass(m_desktop.display(), m_hands.focus()).contains(className); });
    }

    void paste(const QString& text)
    {
        m_pasteboard.setText(text);
        m_desktop.keystroke().sendPaste();
    }

    // Pastes into a GTK editor and gives what it holds then.
    QString pasteIntoEditor(
        const QString& text, const std::function<void()>& prepare = [] {})
    {
        DesktopProgram editor(DesktopProgram::app("text_editor.py"));
        EXPECT_TRUE(waitForFocus("Text_editor.py"));
        prepare();
        paste(text);
        waitUntil([&] { return editor.text() == text; });
        return editor.text();
    }

    bool isDown(std::uint8_t key)
    {
        const auto keys = m_hands.keysDown();
        return std::find(keys.begin(), keys.end(), key) != keys.end();
    }

    static inline DesktopProgram* s_windowManager = nullptr;
    QtPasteboard m_pasteboard;
    X11Desktop m_desktop{m_pasteboard};
    XHands m_hands{testServer().displayName()};
    const QString m_text = u"Crème brûlée, naïef — €5 日本 🎤"_s;
};

TEST_F(PasteTest, IntoAGtkEditor)
{
    EXPECT_TRUE(m_desktop.keystroke().isTrusted());
    EXPECT_EQ(pasteIntoEditor(m_text), m_text);
    EXPECT_TRUE(m_hands.keysDown().empty());
}

TEST_F(PasteTest, LeavesTheSelectionAloneWhereTheClipboardIsPasted)
{
    QGuiApplication::clipboard()->setText(u"selected"_s, QClipboard::Selection);
    EXPECT_EQ(pasteIntoEditor(m_text), m_text);
    EXPECT_EQ(QGuiApplication::clipboard()->text(QClipboard::Selection), u"selected"_s);
}

TEST_F(PasteTest, TwoPastesInARowPasteTheSecondTextTwice)
{
    DesktopProgram editor(DesktopProgram::app("text_editor.py"));
    ASSERT_TRUE(waitForFocus("Text_editor.py"));
    m_pasteboard.setText(u"first"_s);
    m_pasteboard.setText(u"second"_s);
    m_desktop.keystroke().sendPaste();
    m_desktop.keystroke().sendPaste();
    EXPECT_TRUE(waitUntil([&] { return editor.text() == u"secondsecond"_s; }));
}

TEST_F(PasteTest, ALongTextArrivesWhole)
{
    QString text;
    for (int i = 0; text.size() < 1'500'000; ++i) {
        text += u"zin %1 "_s.arg(i);
    }
    EXPECT_EQ(pasteIntoEditor(text), text);
}

TEST_F(PasteTest, AHeldSuperKeyTakesNoPartAndStaysHeldUntilTheUserLetsItGo)
{
    EXPECT_EQ(pasteIntoEditor(m_text, [this] { m_hands.press(RightSuper); }), m_text);
    EXPECT_EQ(m_hands.keysDown(), std::vector<std::uint8_t>{RightSuper});
    m_hands.release(RightSuper);
    EXPECT_FALSE(isDown(RightSuper));
    // What we pressed for the user is let go as well: the test device presses the key anew.
    m_desktop.keys().catchUp();
    m_hands.press(RightSuper, Device::Test);
    EXPECT_TRUE(isDown(RightSuper));
}

TEST_F(PasteTest, AKeyLetGoJustBeforeTheProgramEndsIsNotLeftDown)
{
    {
        X11Desktop desktop(m_pasteboard);
        m_hands.press(LeftShift);
        desktop.keystroke().sendPaste();
        m_hands.release(LeftShift);
    }
    m_hands.press(LeftShift, Device::Test);
    EXPECT_TRUE(isDown(LeftShift));
}

TEST_F(PasteTest, KeysThatAnotherProgramLeftDownDoNotStandInTheWay)
{
    for (const std::uint8_t key : {LeftControl, LeftShift, KeyV}) {
        // Up for everybody, but still down on the device that all programs which type share.
        m_hands.press(key, Device::Test);
        m_hands.tap(key);
        ASSERT_FALSE(isDown(key));
    }
    DesktopProgram terminal(DesktopProgram::app("vte_terminal.py"));
    ASSERT_TRUE(waitForFocus("gnome-terminal-server"));
    paste(m_text);
    EXPECT_TRUE(waitUntil([&] { return terminal.text() == m_text; })) << qPrintable(terminal.text());
    m_hands.release(KeyV, Device::Test);
}

TEST_F(PasteTest, HeldShiftControlAndAltTakeNoPart)
{
    for (const std::uint8_t key : {LeftShift, LeftControl, LeftAlt, RightAlt}) {
        EXPECT_EQ(pasteIntoEditor(m_text, [&] { m_hands.press(key); }), m_text) << int{key};
        EXPECT_EQ(m_hands.keysDown(), std::vector<std::uint8_t>{key});
        m_hands.release(key);
        EXPECT_TRUE(m_hands.keysDown().empty());
    }
}

TEST_F(PasteTest, AModifierHeldByAnotherProgramTakesNoPartAndStaysHeld)
{
    EXPECT_EQ(pasteIntoEditor(m_text, [this] { m_hands.press(LeftShift, Device::Test); }), m_text);
    EXPECT_TRUE(isDown(LeftShift));
    m_hands.release(LeftShift, Device::Test);
    m_desktop.keys().catchUp();
    EXPECT_TRUE(m_hands.keysDown().empty());
}

TEST_F(PasteTest, HeldModifiersAreNotReportedAsReleasedOrPressed)
{
    m_hands.press(RightSuper);
    m_desktop.keys().catchUp();
    int count = 0;
    ModifierFlags flags = ModifierFlags::None;
    const Registration keyDown =
        m_desktop.keys().onKeyDown([&](const KeyEvent& event) { flags = event.modifierFlags; });
    const Registration flagsChanged = m_desktop.keys().onFlagsChanged([&](const KeyEvent&) { ++count; });
    m_desktop.keystroke().sendPaste();
    m_hands.tap(KeyX);
    m_desktop.keys().catchUp();
    EXPECT_EQ(count, 0);
    EXPECT_EQ(flags, ModifierFlags::Command);
}

TEST_F(PasteTest, AHeldLetterVDoesNotStandInTheWay)
{
    DesktopProgram editor(DesktopProgram::app("text_editor.py"));
    ASSERT_TRUE(waitForFocus("Text_editor.py"));
    m_hands.press(KeyV);
    ASSERT_TRUE(waitUntil([&] { return editor.text() == u"v"_s; }));
    paste(m_text);
    EXPECT_TRUE(waitUntil([&] { return editor.text().endsWith(m_text); })) << qPrintable(editor.text());
    m_hands.release(KeyV);
    EXPECT_TRUE(m_hands.keysDown().empty());
}

TEST_F(PasteTest, CapsLockAndNumLockChangeNothingAndStayOn)
{
    EXPECT_EQ(pasteIntoEditor(m_text, [this] { m_hands.lockModifiers(kCapsAndNumLock); }), m_text);
    EXPECT_EQ(m_hands.lockedModifiers(), kCapsAndNumLock);
}

TEST_F(PasteTest, ALockedShiftTakesNoPartAndStaysLocked)
{
    EXPECT_EQ(pasteIntoEditor(m_text, [this] { m_hands.lockModifiers(kShiftLock); }), m_text);
    EXPECT_EQ(m_hands.lockedModifiers(), kShiftLock);
}

TEST_F(PasteTest, OnOtherLatinLayouts)
{
    for (const char* layout : {"fr", "de", "us(dvorak)", "us(colemak)"}) {
        EXPECT_EQ(pasteIntoEditor(m_text, [&] { setKeyboard({QString::fromLatin1(layout)}); }), m_text) << layout;
    }
}

TEST_F(PasteTest, OnLayoutsWithoutTheLetterV)
{
    for (const char* layout : {"ru", "gr"}) {
        EXPECT_EQ(pasteIntoEditor(m_text, [&] { setKeyboard({QString::fromLatin1(layout)}); }), m_text) << layout;
        EXPECT_EQ(QGuiApplication::clipboard()->text(QClipboard::Selection), m_text);
    }
}

TEST_F(PasteTest, OnTheSecondOfTwoLayouts)
{
    EXPECT_EQ(pasteIntoEditor(m_text,
                              [&] {
                                  setKeyboard({u"us,ru"_s});
                                  m_hands.lockGroup(1);
                              }),
              m_text);
}

TEST_F(PasteTest, HeldControlAndShiftDoNotSwitchTheLayout)
{
    const auto prepare = [&] {
        setKeyboard({u"us,de"_s, u"-option"_s, u"grp:ctrl_shift_toggle"_s});
        m_hands.press(LeftShift);
    };
    EXPECT_EQ(pasteIntoEditor(m_text, prepare), m_text);
    m_hands.release(LeftShift);
    m_hands.tap(29);
    EXPECT_EQ(m_desktop.keymap().charactersIgnoringModifiers(29), u"y"_s);
}

TEST_F(PasteTest, IntoAVteTerminal)
{
    DesktopProgram terminal(DesktopProgram::app("vte_terminal.py"));
    ASSERT_TRUE(waitForFocus("gnome-terminal-server"));
    paste(m_text);
    EXPECT_TRUE(waitUntil([&] { return terminal.text() == m_text; })) << qPrintable(terminal.text());
}

TEST_F(PasteTest, IntoAVteTerminalWithAHeldSuperKey)
{
    DesktopProgram terminal(DesktopProgram::app("vte_terminal.py"));
    ASSERT_TRUE(waitForFocus("gnome-terminal-server"));
    m_hands.press(RightSuper);
    paste(m_text);
    EXPECT_TRUE(waitUntil([&] { return terminal.text() == m_text; })) << qPrintable(terminal.text());
}

TEST_F(PasteTest, IntoAVteTerminalOnALayoutWithoutTheLetterV)
{
    DesktopProgram terminal(DesktopProgram::app("vte_terminal.py"));
    ASSERT_TRUE(waitForFocus("gnome-terminal-server"));
    setKeyboard({u"ru"_s});
    paste(m_text);
    EXPECT_TRUE(waitUntil([&] { return terminal.text() == m_text; })) << qPrintable(terminal.text());
}

TEST_F(PasteTest, IntoXterm)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"typed"_s);
    const DesktopProgram terminal(u"xterm"_s, {u"-u8"_s, u"-e"_s, DesktopProgram::app("raw_reader.py"), path});
    ASSERT_TRUE(waitForFocus("XTerm"));
    ASSERT_TRUE(waitUntil([&] { return QFile::exists(path); }));
    paste(m_text);
    const auto typed = [&] {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    EXPECT_TRUE(waitUntil([&] { return typed() == m_text.toUtf8(); })) << typed().constData();
}

TEST_F(PasteTest, TheClipboardServesOtherProgramsLater)
{
    m_pasteboard.setText(u"old"_s);
    m_pasteboard.setText(m_text);
    DesktopProgram editor(DesktopProgram::app("text_editor.py"));
    ASSERT_TRUE(waitForFocus("Text_editor.py"));
    m_hands.press(LeftControl);
    m_hands.tap(KeyV);
    m_hands.release(LeftControl);
    EXPECT_TRUE(waitUntil([&] { return editor.text() == m_text; }));
}

TEST(PasteOnOtherServers, IsNotTrustedWhereXTestIsMissing)
{
    const XServer server({u"-extension"_s, u"XTEST"_s});
    ASSERT_FALSE(server.displayName().isEmpty());
    QtPasteboard pasteboard;
    X11Desktop desktop(pasteboard, server.displayName());
    EXPECT_FALSE(desktop.keystroke().isTrusted());
    desktop.keystroke().sendPaste();
    EXPECT_TRUE(desktop.display().hasConnection());
    EXPECT_EQ(desktop.keys().unavailableReason(), Words());
}

TEST(PasteChord, GoesByTheWindowsNames)
{
    EXPECT_EQ(pasteChordFor({}), PasteChord::ControlV);
    EXPECT_EQ(pasteChordFor({"gedit", "Gedit"}), PasteChord::ControlV);
    EXPECT_EQ(pasteChordFor({"gnome-terminal-server", "Gnome-terminal"}), PasteChord::ControlShiftV);
    EXPECT_EQ(pasteChordFor({"konsole", "konsole"}), PasteChord::ControlShiftV);
    EXPECT_EQ(pasteChordFor({"Alacritty", "Alacritty"}), PasteChord::ControlShiftV);
    EXPECT_EQ(pasteChordFor({"xterm", "XTerm"}), PasteChord::ShiftInsert);
    // A title of the user's own in front of the class.
    EXPECT_EQ(pasteChordFor({"scratch", "URxvt"}), PasteChord::ShiftInsert);
}

}  // namespace
}  // namespace tavlo
