#include "contract/backend.h"
#include "contract/paste_rig.h"
#include "platform/text_literals.h"
#include "support/fakes/fake_paste_keystroke.h"
#include "support/fakes/fake_pasteboard.h"
#include "support/wait_until.h"

#include <gtest/gtest.h>

namespace tavlo {
namespace {

class FakeRig : public PasteRig {
public:
    FakeRig()
    {
        m_keystroke.onPaste = [this] { m_editorText += m_clipboard; };
        m_pasteboard.onSet = [this](const QString& text) { m_clipboard = text; };
    }
    Pasteboard& pasteboard() override { return m_pasteboard; }
    PasteKeystroke& keystroke() override { return m_keystroke; }
    QString clipboard() override { return m_clipboard; }
    QString primarySelection() override { return m_pasteboard.selection; }
    void copyElsewhere(const QString& text) override { m_clipboard = text; }
    void selectElsewhere(const QString& text) override { m_pasteboard.selection = text; }
    void openEditor() override {}
    QString editorText() override { return m_editorText; }

private:
    FakePasteboard m_pasteboard;
    FakePasteKeystroke m_keystroke;
    QString m_clipboard;
    QString m_editorText;
};

class PasteContract : public testing::TestWithParam<Backend> {
protected:
    void SetUp() override
    {
        m_rig = GetParam() == Backend::Fake ? std::make_unique<FakeRig>() : makeRealPasteRig();
        ASSERT_TRUE(m_rig);
    }

    std::unique_ptr<PasteRig> m_rig;
    const QString m_text = u"Crème brûlée,\nnaïef — €5 日本 🎤"_s;
};

TEST_P(PasteContract, OthersGetTheTextThatWasSetLastAsOftenAsTheyLike)
{
    m_rig->pasteboard().setText(u"older"_s);
    m_rig->pasteboard().setText(m_text);
    EXPECT_EQ(m_rig->clipboard(), m_text);
    EXPECT_EQ(m_rig->clipboard(), m_text);
}

TEST_P(PasteContract, TheTextTakesThePlaceOfWhatAnotherProgramCopied)
{
    m_rig->copyElsewhere(u"copied"_s);
    ASSERT_EQ(m_rig->clipboard(), u"copied"_s);
    m_rig->pasteboard().setText(m_text);
    EXPECT_EQ(m_rig->clipboard(), m_text);
    m_rig->copyElsewhere(u"copied later"_s);
    EXPECT_EQ(m_rig->clipboard(), u"copied later"_s);
}

TEST_P(PasteContract, ThePrimarySelectionIsReplacedOnRequestOnly)
{
    m_rig->selectElsewhere(u"selected"_s);
    m_rig->pasteboard().setText(m_text);
    EXPECT_EQ(m_rig->primarySelection(), u"selected"_s);
    m_rig->pasteboard().offerPrimarySelection();
    EXPECT_EQ(m_rig->primarySelection(), m_text);
    EXPECT_EQ(m_rig->clipboard(), m_text);
}

TEST_P(PasteContract, EachKeystrokePastesTheClipboardOnce)
{
    EXPECT_TRUE(m_rig->keystroke().isTrusted());
    m_rig->openEditor();
    m_rig->pasteboard().setText(m_text);
    EXPECT_EQ(m_rig->editorText(), QString()) << "nothing is typed yet";
    m_rig->keystroke().sendPaste();
    EXPECT_TRUE(waitUntil([&] { return m_rig->editorText() == m_text; })) << qPrintable(m_rig->editorText());
    m_rig->pasteboard().setText(u"!"_s);
    m_rig->keystroke().sendPaste();
    EXPECT_TRUE(waitUntil([&] { return m_rig->editorText() == m_text + u"!"_s; })) << qPrintable(m_rig->editorText());
}

INSTANTIATE_TEST_SUITE_P(On, PasteContract, testing::Values(Backend::Fake, Backend::Real),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace tavlo
