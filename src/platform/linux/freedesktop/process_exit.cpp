#include "platform/linux/freedesktop/process_exit.h"

#include <cstdlib>
#include <thread>
#include <utility>

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
    // On another thread the objects that it uses may be at work at this moment.
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

}  // namespace tavlo
