#include "linux/secretservice/secret_service_store.h"

#include "linux/secretservice/secret_service_thread.h"

#include <utility>

namespace tavlo {

namespace {

constexpr std::chrono::milliseconds kCallTime{1000};
// A result older than this is not used: the item may have changed.
constexpr std::chrono::seconds kSearchAge{1};

}  // namespace

SecretServiceStore::SecretServiceStore(MainQueue& queue, QString service)
    : m_queue(queue), m_service(std::move(service))
{
}

SecretServiceStore::~SecretServiceStore() = default;

SecretServiceThread& SecretServiceStore::thread()
{
    if (!m_thread) {
        m_thread = std::make_unique<SecretServiceThread>([this, alive = m_lifetime.reference()] {
            // On the other thread, and never after this object's own thread object is gone.
            m_queue.post(alive, [this] { tell(); });
        });
    }
    return *m_thread;
}

void SecretServiceStore::tell()
{
    m_search.reset();
    m_isTelling = true;
    m_changed.call();
    m_isTelling = false;
    m_late.reset();
}

void SecretServiceStore::connect()
{
    thread().post([](SecretServiceClient& client) { client.connect(); });
}

void SecretServiceStore::deleteItems(const QString& service, const QString& account)
{
    m_search.reset();
    m_late.reset();
    thread().runWithin(kCallTime,
                       [service, account](SecretServiceClient& client) { client.deleteItems(service, account); });
}

bool SecretServiceStore::add(const QString& service, const QString& account, const QByteArray& data)
{
    m_search.reset();
    m_late.reset();
    // Shared, since the call may outlast this function.
    const auto added = std::make_shared<bool>(false);
    const bool done = thread().runWithin(kCallTime, [service, account, data, added](SecretServiceClient& client) {
        *added = client.add(service, account, data);
    });
    return done && *added;
}

void SecretServiceStore::beginFind(const QString& service, const QString& account)
{
    m_search.reset();
    if (thread().isOccupied()) {
        return;
    }
    m_search = {service, account, std::chrono::steady_clock::now(), std::make_shared<std::optional<QByteArray>>()};
    thread().post([service, account, found = m_search->found](SecretServiceClient& client) {
        *found = client.find(service, account);
    });
}

std::optional<QByteArray> SecretServiceStore::find(const QString& service, const QString& account)
{
    m_answeredLastFind = false;
    if (thread().isOccupied()) {
        return std::nullopt;  // A late answer would be of no use to anybody.
    }
    if (m_isTelling && m_late && m_late->service == service && m_late->account == account) {
        m_answeredLastFind = true;
        return *m_late->found;
    }
    auto found = std::make_shared<std::optional<QByteArray>>();
    SecretServiceThread::Task task = [service, account, found](SecretServiceClient& client) {
        *found = client.find(service, account);
    };
    if (m_search && m_search->service == service && m_search->account == account) {
        if (std::chrono::steady_clock::now() - m_search->begun < kSearchAge) {
            found = m_search->found;
            task = [](SecretServiceClient&) {};  // The search is done when what comes after it is.
        }
        m_search.reset();
    }
    // Otherwise a service that needs longer for every search would be asked by the handlers for ever.
    const auto whenLate = m_isTelling ? SecretServiceThread::WhenLate::KeepQuiet : SecretServiceThread::WhenLate::Tell;
    m_answeredLastFind = thread().runWithin(kCallTime, std::move(task), whenLate);
    if (!m_answeredLastFind) {
        m_late = {service, account, std::chrono::steady_clock::now(), found};
        return std::nullopt;
    }
    return *found;
}

void SecretServiceStore::requestUnlock()
{
    thread().post([service = m_service](SecretServiceClient& client) { client.unlock(service); });
}

}  // namespace tavlo
