#include "ui/windows/typing_key_alert.h"
#include "platform/text_literals.h"

#include "language_scope.h"
#include "window_test_support.h"

#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

#include <vector>

using namespace tavlo;
using namespace tavlo::test;

namespace {

class TypingKeyAlertTest : public testing::Test {
protected:
    ~TypingKeyAlertTest() override { destroyWhatWaits(); }

    void show()
    {
        m_alert.show({u"'Space' is a commonly used typing key"_s, u"Every time you type it."_s, u"Choose another key"_s,
                      u"Use anyway"_s, u"Cancel"_s},
                     [this](TypingKeyAnswer answer) { m_answers.push_back(answer); });
    }

    QAbstractButton* button(const QString& text)
    {
        for (QAbstractButton* candidate : m_alert.box()->buttons()) {
            if (candidate->text() == text) {
                return candidate;
            }
        }
        return nullptr;
    }

    using Answers = std::vector<TypingKeyAnswer>;
    Answers m_answers;
    TypingKeyAlertBox m_alert;
};

}  // namespace

TEST_F(TypingKeyAlertTest, ShowsAModalWarningWithItsTextsAndReturnsAtOnce)
{
    show();
    EXPECT_TRUE(m_answers.empty());
    EXPECT_TRUE(m_alert.box()->isVisible());
    // Nothing else of this program can be used meanwhile.
    EXPECT_EQ(m_alert.box()->windowModality(), Qt::ApplicationModal);
    EXPECT_EQ(m_alert.box()->icon(), QMessageBox::Warning);
    EXPECT_EQ(m_alert.box()->text(), u"'Space' is a commonly used typing key"_s);
    EXPECT_EQ(m_alert.box()->informativeText(), u"Every time you type it."_s);
    EXPECT_EQ(m_alert.box()->buttons().size(), 3);
    EXPECT_EQ(m_alert.box()->defaultButton(), button(u"Choose another key"_s));
}

TEST_F(TypingKeyAlertTest, TheButtonsStandInTheirOrderFromLeftToRight)
{
    show();
    EXPECT_LT(button(u"Choose another key"_s)->x(), button(u"Use anyway"_s)->x());
    EXPECT_LT(button(u"Use anyway"_s)->x(), button(u"Cancel"_s)->x());
}

TEST_F(TypingKeyAlertTest, TheWarningSignHasANameForAScreenReader)
{
    const LanguageScope english(u"en"_s);
    show();
    const auto* const sign = m_alert.box()->findChild<QLabel*>(u"qt_msgboxex_icon_label"_s);
    ASSERT_NE(sign, nullptr);
    EXPECT_EQ(sign->accessibleName(), u"Warning"_s);
}

TEST_F(TypingKeyAlertTest, EachButtonGivesItsAnswerOnce)
{
    show();
    button(u"Choose another key"_s)->click();
    show();
    button(u"Use anyway"_s)->click();
    show();
    button(u"Cancel"_s)->click();
    EXPECT_EQ(m_answers,
              (Answers{TypingKeyAnswer::ChooseAnother, TypingKeyAnswer::UseAnyway, TypingKeyAnswer::Cancel}));
    EXPECT_EQ(m_alert.box(), nullptr);
}

TEST_F(TypingKeyAlertTest, ReturnChoosesAnotherKey)
{
    show();
    press(*m_alert.box(), Qt::Key_Return);
    EXPECT_EQ(m_answers, Answers{TypingKeyAnswer::ChooseAnother});
}

TEST_F(TypingKeyAlertTest, EscapeAndTheCloseBoxCancel)
{
    show();
    press(*m_alert.box(), Qt::Key_Escape);
    show();
    m_alert.box()->close();
    EXPECT_EQ(m_answers, (Answers{TypingKeyAnswer::Cancel, TypingKeyAnswer::Cancel}));
}

TEST_F(TypingKeyAlertTest, AHeldKeyPressesNoButton)
{
    show();
    for (QWidget* receiver : std::initializer_list<QWidget*>{m_alert.box(), m_alert.box()->defaultButton()}) {
        QKeyEvent repeat(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, QString(), true);
        QApplication::sendEvent(receiver, &repeat);
    }
    EXPECT_TRUE(m_answers.empty());
    EXPECT_TRUE(m_alert.box()->isVisible());
}

TEST_F(TypingKeyAlertTest, ASecondAlertAnswersTheFirstWithCancel)
{
    show();
    show();
    EXPECT_EQ(m_answers, Answers{TypingKeyAnswer::Cancel});
    ASSERT_NE(m_alert.box(), nullptr);
    EXPECT_TRUE(m_alert.box()->isVisible());
    button(u"Use anyway"_s)->click();
    EXPECT_EQ(m_answers, (Answers{TypingKeyAnswer::Cancel, TypingKeyAnswer::UseAnyway}));
}

TEST_F(TypingKeyAlertTest, AnAnswerMayShowTheNextAlert)
{
    m_alert.show({u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s}, [this](TypingKeyAnswer) { show(); });
    button(u"c"_s)->click();
    ASSERT_NE(m_alert.box(), nullptr);
    button(u"Cancel"_s)->click();
    EXPECT_EQ(m_answers, Answers{TypingKeyAnswer::Cancel});
}

TEST_F(TypingKeyAlertTest, AnAlertWhoseOwnerGoesIsNotAnswered)
{
    {
        TypingKeyAlertBox alert;
        alert.show({}, [](TypingKeyAnswer) { FAIL() << "Nobody is there to hear it."; });
    }
}
