#pragma once

#include "platform/main_queue.h"
#include "platform/screens.h"
#include "ui/message_view.h"
#include "ui/overlays.h"

#include <memory>

namespace tavlo {

class FloatingPanel;

// The box with one message in the middle of the main screen. Its panel is built at the first show and kept. Main
// thread.
class MessageHUD : public MessageOverlay {
public:
    MessageHUD(MainQueue& queue, Screens& screens);
    ~MessageHUD() override;

    void show(const QString& text, std::optional<double> autoHideSeconds) override;
    void hide() override;

    const MessageView& view() const { return *m_view; }

private:
    MainQueue& m_queue;
    Screens& m_screens;
    std::unique_ptr<MessageView> m_ownView;  // until the panel takes it over
    MessageView* m_view;
    std::unique_ptr<FloatingPanel> m_panel;
    Lifetime m_hideTimer;
};

}  // namespace tavlo
