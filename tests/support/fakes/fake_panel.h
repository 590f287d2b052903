#pragma once

#include "platform/panel_appearance.h"
#include "platform/tray_host.h"

#include <memory>
#include <utility>

namespace tavlo {

// Calls its one observer back.
class FakeObservation {
public:
    Registration observe(std::function<void()> changed)
    {
        *m_changed = std::move(changed);
        return Registration([target = m_changed] { *target = nullptr; });
    }

    void notify() const
    {
        if (*m_changed) {
            (*m_changed)();
        }
    }

private:
    std::shared_ptr<std::function<void()>> m_changed = std::make_shared<std::function<void()>>();
};

class FakeTrayHost : public TrayHost {
public:
    TrayKind kind() const override { return m_kind; }
    bool offers(TrayKind kind) const override { return kind == m_kind; }
    int busNumber() const override { return 1; }
    Registration observe(std::function<void()> changed) override { return m_observation.observe(std::move(changed)); }

    void set(TrayKind kind)
    {
        m_kind = kind;
        m_observation.notify();
    }

private:
    TrayKind m_kind = TrayKind::None;
    FakeObservation m_observation;
};

class FakePanelAppearance : public PanelAppearance {
public:
    PanelSurroundings surroundings() const override { return m_surroundings; }
    Registration observe(std::function<void()> changed) override { return m_observation.observe(std::move(changed)); }

    void set(PanelSurroundings surroundings)
    {
        m_surroundings = std::move(surroundings);
        m_observation.notify();
    }

private:
    PanelSurroundings m_surroundings;
    FakeObservation m_observation;
};

}  // namespace tavlo
