#pragma once

#include "engines/engines.h"
#include "http/http_exchange.h"

#include <QByteArray>
#include <QUrl>

#include <memory>

namespace tavlo {

// Where the provider of `config` takes recordings: its own address, or the user's server in its place. A server's
// address that cannot be used is a failure, so that no recording goes to a host the user did not name.
Result<QUrl> endpointURL(const Config& config);

// The value of the header "Authorization"; a key with control characters inside is a failure.
Result<QByteArray> authorizationValue(const Config& config);

// "Tavlo-" and a new UUID in capitals.
QByteArray makeBoundary();

// The form that is uploaded, as multipart/form-data: its fields, then the recording as the file "audio.wav".
QByteArray multipartBody(const QByteArray& wav, const Config& config, const QByteArray& boundary);

// What an answer means: the transcript for status 200, else a failure with the status as its code. Status 0 stands for
// an answer that is not HTTP. Where the body repeats the key, the failure does not.
TranscriptionResult transcriptionAnswer(int status, const QByteArray& body, const Config& config);

inline constexpr TransferLimits kCloudLimits{std::chrono::seconds(30), std::chrono::seconds(90)};

// The cloud engine over HTTP. A thread of its own does the network's work; it is made at the first `warmUp` or
// request and kept. Main thread, unless said otherwise.
class CloudClient : public CloudEngine {
public:
    // `authorities` are certificates in PEM form to trust in place of the system's, if any.
    explicit CloudClient(TransferLimits limits = kCloudLimits, QByteArray authorities = {});
    // Requests that run are cancelled: their completions are called with that failure before this returns, or, when
    // the system holds up the thread for two seconds, not at all.
    ~CloudClient() override;

    // Prepares the thread and its network session, so that the next request leaves at once. Called when a recording
    // starts; opens no connection. Returns at once.
    void warmUp() override;

    // A redirect is not followed: it is an answer like any other that is not status 200. `wav` is shared, not copied,
    // on this thread.
    void transcribeCloud(const QByteArray& wav, const Config& config,
                         std::function<void(TranscriptionResult)> completion) override;

private:
    class Session;
    Session& session();

    const TransferLimits m_limits;
    const QByteArray m_authorities;
    std::unique_ptr<Session> m_session;
};

}  // namespace tavlo
