#include "linux/wayland/focused_application.h"

#include <algorithm>
#include <span>

#include <wlr-foreign-toplevel-management-unstable-v1-client-protocol.h>

namespace tavlo {

namespace {

constexpr std::chrono::milliseconds kAnswerTime{100};

struct Toplevel {
    WaylandPointer<zwlr_foreign_toplevel_handle_v1> handle;
    QByteArray application = {};
    bool isActivated = false;
};

void readState(void* toplevel, zwlr_foreign_toplevel_handle_v1*, wl_array* states)
{
    const std::span values(static_cast<const std::uint32_t*>(states->data), states->size / sizeof(std::uint32_t));
    static_cast<Toplevel*>(toplevel)->isActivated =
        std::find(values.begin(), values.end(), ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_ACTIVATED) != values.end();
}

constexpr zwlr_foreign_toplevel_handle_v1_listener kToplevelListener{
    .title = [](void*, zwlr_foreign_toplevel_handle_v1*, const char*) {},
    .app_id = [](void* toplevel, zwlr_foreign_toplevel_handle_v1*,
                 const char* application) { static_cast<Toplevel*>(toplevel)->application = application; },
    .output_enter = [](void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {},
    .output_leave = [](void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {},
    .state = readState,
    .done = [](void*, zwlr_foreign_toplevel_handle_v1*) {},
    .closed = [](void*, zwlr_foreign_toplevel_handle_v1*) {}};

}  // namespace

// The windows as the compositor lists them. It goes on to announce new ones until it has read the request to stop, and
// each announcement makes an object; so a query must live until the compositor says that this was the last.
class FocusedApplication::Query {
public:
    explicit Query(zwlr_foreign_toplevel_manager_v1* manager)
        : m_manager(manager, zwlr_foreign_toplevel_manager_v1_destroy)
    {
        static constexpr zwlr_foreign_toplevel_manager_v1_listener kListener{
            .toplevel =
                [](void* query, zwlr_foreign_toplevel_manager_v1*, zwlr_foreign_toplevel_handle_v1* handle) {
                    auto& added = static_cast<Query*>(query)->m_toplevels.emplace_back(
                        std::make_unique<Toplevel>(Toplevel{{handle, zwlr_foreign_toplevel_handle_v1_destroy}}));
                    zwlr_foreign_toplevel_handle_v1_add_listener(handle, &kToplevelListener, added.get());
                },
            .finished = [](void* query,
                           zwlr_foreign_toplevel_manager_v1*) { static_cast<Query*>(query)->m_isFinished = true; }};
        zwlr_foreign_toplevel_manager_v1_add_listener(manager, &kListener, this);
        // The list comes first all the same, in answer to the binding.
        zwlr_foreign_toplevel_manager_v1_stop(manager);
    }

    bool isFinished() const { return m_isFinished; }
    QByteArray activeApplication() const
    {
        const auto active = std::find_if(m_toplevels.begin(), m_toplevels.end(),
                                         [](const auto& toplevel) { return toplevel->isActivated; });
        return active == m_toplevels.end() ? QByteArray() : (*active)->application;
    }

private:
    WaylandPointer<zwlr_foreign_toplevel_manager_v1> m_manager;
    std::vector<std::unique_ptr<Toplevel>> m_toplevels;
    bool m_isFinished = false;
};

FocusedApplication::FocusedApplication(WaylandConnection& connection) : m_connection(connection) {}

FocusedApplication::~FocusedApplication() = default;

std::optional<QByteArray> FocusedApplication::name()
{
    std::erase_if(m_queries, [](const auto& query) { return query->isFinished(); });
    auto* const manager =
        m_connection.bind<zwlr_foreign_toplevel_manager_v1>(zwlr_foreign_toplevel_manager_v1_interface, 1);
    if (manager == nullptr) {
        return std::nullopt;
    }
    const Query& query = *m_queries.emplace_back(std::make_unique<Query>(manager));
    m_connection.roundTrip(kAnswerTime);
    if (!query.isFinished()) {
        return std::nullopt;
    }
    const QByteArray active = query.activeApplication();
    m_queries.pop_back();
    return active;
}

}  // namespace tavlo
