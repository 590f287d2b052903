#pragma once

#include "platform/panel.h"

#include <utility>

namespace tavlo {

// A desktop's trays as the test wants them.
class FakeTrayHost : public TrayHost {
public:
    TrayKind kind() const override { return m_kind; }
    // An embedding tray stays when the bus offers one as well.
    bool offers(TrayKind kind) const override
    {
        return kind != TrayKind::None && (kind == m_kind || (kind == TrayKind::Embedding && m_embeds));
    }
    int busNumber() const override { return 1; }
    Registration onChange(std::function<void()> changed) override { return m_changes.add(std::move(changed)); }

    // The best kind that there is from now on.
    void set(TrayKind kind)
    {
        m_embeds = kind == TrayKind::Embedding || (kind == TrayKind::Bus && m_embeds);
        m_kind = kind;
        m_changes.call();
    }

private:
    TrayKind m_kind = TrayKind::None;
    bool m_embeds = false;
    HandlerList<> m_changes;
};

// What the desktop says about its look, as the test wants it.
class FakePanelAppearance : public PanelAppearance {
public:
    PanelSurroundings surroundings() const override { return m_surroundings; }
    Registration onChange(std::function<void()> changed) override { return m_changes.add(std::move(changed)); }

    void set(PanelSurroundings surroundings)
    {
        if (m_surroundings != surroundings) {
            m_surroundings = std::move(surroundings);
            m_changes.call();
        }
    }

private:
    PanelSurroundings m_surroundings;
    HandlerList<> m_changes;
};

}  // namespace tavlo
