#include "support/graph_watch.h"

#include <pipewire/impl.h>
#include <pipewire/pipewire.h>

#include <pipewire/extensions/profiler.h>
#include <spa/param/profiler.h>
#include <spa/pod/iter.h>
#include <spa/pod/parser.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

// The macros of PipeWire's headers are GNU's statement expressions, which Clang's pedantic warnings name where they are
// used.
#pragma GCC diagnostic ignored "-Wpedantic"

namespace tavlo {

namespace {

using namespace std::chrono_literals;

// The state of a node's part in a cycle: nothing of it, begun, awake, finished.
constexpr int kFinished = 3;
constexpr auto kLongestReport = 10s;
constexpr auto kAskAgain = 20ms;

struct Cycle {
    int driver = 0;
    GraphWatch::Clock::time_point begin;
    GraphWatch::Clock::duration duration{};
    bool isWhole = true;
};

// One cycle as the server describes it: what is asked of each part stands in spa/param/profiler.h.
Cycle read(const spa_pod_object* report)
{
    Cycle cycle;
    const spa_pod_prop* part = nullptr;
    SPA_POD_OBJECT_FOREACH(report, part)
    {
        std::int64_t ignored = 0;
        int number = 0;
        if (part->key == SPA_PROFILER_clock) {
            std::int64_t begin = 0;
            std::int64_t frames = 0;
            spa_fraction rate{1, 1};
            const char* name = nullptr;
            spa_pod_parse_struct(&part->value, SPA_POD_Int(&number), SPA_POD_Int(&number), SPA_POD_String(&name),
                                 SPA_POD_Long(&begin), SPA_POD_Fraction(&rate), SPA_POD_Long(&ignored),
                                 SPA_POD_Long(&frames));
            cycle.begin = GraphWatch::Clock::time_point(std::chrono::nanoseconds(begin));
            cycle.duration = std::chrono::nanoseconds(frames * 1'000'000'000 * rate.num / std::max(rate.denom, 1U));
        } else if (part->key == SPA_PROFILER_driverBlock || part->key == SPA_PROFILER_followerBlock) {
            const char* name = nullptr;
            int state = 0;
            spa_pod_parse_struct(&part->value, SPA_POD_Int(&number), SPA_POD_String(&name), SPA_POD_Long(&ignored),
                                 SPA_POD_Long(&ignored), SPA_POD_Long(&ignored), SPA_POD_Long(&ignored),
                                 SPA_POD_Int(&state));
            cycle.isWhole = cycle.isWhole && state == kFinished;
            if (part->key == SPA_PROFILER_driverBlock) {
                cycle.driver = number;
            }
        }
    }
    return cycle;
}

}  // namespace

class GraphWatch::Implementation {
public:
    Implementation() : m_loop(pw_thread_loop_new("graph watch", nullptr))
    {
        m_context = pw_context_new(pw_thread_loop_get_loop(m_loop), nullptr, 0);
        pw_context_load_module(m_context, PW_EXTENSION_MODULE_PROFILER, nullptr, nullptr);
        m_core = pw_context_connect(m_context, nullptr, 0);
        if (m_core == nullptr) {
            tearDown();
            throw std::runtime_error("there is no PipeWire server to watch");
        }
        m_registry = pw_core_get_registry(m_core, PW_VERSION_REGISTRY, 0);
        static const pw_registry_events kEvents = {PW_VERSION_REGISTRY_EVENTS, &Implementation::added, nullptr};
        pw_registry_add_listener(m_registry, &m_registryListener, &kEvents, this);
        pw_thread_loop_start(m_loop);
    }

    ~Implementation() { tearDown(); }

    std::vector<Cycle> cycles() const
    {
        const std::lock_guard guard(m_mutex);
        return m_cycles;
    }

private:
    static void added(void* self, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t, const spa_dict*)
    {
        auto* const watch = static_cast<Implementation*>(self);
        if (watch->m_profiler == nullptr && std::strcmp(type, PW_TYPE_INTERFACE_Profiler) == 0) {
            watch->m_profiler =
                static_cast<pw_proxy*>(pw_registry_bind(watch->m_registry, id, type, PW_VERSION_PROFILER, 0));
            static const pw_profiler_events kEvents = {PW_VERSION_PROFILER_EVENTS, &Implementation::reported};
            pw_proxy_add_object_listener(watch->m_profiler, &watch->m_profilerListener, &kEvents, self);
        }
    }

    static void reported(void* self, const spa_pod* reports)
    {
        auto* const watch = static_cast<Implementation*>(self);
        const std::lock_guard guard(watch->m_mutex);
        const spa_pod* report = nullptr;
        const auto* const body = static_cast<const spa_pod*>(SPA_POD_BODY_CONST(reports));
        SPA_POD_FOREACH(body, SPA_POD_BODY_SIZE(reports), report)
        {
            if (spa_pod_is_object_type(report, SPA_TYPE_OBJECT_Profiler) != 0) {
                watch->m_cycles.push_back(read(reinterpret_cast<const spa_pod_object*>(report)));
            }
        }
    }

    void tearDown()
    {
        pw_thread_loop_stop(m_loop);
        if (m_profiler != nullptr) {
            pw_proxy_destroy(m_profiler);
        }
        if (m_registry != nullptr) {
            pw_proxy_destroy(reinterpret_cast<pw_proxy*>(m_registry));
        }
        if (m_core != nullptr) {
            pw_core_disconnect(m_core);
        }
        pw_context_destroy(m_context);
        pw_thread_loop_destroy(m_loop);
    }

    pw_thread_loop* m_loop;
    pw_context* m_context = nullptr;
    pw_core* m_core = nullptr;
    pw_registry* m_registry = nullptr;
    pw_proxy* m_profiler = nullptr;
    spa_hook m_registryListener{};
    spa_hook m_profilerListener{};
    mutable std::mutex m_mutex;
    std::vector<Cycle> m_cycles;
};

GraphWatch::GraphWatch()
{
    static std::once_flag isInitialised;
    std::call_once(isInitialised, [] { pw_init(nullptr, nullptr); });
    m_implementation = std::make_unique<Implementation>();
}

GraphWatch::~GraphWatch() = default;

bool GraphWatch::missedBetween(Clock::time_point from, Clock::time_point to) const
{
    const auto deadline = Clock::now() + kLongestReport;
    std::vector<Cycle> cycles = m_implementation->cycles();
    while (cycles.empty() || cycles.back().begin < to) {
        if (Clock::now() > deadline) {
            throw std::runtime_error("the PipeWire server reported no cycles of its graph");
        }
        std::this_thread::sleep_for(kAskAgain);
        cycles = m_implementation->cycles();
    }
    // Each driver has cycles of its own.
    std::map<int, Clock::time_point> due;
    return std::any_of(cycles.begin(), cycles.end(), [&](const Cycle& each) {
        const auto known = due.find(each.driver);
        const bool isLate = known != due.end() && each.begin - known->second > each.duration / 2;
        const Clock::time_point since = isLate ? known->second : each.begin;
        due[each.driver] = each.begin + each.duration;
        return (isLate || !each.isWhole) && each.begin + each.duration >= from && since <= to;
    });
}

}  // namespace tavlo
