#include "ui/about_window.h"

#include "platform/screens.h"
#include "ui/about_window_layout.h"

#include <QPushButton>

namespace tavlo {

AboutWindow::AboutWindow(QString version, Screens& screens, AboutWindowActions actions)
    : m_version(std::move(version)), m_screens(screens), m_actions(std::move(actions))
{
}

void AboutWindow::openAbout()
{
    if (m_aboutWindow) {
        m_aboutWindow->hide();
    }
    m_aboutWindow = std::make_unique<WindowFrame>(aboutWindowLayout(m_version));
    auto& website = m_aboutWindow->control<QPushButton>(QStringLiteral("websiteButton"));
    QObject::connect(&website, &QPushButton::clicked, &website, [this] { m_actions.openWebsite(); });
    auto& feedback = m_aboutWindow->control<QPushButton>(QStringLiteral("feedbackButton"));
    QObject::connect(&feedback, &QPushButton::clicked, &feedback, [this] { m_actions.openFeedback(); });
    m_aboutWindow->bringToFront(m_screens.mainVisibleFrame());
}

}  // namespace tavlo
