#include "linux/secretservice/secret_service_thread.h"

#include <pthread.h>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace tavlo {

namespace {

constexpr std::chrono::seconds kEndTime{1};

}  // namespace

struct SecretServiceThread::Core {
    explicit Core(std::function<void()> changedHandler) : changed(std::move(changedHandler)) {}

    void run();
    void dispatchRest() const;
    void tell();

    GLibPointer<GMainContext> context{g_main_context_new()};
    GLibPointer<GMainLoop> loop{g_main_loop_new(context.get(), FALSE)};
    GLibPointer<GCancellable> cancellable{g_cancellable_new()};
    SecretServiceClient* client = nullptr;  // On the thread only.

    std::mutex mutex;
    std::condition_variable condition;
    std::function<void()> changed;
    int outstanding = 0;  // Tasks that somebody waits for, or has waited for in vain.
    bool running = false;
};

void SecretServiceThread::Core::run()
{
    pthread_setname_np(pthread_self(), "tavlo.secrets");
    g_main_context_push_thread_default(context.get());
    {
        SecretServiceClient own(cancellable.get(), [this] { tell(); });
        client = &own;
        g_main_loop_run(loop.get());
        dispatchRest();
        client = nullptr;
    }
    dispatchRest();
    g_main_context_pop_thread_default(context.get());
    // Whoever posts the last task may still hold the context: it is given up under the lock that guards its use.
    const std::lock_guard guard(mutex);
    loop.reset();
    context.reset();
    running = false;
    condition.notify_all();
}

void SecretServiceThread::Core::dispatchRest() const
{
    // Cancelled calls and queued notices arrive here; each keeps the connection alive until then.
    while (g_main_context_iteration(context.get(), FALSE) != FALSE) {
    }
}

void SecretServiceThread::Core::tell()
{
    const std::lock_guard guard(mutex);
    if (changed) {
        changed();
    }
}

SecretServiceThread::SecretServiceThread(std::function<void()> changed)
    : m_core(std::make_shared<Core>(std::move(changed)))
{
    try {
        {
            const std::lock_guard guard(m_core->mutex);
            m_core->running = true;
        }
        std::thread([core = m_core] { core->run(); }).detach();
    } catch (const std::system_error&) {
        const std::lock_guard guard(m_core->mutex);
        m_core->running = false;  // Without a thread every call behaves as with an empty store.
    }
}

SecretServiceThread::~SecretServiceThread()
{
    g_cancellable_cancel(m_core->cancellable.get());
    post([core = m_core.get()](SecretServiceClient&) { g_main_loop_quit(core->loop.get()); });
    std::unique_lock guard(m_core->mutex);
    m_core->changed = nullptr;
    m_core->condition.wait_for(guard, kEndTime, [this] { return !m_core->running; });
}

void SecretServiceThread::post(Task task)
{
    struct Job {
        std::shared_ptr<Core> core;
        Task task;
    };
    GSource* source = g_idle_source_new();
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    g_source_set_callback(
        source,
        [](gpointer data) -> gboolean {
            const auto* job = static_cast<Job*>(data);
            job->task(*job->core->client);
            return G_SOURCE_REMOVE;
        },
        new Job{m_core, std::move(task)}, [](gpointer data) { delete static_cast<Job*>(data); });
    {
        const std::lock_guard guard(m_core->mutex);
        if (m_core->context) {
            g_source_attach(source, m_core->context.get());
        }
    }
    g_source_unref(source);
}

bool SecretServiceThread::runWithin(std::chrono::milliseconds limit, Task task, WhenLate whenLate)
{
    struct Call {
        bool done = false;
        bool givenUp = false;
    };
    const auto deadline = std::chrono::steady_clock::now() + limit;
    const auto call = std::make_shared<Call>();
    bool occupied = false;
    {
        const std::lock_guard guard(m_core->mutex);
        if (!m_core->running) {
            return false;
        }
        occupied = m_core->outstanding > 0;
        call->givenUp = occupied;
        ++m_core->outstanding;
    }
    post([core = m_core.get(), call, whenLate, task = std::move(task)](SecretServiceClient& client) {
        task(client);
        bool late = false;
        {
            const std::lock_guard guard(core->mutex);
            call->done = true;
            --core->outstanding;
            late = call->givenUp && whenLate == WhenLate::Tell;
            core->condition.notify_all();
        }
        if (late) {
            // Whoever took the store for empty can ask again.
            core->tell();
        }
    });
    if (occupied) {
        return false;
    }
    std::unique_lock guard(m_core->mutex);
    m_core->condition.wait_until(guard, deadline, [&] { return call->done; });
    call->givenUp = !call->done;
    return call->done;
}

bool SecretServiceThread::isOccupied() const
{
    const std::lock_guard guard(m_core->mutex);
    return m_core->outstanding > 0;
}

}  // namespace tavlo
