#include "engines/cloud/cloud_client.h"

#include "engines/cloud/cloud_session.h"
#include "http/network_thread.h"
#include "platform/text_literals.h"

#include <utility>

namespace tavlo {

class CloudClient::Session {
public:
    Session(TransferLimits limits, const QByteArray& authorities)
        : m_requests(std::make_shared<CloudSession>(limits, authorities)), m_thread(u"tavlo-http"_s)
    {
    }

    ~Session()
    {
        post([](CloudSession& requests) { requests.close(); });
    }

    void post(std::function<void(CloudSession&)> task)
    {
        m_thread.post([requests = m_requests, task = std::move(task)] { task(*requests); });
    }

    // Calls `completion`, on the thread, as long as whoever waits for it can be there.
    std::function<void(TranscriptionResult)> guarded(std::function<void(TranscriptionResult)> completion) const
    {
        return [thread = m_thread.link(), completion = std::move(completion)](const TranscriptionResult& result) {
            thread->callOut([&] { completion(result); });
        };
    }

private:
    std::shared_ptr<CloudSession> m_requests;  // shared with the tasks, in case the thread outlives this object
    NetworkThread m_thread;
};

CloudClient::CloudClient(TransferLimits limits, QByteArray authorities)
    : m_limits(limits), m_authorities(std::move(authorities))
{
}

CloudClient::~CloudClient() = default;

CloudClient::Session& CloudClient::session()
{
    if (!m_session) {
        m_session = std::make_unique<Session>(m_limits, m_authorities);
    }
    return *m_session;
}

void CloudClient::warmUp()
{
    session().post([](CloudSession& requests) { requests.prepare(); });
}

void CloudClient::transcribeCloud(const QByteArray& wav, const Config& config,
                                  std::function<void(TranscriptionResult)> completion)
{
    session().post([wav, config, completion = session().guarded(std::move(completion))](CloudSession& requests) {
        requests.send(wav, config, completion);
    });
}

}  // namespace tavlo
