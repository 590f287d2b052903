#pragma once

#include "platform/screens.h"
#include "ui/overlays/floating_panel.h"
#include "ui/overlays/overlays.h"

#include <QWidget>

#include <array>
#include <cstddef>
#include <memory>
#include <span>

namespace tavlo {

inline constexpr std::size_t kLevelCount = 30;

// Draws the pill with the recording dot and one bar a level, oldest first, into `bounds`. Levels are 0...1; the
// function does not clamp, so a level above 1 gives a bar that is taller than the meter.
void drawLevels(QPainter& painter, const QRectF& bounds, std::span<const float> levels, PanelLook look);

// The live level meter of a recording. Main thread.
class LevelView : public QWidget {
public:
    explicit LevelView(QWidget* parent = nullptr);

    // Drops the oldest level, appends this one (0...1) and asks for a redraw of the meter.
    void push(float level);
    // Back to zeros.
    void reset();
    const std::array<float, kLevelCount>& levels() const { return m_levels; }

    void setLook(PanelLook look);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::array<float, kLevelCount> m_levels{};
    PanelLook m_look = PanelLook::Translucent;
};

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
