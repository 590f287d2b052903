#pragma once

#include "platform/registration.h"

#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace tavlo {

// The callbacks of those who want to know about a change. A registration may outlive this list. Main thread.
class Observers {
public:
    Registration add(std::function<void()> observer)
    {
        const int id = m_nextId++;
        m_entries->emplace(id, std::move(observer));
        return Registration([entries = std::weak_ptr(m_entries), id] {
            if (const auto list = entries.lock()) {
                list->erase(id);
            }
        });
    }

    // An observer may unregister itself or others while it is called.
    void notify() const
    {
        std::vector<int> ids;
        for (const auto& entry : *m_entries) {
            ids.push_back(entry.first);
        }
        for (const int id : ids) {
            if (const auto found = m_entries->find(id); found != m_entries->end()) {
                const auto observer = found->second;
                observer();
            }
        }
    }

private:
    std::shared_ptr<std::map<int, std::function<void()>>> m_entries =
        std::make_shared<std::map<int, std::function<void()>>>();
    int m_nextId = 0;
};

}  // namespace tavlo
