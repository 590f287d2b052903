#include "contract/paste_rig.h"
#include "contract/x11/x11_environment.h"
#include "linux/qt/qt_pasteboard.h"
#include "linux/x11/x11_desktop.h"
#include "linux/x11/x11_paste_keystroke.h"
#include "platform/text_literals.h"
#include "support/desktop_program.h"
#include "support/x_hands.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <optional>

namespace tavlo {
namespace {

// Without a window manager: the test itself gives the editor the keyboard.
class X11PasteRig : public PasteRig {
public:
    X11PasteRig() { setKeyboard({}); }
    Pasteboard& pasteboard() override { return m_pasteboard; }
    PasteKeystroke& keystroke() override { return m_desktop.keystroke(); }
    QString clipboard() override { return read(u"clipboard"_s); }
    QString primarySelection() override { return read(u"primary"_s); }
    void copyElsewhere(const QString& text) override { own(u"clipboard"_s, text, m_copy); }
    void selectElsewhere(const QString& text) override { own(u"primary"_s, text, m_selection); }
    void openEditor() override
    {
        m_editor.emplace(DesktopProgram::app("text_editor.py"));
        DesktopProgram focus(u"xdotool"_s, {u"search"_s, u"--sync"_s, u"--onlyvisible"_s, u"--class"_s,
                                            u"text_editor.py"_s, u"windowfocus"_s, u"--sync"_s});
        EXPECT_TRUE(waitUntil([&] { return focus.hasEnded(); })) << focus.errors().constData();
        EXPECT_TRUE(windowClass(m_desktop.display(), m_hands.focus()).contains("Text_editor.py"));
    }
    QString editorText() override { return m_editor ? m_editor->text() : QString(); }

private:
    static QString read(const QString& selection)
    {
        DesktopProgram reader(u"xclip"_s, {u"-o"_s, u"-selection"_s, selection});
        EXPECT_TRUE(waitUntil([&] { return reader.hasEnded(); }));
        return QString::fromUtf8(reader.output());
    }
    void own(const QString& selection, const QString& text, std::optional<DesktopProgram>& owner)
    {
        const QString path = m_folder.filePath(selection);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(text.toUtf8()) > 0);
        file.close();
        owner.emplace(u"xclip"_s, QStringList{u"-quiet"_s, u"-selection"_s, selection, path});
        EXPECT_TRUE(waitUntil([&] { return read(selection) == text; }));
    }

    const QTemporaryDir m_folder;
    QtPasteboard m_pasteboard;
    X11Desktop m_desktop{m_pasteboard};
    XHands m_hands{testServer().displayName()};
    std::optional<DesktopProgram> m_copy;
    std::optional<DesktopProgram> m_selection;
    std::optional<DesktopProgram> m_editor;
};

}  // namespace

std::unique_ptr<PasteRig> makeRealPasteRig()
{
    return std::make_unique<X11PasteRig>();
}

}  // namespace tavlo
