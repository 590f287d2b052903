#pragma once

#include "platform/keyboard_monitor.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

namespace tavlo {

// A keyboard on which the test presses the keys.
class FakeKeyboardMonitor : public KeyboardMonitor {
public:
    Registration monitor(Handler keyDown, Handler flagsChanged) override
    {
        const auto entry = std::make_shared<Handlers>(std::move(keyDown), std::move(flagsChanged));
        m_entries->push_back(entry);
        return Registration([entries = std::weak_ptr(m_entries), entry] {
            if (const auto list = entries.lock()) {
                list->erase(std::find(list->begin(), list->end(), entry));
            }
        });
    }

    QString unavailableReason() const override { return reason; }

    void catchUp() override { ++catchUpCount; }

    void sendKeyDown(const KeyEvent& event)
    {
        const auto entries = *m_entries;
        for (const auto& entry : entries) {
            entry->first(event);
        }
    }

    void sendFlagsChanged(const KeyEvent& event)
    {
        const auto entries = *m_entries;
        for (const auto& entry : entries) {
            entry->second(event);
        }
    }

    std::size_t monitorCount() const { return m_entries->size(); }

    QString reason;  // why keys cannot be seen; empty: they can
    int catchUpCount = 0;

private:
    using Handlers = std::pair<Handler, Handler>;

    std::shared_ptr<std::vector<std::shared_ptr<Handlers>>> m_entries =
        std::make_shared<std::vector<std::shared_ptr<Handlers>>>();
};

}  // namespace tavlo
