#include "ui/recording_hud.h"

#include "settings/language.h"
#include "ui/floating_panel.h"

namespace tavlo {

namespace {

constexpr QSize kSize{190, 38};
constexpr int kAboveBottom = 56;

}  // namespace

RecordingHUD::RecordingHUD(Screens& screens)
    : m_screens(screens), m_ownLevelView(std::make_unique<LevelView>()), m_levelView(m_ownLevelView.get())
{
    m_levelView->resize(kSize);
}

RecordingHUD::~RecordingHUD() = default;

void RecordingHUD::show()
{
    if (!m_panel) {
        m_panel = std::make_unique<FloatingPanel>(PanelLevel::Status, kSize.height() / 2.0, m_ownLevelView.release());
        m_panel->setObjectName(QStringLiteral("RecordingHUD"));
        m_panel->setWindowTitle(QStringLiteral("Tavlo"));
    }
    m_levelView->setAccessibleName(t(QStringLiteral("Opname"), QStringLiteral("Recording")));
    m_levelView->setLook(m_panel->adaptTo(m_screens.compositing()));
    m_levelView->reset();
    if (const auto frame = m_screens.mainVisibleFrame()) {
        m_panel->moveContent(placeAboveBottom(*frame, kSize, kAboveBottom));
    }
    m_panel->orderFront();
}

void RecordingHUD::hide()
{
    if (m_panel) {
        m_panel->orderOut();
    }
}

void RecordingHUD::push(float level)
{
    m_levelView->push(level);
}

}  // namespace tavlo
