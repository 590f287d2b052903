#pragma once

#include "platform/screens.h"
#include "ui/level_view.h"
#include "ui/overlays.h"

#include <memory>

namespace tavlo {

class FloatingPanel;

// The pill with the live level meter at the bottom of the main screen. Its panel is built at the first show and kept.
// Main thread.
class RecordingHUD : public RecordingOverlay {
public:
    explicit RecordingHUD(Screens& screens);
    ~RecordingHUD() override;

    void show() override;
    void hide() override;
    void push(float level) override;

    const LevelView& levelView() const { return *m_levelView; }

private:
    Screens& m_screens;
    std::unique_ptr<LevelView> m_ownLevelView;  // until the panel takes it over
    LevelView* m_levelView;
    std::unique_ptr<FloatingPanel> m_panel;
};

}  // namespace tavlo
