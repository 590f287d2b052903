#include "platform/linux/pulse/close_stream.h"

namespace tavlo {

namespace {

void detachCallbacks(pa_stream* stream)
{
    pa_stream_set_state_callback(stream, nullptr, nullptr);
    pa_stream_set_read_callback(stream, nullptr, nullptr);
    pa_stream_set_moved_callback(stream, nullptr, nullptr);
}

void closeWhenMade(pa_stream* stream, void*)
{
    const pa_stream_state_t state = pa_stream_get_state(stream);
    if (state == PA_STREAM_READY) {
        pa_stream_disconnect(stream);
    }
    if (state == PA_STREAM_READY || state == PA_STREAM_FAILED || state == PA_STREAM_TERMINATED) {
        detachCallbacks(stream);
        pa_stream_unref(stream);
    }
}

}  // namespace

void closeStream(pa_stream* stream)
{
    detachCallbacks(stream);
    if (pa_stream_get_state(stream) == PA_STREAM_CREATING) {
        pa_stream_set_state_callback(stream, &closeWhenMade, nullptr);
        return;
    }
    pa_stream_disconnect(stream);
    pa_stream_unref(stream);
}

}  // namespace tavlo
