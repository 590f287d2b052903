#pragma once

#include "engines/cloud/cloud_client.h"

#include <list>
#include <memory>

namespace tavlo {

// The requests that run. Made anywhere, then used on the HTTP thread only.
class CloudSession {
public:
    CloudSession(TransferLimits limits, QByteArray authorities);
    ~CloudSession();

    // Loads what the first request needs.
    void prepare();
    void send(const QByteArray& wav, const Config& config, std::function<void(TranscriptionResult)> completion);
    // Cancels every request, whose completions are called within this call.
    void close();

private:
    struct Upload;

    void finish(Upload& upload, const Result<int>& status);

    const TransferLimits m_limits;
    const QByteArray m_authorities;
    std::list<Upload*> m_uploads;  // each deletes itself after its end
};

}  // namespace tavlo
