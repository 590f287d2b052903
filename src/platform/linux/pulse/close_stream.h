#pragma once

#include <pulse/stream.h>

namespace tavlo {

// Takes the callbacks off the stream, closes it and gives up the reference. A stream that the server has not made yet
// cannot be closed, and would stay open once it is made: that one is closed then. Under the connection's lock.
void closeStream(pa_stream* stream);

}  // namespace tavlo
