#pragma once

#include "platform/queues.h"
#include "platform/remote_control.h"

#include <utility>
#include <vector>

namespace tavlo {

class FakeRemoteControl;

// A user's session: whether it has a bus, and the instance that has the program's name there.
struct FakeSession {
    // What another program does: false when nobody answers; else the command runs from the main queue.
    bool call(RemoteCommand command) const;

    bool hasBus = true;
    FakeRemoteControl* instance = nullptr;
};

// The control of one instance. Instances that share a session know of each other.
class FakeRemoteControl : public RemoteControl {
public:
    struct Published {
        Activity activity = Activity::Ready;
        QString statusLine;

        bool operator==(const Published&) const = default;
    };

    // Both outlive it.
    FakeRemoteControl(MainQueue& queue, FakeSession& session) : m_queue(queue), m_session(session) {}
    FakeRemoteControl(const FakeRemoteControl&) = delete;
    FakeRemoteControl& operator=(const FakeRemoteControl&) = delete;
    ~FakeRemoteControl() override
    {
        if (m_session.instance == this) {
            m_session.instance = nullptr;
        }
    }

    ClaimResult claim() override
    {
        if (!m_session.hasBus) {
            return ClaimResult::NoBus;
        }
        if (m_session.instance != nullptr && m_session.instance != this) {
            m_session.call(RemoteCommand::OpenSettings);
            return ClaimResult::AlreadyRunning;
        }
        m_session.instance = this;
        return ClaimResult::Claimed;
    }

    [[nodiscard]] Registration onCommand(std::function<void(RemoteCommand)> handler) override
    {
        return m_handlers.add(std::move(handler));
    }

    void publish(Activity activity, const QString& statusLine) override
    {
        if (published.empty() || published.back() != Published{activity, statusLine}) {
            published.push_back({activity, statusLine});
        }
    }

    // Runs the command from the main queue.
    void post(RemoteCommand command)
    {
        m_queue.post(m_lifetime.reference(), [this, command] { m_handlers.call(command); });
    }

    std::vector<Published> published;  // the changes, oldest first

private:
    MainQueue& m_queue;
    FakeSession& m_session;
    HandlerList<RemoteCommand> m_handlers;
    Lifetime m_lifetime;
};

inline bool FakeSession::call(RemoteCommand command) const
{
    if (instance == nullptr || !hasBus) {
        return false;
    }
    instance->post(command);
    return true;
}

}  // namespace tavlo
