#include "ui/message_hud.h"

#include "ui/floating_panel.h"

#include <chrono>

namespace tavlo {

namespace {

constexpr QSize kSize{460, 64};
constexpr double kCornerRadius = 16;

}  // namespace

MessageHUD::MessageHUD(MainQueue& queue, Screens& screens)
    : m_queue(queue), m_screens(screens), m_ownView(std::make_unique<MessageView>()), m_view(m_ownView.get())
{
    m_view->resize(kSize);
}

MessageHUD::~MessageHUD() = default;

void MessageHUD::show(const QString& text, std::optional<double> autoHideSeconds)
{
    if (!m_panel) {
        m_panel = std::make_unique<FloatingPanel>(PanelLevel::ScreenSaver, kCornerRadius, m_ownView.release());
        m_panel->setObjectName(QStringLiteral("MessageHUD"));
        m_panel->setWindowTitle(QStringLiteral("Tavlo"));
    }
    m_view->setLook(m_panel->adaptTo(m_screens.compositing()));
    m_view->setText(text);
    if (const auto frame = m_screens.mainVisibleFrame()) {
        m_panel->moveContent(placeInMiddle(*frame, kSize));
    }
    m_panel->orderFront();

    m_hideTimer.renew();
    if (autoHideSeconds) {
        const auto delay =
            std::chrono::duration_cast<MainQueue::Duration>(std::chrono::duration<double>(*autoHideSeconds));
        m_queue.postAfter(delay, m_hideTimer.reference(), [this] { m_panel->orderOut(); });
    }
}

void MessageHUD::hide()
{
    m_hideTimer.renew();
    if (m_panel) {
        m_panel->orderOut();
    }
}

}  // namespace tavlo
