#include "linux/pulse/socket_watch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace tavlo {

namespace {

const char kSocketName[] = "native";
const char kFolderName[] = "pulse";

// The folders in which the client library looks for the socket, and the folder in which the server makes them.
std::vector<std::string> foldersToWatch()
{
    std::vector<std::string> folders;
    if (const char* const own = std::getenv("PULSE_RUNTIME_PATH")) {
        folders.emplace_back(own);
    }
    if (const char* const runtime = std::getenv("XDG_RUNTIME_DIR")) {
        folders.emplace_back(runtime);
        folders.push_back(std::string(runtime) + '/' + kFolderName);
    }
    return folders;
}

}  // namespace

SocketWatch::SocketWatch(pa_mainloop_api* loop, std::function<void()> appeared)
    : m_loop(loop), m_appeared(std::move(appeared)), m_folders(foldersToWatch())
{
}

SocketWatch::~SocketWatch()
{
    stop();
}

void SocketWatch::start()
{
    if (m_event != nullptr) {
        return;
    }
    m_fd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (m_fd < 0) {
        return;
    }
    watchFolders();
    m_event = m_loop->io_new(m_loop, m_fd, PA_IO_EVENT_INPUT, &SocketWatch::readable, this);
}

bool SocketWatch::wouldMakeServerFolder()
{
    const char* const runtime = std::getenv("XDG_RUNTIME_DIR");
    // With one of the others the library looks elsewhere.
    if (runtime == nullptr || std::getenv("PULSE_SERVER") != nullptr || std::getenv("PULSE_RUNTIME_PATH") != nullptr) {
        return false;
    }
    const std::string folder = std::string(runtime) + '/' + kFolderName;
    return access(folder.c_str(), F_OK) != 0;
}

void SocketWatch::stop()
{
    if (m_event != nullptr) {
        m_loop->io_free(std::exchange(m_event, nullptr));
    }
    if (m_fd >= 0) {
        close(std::exchange(m_fd, -1));
    }
}

// Watching a folder again that is watched already changes nothing; one that does not exist is tried again when its
// parent gets a new entry.
void SocketWatch::watchFolders() const
{
    for (const std::string& folder : m_folders) {
        inotify_add_watch(m_fd, folder.c_str(), IN_CREATE | IN_MOVED_TO | IN_ONLYDIR);
    }
}

void SocketWatch::readable(pa_mainloop_api*, pa_io_event*, int, pa_io_event_flags_t, void* self)
{
    static_cast<SocketWatch*>(self)->drain();
}

void SocketWatch::drain()
{
    bool isOurs = false;
    alignas(inotify_event) std::array<char, 4096> buffer;
    while (true) {
        const ssize_t length = read(m_fd, buffer.data(), buffer.size());
        if (length <= 0) {
            break;
        }
        for (ssize_t offset = 0; offset < length;) {
            const auto* const event = reinterpret_cast<const inotify_event*>(buffer.data() + offset);
            offset += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
            const bool isNamed = event->len > 0;
            isOurs =
                isOurs ||
                (isNamed && (std::strcmp(event->name, kSocketName) == 0 || std::strcmp(event->name, kFolderName) == 0));
        }
    }
    if (isOurs) {
        watchFolders();
        m_appeared();
    }
}

}  // namespace tavlo
