#include "contract/paste_rig.h"
#include "linux/wayland/focused_application.h"
#include "linux/wayland/wayland_paste_keystroke.h"
#include "linux/wayland/wayland_pasteboard.h"
#include "platform/text_literals.h"
#include "support/desktop_program.h"
#include "support/sway_server.h"
#include "support/wait_until.h"

#include <gtest/gtest.h>

#include <optional>

namespace tavlo {
namespace {

class WaylandPasteRig : public PasteRig {
public:
    bool isThere() const { return m_connection.isConnected(); }
    Pasteboard& pasteboard() override { return m_pasteboard; }
    PasteKeystroke& keystroke() override { return m_keystroke; }
    QString clipboard() override { return read({}); }
    QString primarySelection() override { return read({u"-p"_s}); }
    void copyElsewhere(const QString& text) override
    {
        m_copy.emplace(u"wl-copy"_s, QStringList{u"-f"_s, text});
        EXPECT_TRUE(waitUntil([&] { return clipboard() == text; }));
    }
    void selectElsewhere(const QString& text) override
    {
        m_selection.emplace(u"wl-copy"_s, QStringList{u"-p"_s, u"-f"_s, text});
        EXPECT_TRUE(waitUntil([&] { return primarySelection() == text; }));
    }
    void openEditor() override
    {
        m_editor.emplace(DesktopProgram::app("text_editor.py"));
        EXPECT_TRUE(waitUntil([&] { return m_focused.name() == "text_editor.py"; })) << m_editor->errors().constData();
    }
    QString editorText() override { return m_editor ? m_editor->text() : QString(); }

private:
    static QString read(const QStringList& selection)
    {
        DesktopProgram reader(u"wl-paste"_s, QStringList{u"-n"_s} + selection);
        EXPECT_TRUE(waitUntil([&] { return reader.hasEnded(); }));
        return QString::fromUtf8(reader.output());
    }
    // Found by whatever connects next.
    struct Display {
        Display() { qputenv("WAYLAND_DISPLAY", server.displayName()); }
        SwayServer server;
    };

    Display m_display;
    WaylandConnection m_connection;
    FocusedApplication m_focused{m_connection};
    WaylandPasteboard m_pasteboard{m_connection};
    WaylandPasteKeystroke m_keystroke{m_connection, m_pasteboard};
    std::optional<DesktopProgram> m_copy;
    std::optional<DesktopProgram> m_selection;
    std::optional<DesktopProgram> m_editor;
};

}  // namespace

std::unique_ptr<PasteRig> makeRealPasteRig()
{
    auto rig = std::make_unique<WaylandPasteRig>();
    return rig->isThere() ? std::move(rig) : nullptr;
}

}  // namespace tavlo
