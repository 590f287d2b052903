#include "contract/x11/x11_environment.h"
#include "platform/text_literals.h"

#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdio>

namespace tavlo {

namespace {

XServer* g_server = nullptr;

}  // namespace

XServer& testServer()
{
    return *g_server;
}

void run(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    ASSERT_TRUE(process.waitForFinished()) << qPrintable(program);
    ASSERT_EQ(process.exitCode(), 0) << process.readAllStandardError().constData();
}

void setKeyboard(const QStringList& arguments)
{
    // First to nothing but the defaults: options add up otherwise.
    run(u"setxkbmap"_s, {u"-layout"_s, u"us"_s, u"-option"_s, {}});
    if (!arguments.isEmpty()) {
        run(u"setxkbmap"_s, arguments);
    }
}

}  // namespace tavlo

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    const QTemporaryDir home;
    tavlo::XServer server;
    if (server.displayName().isEmpty()) {
        std::fputs("The X server of the test did not start.\n", stderr);
        return 1;
    }
    tavlo::g_server = &server;
    qputenv("DISPLAY", server.displayName());
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("HOME", home.path().toLocal8Bit());
    qputenv("XDG_RUNTIME_DIR", home.path().toLocal8Bit());
    qputenv("GDK_BACKEND", "x11");
    qputenv("NO_AT_BRIDGE", "1");
    qunsetenv("WAYLAND_DISPLAY");
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    int result = 0;
    {
        const QGuiApplication application(argc, argv);
        result = RUN_ALL_TESTS();
    }
    return result;
}
