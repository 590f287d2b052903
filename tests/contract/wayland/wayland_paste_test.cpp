#include "linux/wayland/focused_application.h"
#include "linux/wayland/seat_keymap.h"
#include "linux/wayland/wayland_paste_keystroke.h"
#include "linux/wayland/wayland_pasteboard.h"
#include "platform/text_literals.h"
#include "support/desktop_program.h"
#include "support/sway_server.h"
#include "support/wait_until.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>

namespace tavlo {
namespace {

using namespace std::chrono_literals;

// What another program gets from the clipboard, or with "-p" from the primary selection.
QByteArray pasted(const QStringList& arguments = {})
{
    DesktopProgram paste(u"wl-paste"_s, QStringList{u"-n"_s} + arguments);
    EXPECT_TRUE(waitUntil([&] { return paste.hasEnded(); }));
    return paste.output();
}

class WaylandPasteTest : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        s_server = std::make_unique<SwayServer>();
        qputenv("WAYLAND_DISPLAY", s_server->displayName());
    }
    static void TearDownTestSuite() { s_server.reset(); }

    void SetUp() override
    {
        ASSERT_FALSE(s_server->displayName().isEmpty()) << s_server->errors().constData();
        ASSERT_TRUE(m_connection.isConnected());
    }

    bool waitForFocus(const QByteArray& application)
    {
        return waitUntil([&] { return m_focused.name() == application; });
    }

    void paste(const QString& text)
    {
        m_pasteboard.setText(text);
        m_keystroke.sendPaste();
    }

    static std::unique_ptr<SwayServer> s_server;
    const QString m_text = u"Één regel,\ntwee régels – “ok” 😀"_s;
    WaylandConnection m_connection;
    FocusedApplication m_focused{m_connection};
    WaylandPasteboard m_pasteboard{m_connection};
    WaylandPasteKeystroke m_keystroke{m_connection, m_pasteboard};
};

std::unique_ptr<SwayServer> WaylandPasteTest::s_server;

TEST_F(WaylandPasteTest, TheCompositorOffersAll)
{
    EXPECT_TRUE(WaylandPasteboard::isOfferedBy(m_connection));
    EXPECT_TRUE(m_keystroke.isTrusted());
}

TEST_F(WaylandPasteTest, AnotherProgramGetsTheTextFromTheClipboard)
{
    m_pasteboard.setText(u"older"_s);
    m_pasteboard.setText(m_text);
    EXPECT_EQ(pasted(), m_text.toUtf8());
    EXPECT_EQ(pasted(), m_text.toUtf8());
}

TEST_F(WaylandPasteTest, ATextLongerThanAPipeHoldsArrivesWhole)
{
    const QString text = u"0123456789abcdef"_s.repeated(40000);
    m_pasteboard.setText(text);
    EXPECT_EQ(pasted(), text.toUtf8());
}

TEST_F(WaylandPasteTest, AReaderThatGoesAwayEndsItsTransferAlone)
{
    m_pasteboard.setText(u"0123456789abcdef"_s.repeated(40000));
    {
        DesktopProgram reader(u"sh"_s, {u"-c"_s, u"wl-paste -n | head -c 10"_s});
        ASSERT_TRUE(waitUntil([&] { return reader.hasEnded(); }));
        EXPECT_EQ(reader.output(), "0123456789");
    }
    m_pasteboard.setText(m_text);
    EXPECT_EQ(pasted(), m_text.toUtf8());
}

TEST_F(WaylandPasteTest, AnotherProgramsCopyTakesTheClipboardOver)
{
    m_pasteboard.setText(m_text);
    DesktopProgram copy(u"wl-copy"_s, {u"-f"_s, u"copied"_s});
    EXPECT_TRUE(waitUntil([&] { return pasted() == "copied"; }));
    m_pasteboard.setText(m_text);
    EXPECT_EQ(pasted(), m_text.toUtf8());
}

TEST_F(WaylandPasteTest, ThePrimarySelectionIsSetOnRequestOnly)
{
    DesktopProgram selection(u"wl-copy"_s, {u"-p"_s, u"-f"_s, u"selected"_s});
    ASSERT_TRUE(waitUntil([&] { return pasted({u"-p"_s}) == "selected"; }));
    m_pasteboard.setText(m_text);
    EXPECT_EQ(pasted(), m_text.toUtf8());
    EXPECT_EQ(pasted({u"-p"_s}), "selected");
    m_pasteboard.offerPrimarySelection();
    EXPECT_EQ(pasted({u"-p"_s}), m_text.toUtf8());
}

TEST_F(WaylandPasteTest, IntoAnEditor)
{
    DesktopProgram editor(DesktopProgram::app("text_editor.py"));
    ASSERT_TRUE(waitForFocus("text_editor.py")) << editor.errors().constData();
    paste(m_text);
    EXPECT_TRUE(waitUntil([&] { return editor.text() == m_text; })) << qPrintable(editor.text());
    paste(u"!"_s);
    EXPECT_TRUE(waitUntil([&] { return editor.text() == m_text + u"!"_s; })) << qPrintable(editor.text());
}

TEST_F(WaylandPasteTest, IntoATerminal)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"typed"_s);
    DesktopProgram terminal(u"foot"_s, {DesktopProgram::app("raw_reader.py"), path});
    ASSERT_TRUE(waitForFocus("foot")) << terminal.errors().constData();
    ASSERT_TRUE(waitUntil([&] { return QFile::exists(path); }));
    paste(u"one line"_s);
    const auto typed = [&] {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    EXPECT_TRUE(waitUntil([&] { return typed() == "one line"; })) << typed().constData();
}

TEST_F(WaylandPasteTest, TheSeatsKeyboardIsDescribed)
{
    std::string description;
    const SeatKeymap keymap(m_connection, [&](const std::string& text) { description = text; });
    // The only keyboard there is, since the compositor has no devices: the one that types the chord.
    EXPECT_TRUE(waitUntil([&] { return description.starts_with("xkb_keymap"); }));
    EXPECT_NE(description.find("Control_L"), std::string::npos) << description;
    EXPECT_EQ(description.find('\0'), std::string::npos);
}

TEST_F(WaylandPasteTest, NobodyHasTheFocusOnAnEmptyDesktop)
{
    EXPECT_EQ(m_focused.name(), QByteArray());
}

TEST(WaylandCompositor, IsMissing)
{
    qputenv("WAYLAND_DISPLAY", "/nonexistent/wayland-9");
    WaylandConnection connection;
    EXPECT_FALSE(connection.isConnected());
    WaylandPasteboard pasteboard(connection);
    WaylandPasteKeystroke keystroke(connection, pasteboard);
    EXPECT_FALSE(WaylandPasteboard::isOfferedBy(connection));
    EXPECT_FALSE(keystroke.isTrusted());
    pasteboard.setText(u"text"_s);
    keystroke.sendPaste();
    EXPECT_EQ(FocusedApplication(connection).name(), std::nullopt);
}

TEST(WaylandCompositor, ThatDoesNotAnswerIsNotWaitedFor)
{
    SwayServer server;
    qputenv("WAYLAND_DISPLAY", server.displayName());
    server.freeze();
    const auto begin = std::chrono::steady_clock::now();
    const WaylandConnection connection;
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s);  // three, and what a busy machine adds
    EXPECT_FALSE(connection.isConnected());
    EXPECT_FALSE(WaylandPasteboard::isOfferedBy(connection));
}

TEST(WaylandCompositor, ThatGoesAwayLeavesNothingToPasteWith)
{
    SwayServer server;
    qputenv("WAYLAND_DISPLAY", server.displayName());
    WaylandConnection connection;
    WaylandPasteboard pasteboard(connection);
    WaylandPasteKeystroke keystroke(connection, pasteboard);
    ASSERT_TRUE(keystroke.isTrusted());
    server.kill();
    EXPECT_TRUE(waitUntil([&] { return !keystroke.isTrusted(); }));
    pasteboard.setText(u"text"_s);
    keystroke.sendPaste();
}

}  // namespace
}  // namespace tavlo

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    const QTemporaryDir runtimeFolder;
    qputenv("XDG_RUNTIME_DIR", runtimeFolder.path().toLocal8Bit());
    qputenv("GDK_BACKEND", "wayland");
    qputenv("GSETTINGS_BACKEND", "memory");
    qputenv("NO_AT_BRIDGE", "1");
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
