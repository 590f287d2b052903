#include "contract/backend.h"
#include "contract/x11/x11_environment.h"
#include "linux/qt/qt_workspace.h"
#include "platform/text_literals.h"
#include "support/fakes/fake_workspace.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

namespace tavlo {
namespace {

// A desktop on which addresses are opened.
class WorkspaceRig {
public:
    virtual ~WorkspaceRig() = default;
    virtual Workspace& workspace() = 0;
    // What the desktop's program was given, one line an address, encoded in full.
    virtual QByteArray opened() = 0;
};

class FakeRig : public WorkspaceRig {
public:
    Workspace& workspace() override { return m_workspace; }
    QByteArray opened() override
    {
        QByteArray lines;
        for (const QUrl& url : m_workspace.opened) {
            lines += url.toEncoded() + '\n';
        }
        return lines;
    }

private:
    FakeWorkspace m_workspace;
};

// With a program in place of the desktop's opener that notes what it is given, and is noisy as browsers are.
class RealRig : public WorkspaceRig {
public:
    RealRig()
    {
        QFile opener(m_folder.filePath(u"xdg-open"_s));
        if (!opener.open(QIODevice::WriteOnly)) {
            qFatal("There is no place for the opener.");
        }
        const QByteArray path = QFile::encodeName(m_path);
        opener.write(
            "#!/bin/sh\necho noise; echo noise >&2\n[ $# = 1 ] || set -- \"$# arguments\"\nprintf '%s\\n' \"$1\" >> '" +
            path + "'\n");
        opener.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        opener.close();
        qputenv("PATH", QFile::encodeName(m_folder.path()) + ':' + m_pathBefore);
    }
    ~RealRig() override { qputenv("PATH", m_pathBefore); }

    Workspace& workspace() override { return m_workspace; }
    QByteArray opened() override
    {
        QFile file(m_path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private:
    const QByteArray m_pathBefore = qgetenv("PATH");
    QTemporaryDir m_folder;
    const QString m_path = m_folder.filePath(u"opened"_s);
    QtWorkspace m_workspace;
};

class WorkspaceContract : public testing::TestWithParam<Backend> {
protected:
    WorkspaceContract()
    {
        if (GetParam() == Backend::Real) {
            m_rig = std::make_unique<RealRig>();
        } else {
            m_rig = std::make_unique<FakeRig>();
        }
    }

    Workspace& workspace() { return m_rig->workspace(); }
    QByteArray openedAfter(const QByteArray& lines)
    {
        waitUntil([&] { return m_rig->opened() == lines; });
        return m_rig->opened();
    }

private:
    std::unique_ptr<WorkspaceRig> m_rig;
};

TEST_P(WorkspaceContract, OpensAnAddressWithTheDesktopsProgramWithoutWaitingForIt)
{
    const QByteArray expected = "https://example.org/a%20b?c=%C3%A9#plakken\n";
    workspace().open(QUrl(u"https://example.org/a b?c=é#plakken"_s));
    EXPECT_EQ(openedAfter(expected), expected);
}

TEST_P(WorkspaceContract, OpensAFile)
{
    const QByteArray expected = "file:///tmp/mijn%20map/config.json\n";
    workspace().open(QUrl::fromLocalFile(u"/tmp/mijn map/config.json"_s));
    EXPECT_EQ(openedAfter(expected), expected);
}

TEST_P(WorkspaceContract, AnInvalidAddressDoesNothing)
{
    const QByteArray expected = "https://example.org/last\n";
    workspace().open(QUrl());
    workspace().open(QUrl(u"http://[broken"_s));
    workspace().open(QUrl(u"https://example.org/last"_s));
    EXPECT_EQ(openedAfter(expected), expected);
}

INSTANTIATE_TEST_SUITE_P(On, WorkspaceContract, testing::Values(Backend::Fake, Backend::Real),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace tavlo
