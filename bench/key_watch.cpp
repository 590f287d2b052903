// Prints each key event of the display, as it arrives: "<nanoseconds of CLOCK_MONOTONIC> down|up <X key code>".
// The first line is "ready".

#include <xcb/xcb.h>
#include <xcb/xinput.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

struct Free {
    void operator()(void* data) const { std::free(data); }
};

void fail(const char* message)
{
    std::fprintf(stderr, "key_watch: %s\n", message);
    std::exit(1);
}

std::int64_t now()
{
    // The C++ library's steady clock is CLOCK_MONOTONIC.
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

int main()
{
    xcb_connection_t* const connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection) != 0) {
        fail("no display");
    }
    const xcb_query_extension_reply_t* const extension = xcb_get_extension_data(connection, &xcb_input_id);
    if (extension == nullptr || extension->present == 0) {
        fail("the display has no XInput");
    }
    const std::unique_ptr<xcb_input_xi_query_version_reply_t, Free> version(
        xcb_input_xi_query_version_reply(connection, xcb_input_xi_query_version(connection, 2, 2), nullptr));
    const struct {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } wanted{{XCB_INPUT_DEVICE_ALL_MASTER, 1},
             XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE};
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const xcb_void_cookie_t cookie = xcb_input_xi_select_events_checked(connection, root, 1, &wanted.head);
    if (!version || std::unique_ptr<xcb_generic_error_t, Free>(xcb_request_check(connection, cookie))) {
        fail("the display gives no raw key events");
    }
    std::puts("ready");
    std::fflush(stdout);
    while (const std::unique_ptr<xcb_generic_event_t, Free> event{xcb_wait_for_event(connection)}) {
        const std::int64_t time = now();
        const auto* const generic = reinterpret_cast<const xcb_ge_generic_event_t*>(event.get());
        if ((event->response_type & 0x7f) != XCB_GE_GENERIC || generic->extension != extension->major_opcode) {
            continue;
        }
        const auto* const key = reinterpret_cast<const xcb_input_raw_key_press_event_t*>(event.get());
        std::printf("%lld %s %u\n", static_cast<long long>(time),
                    generic->event_type == XCB_INPUT_RAW_KEY_PRESS ? "down" : "up", key->detail);
        std::fflush(stdout);
    }
    return 0;
}
