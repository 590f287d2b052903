#include "linux/freedesktop/process_end.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace tavlo {

namespace {

struct LastCall {
    std::function<void()> leaving;
    std::thread::id thread;
};

// Never destroyed: exit() destroys what is static in an order of its own.
LastCall& lastCall()
{
    static auto* const instance = new LastCall;
    return *instance;
}

void runLastCall()
{
    // On another thread, the main thread may be using the same objects at this moment.
    if (lastCall().thread == std::this_thread::get_id()) {
        if (const auto leaving = std::exchange(lastCall().leaving, nullptr)) {
            leaving();
        }
    }
}

}  // namespace

ProcessExit::ProcessExit(std::function<void()> leaving)
{
    lastCall() = {std::move(leaving), std::this_thread::get_id()};
    static const int registered = std::atexit(&runLastCall);
    static_cast<void>(registered);
}

ProcessExit::~ProcessExit()
{
    lastCall().leaving = nullptr;
}

namespace {

constexpr std::array<int, 3> kSignals = {SIGTERM, SIGINT, SIGHUP};

// Where the handler writes. A pipe rather than a signal descriptor, for which the signals would have to be blocked:
// child processes inherit that, and could not be ended.
std::atomic<int> writeEnd{-1};

void handle(int)
{
    const int before = errno;
    const char byte = 1;
    // When the pipe is full, a signal is waiting already.
    const ssize_t written = ::write(writeEnd.load(), &byte, 1);
    static_cast<void>(written);
    errno = before;
}

}  // namespace

TerminationSignals::TerminationSignals(std::function<void()> terminate)
{
    std::array<int, 2> ends = {-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        return;  // Signals then end the process at once, as they do by default.
    }
    m_readEnd = ends[0];
    writeEnd = ends[1];
    m_notifier = std::make_unique<QSocketNotifier>(m_readEnd, QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                     [readEnd = m_readEnd, call = std::move(terminate)] {
                         std::array<char, 16> bytes = {};
                         while (::read(readEnd, bytes.data(), bytes.size()) > 0) {
                         }
                         call();
                     });
    for (const int number : kSignals) {
        struct sigaction action = {};
        ::sigaction(number, nullptr, &action);
        if (number == SIGHUP && action.sa_handler == SIG_IGN) {
            continue;
        }
        action = {};
        action.sa_handler = &handle;
        action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
        sigemptyset(&action.sa_mask);
        ::sigaction(number, &action, nullptr);
    }
}

TerminationSignals::~TerminationSignals()
{
    if (m_readEnd < 0) {
        return;
    }
    for (const int number : kSignals) {
        struct sigaction action = {};
        ::sigaction(number, nullptr, &action);
        if (action.sa_handler == &handle) {
            std::signal(number, SIG_DFL);
        }
    }
    m_notifier.reset();
    ::close(writeEnd.exchange(-1));
    ::close(m_readEnd);
}

void endProcess(int status)
{
#ifdef __SANITIZE_ADDRESS__
    __lsan_do_leak_check();  // exit() would have done it
#endif
    std::_Exit(status);
}

}  // namespace tavlo
