#include "contract/backend.h"
#include "linux/freedesktop/autostart_login_item.h"
#include "platform/text_literals.h"
#include "support/fakes/fake_login_item.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

namespace tavlo {
namespace {

// The user's and the system's configuration folders, empty.
struct Folders {
    QTemporaryDir root;
    QString user = root.filePath(u"user"_s);
    QString system = root.filePath(u"system"_s);
    QString entry = user + u"/autostart/nl.pelloquintar.tavlo.desktop"_s;
    QString systemEntry = system + u"/autostart/nl.pelloquintar.tavlo.desktop"_s;

    AutostartLoginItem item(const QString& program = u"/usr/bin/tavlo"_s) const
    {
        return AutostartLoginItem(user, {system}, program);
    }
};

void put(const QString& path, const QByteArray& text)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(text), text.size());
}

QByteArray get(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// What every login item must do, on the fake and on the desktop's entry.
class LoginItemContract : public ::testing::TestWithParam<Backend> {
protected:
    LoginItem& item() { return GetParam() == Backend::Real ? static_cast<LoginItem&>(m_real) : m_fake; }
    // No change is possible from here on.
    void refuseChanges()
    {
        m_fake.refusal = u"De map is alleen-lezen."_s;
        put(m_folders.user, "a file in the folder's place");
    }

private:
    Folders m_folders;
    AutostartLoginItem m_real = m_folders.item();
    FakeLoginItem m_fake;
};

TEST_P(LoginItemContract, IsOffAtFirstAndFollowsWhatIsAsked)
{
    EXPECT_FALSE(item().isEnabled());
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(item().enable());
        EXPECT_TRUE(item().isEnabled());
        EXPECT_TRUE(item().enable());
        EXPECT_TRUE(item().disable());
        EXPECT_FALSE(item().isEnabled());
        EXPECT_TRUE(item().disable());
    }
}

TEST_P(LoginItemContract, AChangeThatFailsSaysWhyAndChangesNothing)
{
    refuseChanges();
    const Result<void> done = item().enable();
    ASSERT_FALSE(done);
    EXPECT_NE(done.error().description, QString());
    EXPECT_FALSE(item().isEnabled());
}

INSTANTIATE_TEST_SUITE_P(On, LoginItemContract, ::testing::Values(Backend::Fake, Backend::Real),
                         ::testing::PrintToStringParamName());

class AutostartLoginItemTest : public ::testing::Test, protected Folders {};

TEST_F(AutostartLoginItemTest, TheEntryStartsTheInstalledProgram)
{
    ASSERT_TRUE(item().enable());
    const DesktopEntry written(get(entry));
    EXPECT_EQ(written.value("Exec"), QByteArray("/usr/bin/tavlo"));
    EXPECT_EQ(written.value("Type"), QByteArray("Application"));
    EXPECT_EQ(written.value("Name"), QByteArray("Tavlo"));
}

TEST_F(AutostartLoginItemTest, AnyPathIsQuotedByTheRulesOfExec)
{
    EXPECT_EQ(DesktopEntry::execFor(u"/opt/tavlo"_s), "/opt/tavlo");
    EXPECT_EQ(DesktopEntry::execFor(u"/opt/my tavlo"_s), "\"/opt/my tavlo\"");
    EXPECT_EQ(DesktopEntry::execFor(u"/opt/50%/tavlo"_s), "/opt/50%%/tavlo");
    EXPECT_EQ(DesktopEntry::execFor(u"/a\"b$c`d"_s), R"("/a\\"b\\$c\\`d")");
    EXPECT_EQ(DesktopEntry::execFor(u"/a\\b"_s), R"("/a\\\\b")");
    EXPECT_EQ(DesktopEntry::execFor(u"/a\nb"_s), R"("/a\nb")");
}

TEST_F(AutostartLoginItemTest, OurOwnEntryIsRemovedAgain)
{
    ASSERT_TRUE(item().enable());
    ASSERT_TRUE(item().disable());
    EXPECT_FALSE(QFileInfo::exists(entry));
}

TEST_F(AutostartLoginItemTest, WhatTheUserChangedIsKeptWhenItIsSwitchedOffAndOn)
{
    const QByteArray edited =
        "# mine\n[Desktop Entry]\nType=Application\nName=Dictation\nExec=sh -c \"sleep 5; tavlo\"\n"
        "X-GNOME-Autostart-Delay=5\n\n[Desktop Action x]\nHidden=true\n";
    put(entry, edited);
    EXPECT_TRUE(item().isEnabled());
    ASSERT_TRUE(item().disable());
    EXPECT_FALSE(item().isEnabled());
    EXPECT_EQ(DesktopEntry(get(entry)).value("Exec"), QByteArray("sh -c \"sleep 5; tavlo\""));
    ASSERT_TRUE(item().enable());
    EXPECT_TRUE(item().isEnabled());
    EXPECT_EQ(get(entry), edited);
}

TEST_F(AutostartLoginItemTest, AnEntryThatTheUserHidIsOffUntilItIsSwitchedOn)
{
    for (const QByteArray& off :
         {QByteArray("Hidden=true"), QByteArray("Hidden = true"), QByteArray("X-GNOME-Autostart-enabled=false")}) {
        put(entry, "[Desktop Entry]\nType=Application\nExec=tavlo\n" + off + "\n");
        EXPECT_FALSE(item().isEnabled());
        ASSERT_TRUE(item().enable());
        EXPECT_TRUE(item().isEnabled());
        EXPECT_EQ(get(entry), "[Desktop Entry]\nType=Application\nExec=tavlo\n");
    }
}

TEST_F(AutostartLoginItemTest, AnEntryThatStartsNothingIsReplaced)
{
    for (const QByteArray& broken : {QByteArray(""), QByteArray("garbage"), QByteArray("[Desktop Entry]\nName=x\n")}) {
        put(entry, broken);
        EXPECT_FALSE(item().isEnabled());
        ASSERT_TRUE(item().enable());
        EXPECT_TRUE(item().isEnabled());
    }
}

TEST_F(AutostartLoginItemTest, AnEntryOfTheSystemCountsAndIsHiddenByOneOfTheUser)
{
    const QByteArray systemText = "[Desktop Entry]\nType=Application\nExec=/usr/bin/tavlo\n";
    put(systemEntry, systemText);
    EXPECT_TRUE(item().isEnabled());
    ASSERT_TRUE(item().enable());
    EXPECT_FALSE(QFileInfo::exists(entry));
    ASSERT_TRUE(item().disable());
    EXPECT_FALSE(item().isEnabled());
    EXPECT_EQ(DesktopEntry(get(entry)).value("Hidden"), QByteArray("true"));
    ASSERT_TRUE(item().enable());
    EXPECT_TRUE(item().isEnabled());
    ASSERT_TRUE(item().disable());
    EXPECT_FALSE(item().isEnabled());
    EXPECT_EQ(get(systemEntry), systemText);
}

TEST_F(AutostartLoginItemTest, ALinkedEntryStaysALink)
{
    const QString target = root.filePath(u"target.desktop"_s);
    put(target, "[Desktop Entry]\nExec=tavlo\nHidden=true\n");
    QDir().mkpath(QFileInfo(entry).path());
    ASSERT_TRUE(QFile::link(target, entry));
    ASSERT_TRUE(item().enable());
    EXPECT_TRUE(QFileInfo(entry).isSymLink());
    EXPECT_EQ(get(target), "[Desktop Entry]\nExec=tavlo\n");
}

TEST_F(AutostartLoginItemTest, AFailureIsDescribedInTheSystemsWords)
{
    put(user, "a file in the folder's place");
    const auto done = item().enable();
    ASSERT_FALSE(done);
    EXPECT_TRUE(done.error().description.contains(user)) << done.error().description.toStdString();
    EXPECT_TRUE(done.error().description.contains(u"Not a directory"_s)) << done.error().description.toStdString();
    EXPECT_FALSE(item().isEnabled());

    ASSERT_TRUE(QFile::remove(user));
    ASSERT_TRUE(QDir().mkpath(entry));  // A folder in the file's place.
    EXPECT_FALSE(item().enable());
    EXPECT_FALSE(item().isEnabled());
}

TEST_F(AutostartLoginItemTest, TheFoldersComeFromTheEnvironment)
{
    const QByteArray before = qgetenv("XDG_CONFIG_HOME");
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(user));
    ASSERT_TRUE(AutostartLoginItem::forProgram(u"/usr/bin/tavlo"_s).enable());
    qputenv("XDG_CONFIG_HOME", before);
    EXPECT_TRUE(QFileInfo::exists(entry));
}

}  // namespace
}  // namespace tavlo
