#pragma once

#include "engines/engines.h"

#include <QByteArray>
#include <QUrl>

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

}  // namespace tavlo
