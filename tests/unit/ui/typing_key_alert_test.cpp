#include "ui/typing_key_alert.h"

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
        m_alert.show(
            {QStringLiteral("'Space' is a commonly used typing key"), QStringLiteral("Every time you type it."),
             QStringLiteral("Choose another key"), QStringLiteral("Use anyway"), QStringLiteral("Cancel")},
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
    EXPECT_EQ(m_alert.box()->text(), QStringLiteral("'Space' is a commonly used typing key"));
    EXPECT_EQ(m_alert.box()->informativeText(), QStringLiteral("Every time you type it."));
    EXPECT_EQ(m_alert.box()->buttons().size(), 3);
    EXPECT_EQ(m_alert.box()->defaultButton(), button(QStringLiteral("Choose another key")));
}

TEST_F(TypingKeyAlertTest, TheButtonsStandInTheirOrderFromLeftToRight)
{
    show();
    EXPECT_LT(button(QStringLiteral("Choose another key"))->x(), button(QStringLiteral("Use anyway"))->x());
    EXPECT_LT(button(QStringLiteral("Use anyway"))->x(), button(QStringLiteral("Cancel"))->x());
}

TEST_F(TypingKeyAlertTest, TheWarningSignHasANameForAScreenReader)
{
    const LanguageScope english(QStringLiteral("en"));
    show();
    const auto* const sign = m_alert.box()->findChild<QLabel*>(QStringLiteral("qt_msgboxex_icon_label"));
    ASSERT_NE(sign, nullptr);
    EXPECT_EQ(sign->accessibleName(), QStringLiteral("Warning"));
}

TEST_F(TypingKeyAlertTest, EachButtonGivesItsAnswerOnce)
{
    show();
    button(QStringLiteral("Choose another key"))->click();
    show();
    button(QStringLiteral("Use anyway"))->click();
    show();
    button(QStringLiteral("Cancel"))->click();
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
    button(QStringLiteral("Use anyway"))->click();
    EXPECT_EQ(m_answers, (Answers{TypingKeyAnswer::Cancel, TypingKeyAnswer::UseAnyway}));
}

TEST_F(TypingKeyAlertTest, AnAnswerMayShowTheNextAlert)
{
    m_alert.show(
        {QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"), QStringLiteral("d"), QStringLiteral("e")},
        [this](TypingKeyAnswer) { show(); });
    button(QStringLiteral("c"))->click();
    ASSERT_NE(m_alert.box(), nullptr);
    button(QStringLiteral("Cancel"))->click();
    EXPECT_EQ(m_answers, Answers{TypingKeyAnswer::Cancel});
}

TEST_F(TypingKeyAlertTest, AnAlertWhoseOwnerGoesIsNotAnswered)
{
    {
        TypingKeyAlertBox alert;
        alert.show({}, [](TypingKeyAnswer) { FAIL() << "Nobody is there to hear it."; });
    }
}
