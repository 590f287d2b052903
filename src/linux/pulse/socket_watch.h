#pragma once

#include <pulse/mainloop-api.h>

#include <functional>
#include <string>
#include <vector>

namespace tavlo {

// Reports when a local sound server's socket appears, so that an absent server need not be polled for. Used on the main
// loop's thread, or under its lock.
class SocketWatch {
public:
    SocketWatch(pa_mainloop_api* loop, std::function<void()> appeared);
    ~SocketWatch();
    SocketWatch(const SocketWatch&) = delete;
    SocketWatch& operator=(const SocketWatch&) = delete;

    // Watches until `stop`. Without inotify it never reports anything; the caller retries at times anyway.
    void start();
    void stop();

    // Whether the client library, asked to connect, would make the folder in which the user's own server puts its
    // socket. A server that is just starting may look for the folder before that and fail to make it afterwards.
    static bool wouldMakeServerFolder();

private:
    static void readable(pa_mainloop_api* loop, pa_io_event* event, int fd, pa_io_event_flags_t flags, void* self);
    void watchFolders() const;
    void drain();

    pa_mainloop_api* m_loop;
    std::function<void()> m_appeared;
    std::vector<std::string> m_folders;
    int m_fd = -1;
    pa_io_event* m_event = nullptr;
};

}  // namespace tavlo
