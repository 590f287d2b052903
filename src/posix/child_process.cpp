#include "posix/child_process.h"

#include "posix/file_access.h"
#include "posix/system_error.h"

#include <QFile>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <optional>
#include <utility>
#include <vector>

namespace tavlo {

namespace {

using Clock = std::chrono::steady_clock;

struct Pipe {
    Descriptor readingEnd;
    Descriptor writingEnd;
};

Result<Pipe> makePipe()
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        return systemFailure(errno);
    }
    return Pipe{Descriptor(ends[0]), Descriptor(ends[1])};
}

// How a child is started: its outputs are pipes, and it takes signals as a program started from a shell does.
class SpawnPlan {
public:
    SpawnPlan(const Pipe& output, const Pipe& errors)
    {
        posix_spawn_file_actions_init(&m_actions);
        posix_spawn_file_actions_adddup2(&m_actions, output.writingEnd.value(), STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&m_actions, errors.writingEnd.value(), STDERR_FILENO);
        sigset_t none;
        sigemptyset(&none);
        sigset_t brokenPipe;
        sigemptyset(&brokenPipe);
        sigaddset(&brokenPipe, SIGPIPE);
        posix_spawnattr_init(&m_attributes);
        posix_spawnattr_setsigmask(&m_attributes, &none);
        posix_spawnattr_setsigdefault(&m_attributes, &brokenPipe);
        posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;
    ~SpawnPlan()
    {
        posix_spawnattr_destroy(&m_attributes);
        posix_spawn_file_actions_destroy(&m_actions);
    }

    Result<pid_t> start(const QString& program, const QList<QByteArray>& arguments) const
    {
        const QByteArray path = QFile::encodeName(program);
        // The child gets copies; posix_spawn only asks for pointers to changeable text.
        std::vector<char*> pointers{const_cast<char*>(path.constData())};
        for (const QByteArray& argument : arguments) {
            pointers.push_back(const_cast<char*>(argument.constData()));
        }
        pointers.push_back(nullptr);
        pid_t process = 0;
        const int error =
            ::posix_spawn(&process, path.constData(), &m_actions, &m_attributes, pointers.data(), environ);
        if (error != 0) {
            return systemFailure(error);
        }
        return process;
    }

private:
    posix_spawn_file_actions_t m_actions{};
    posix_spawnattr_t m_attributes{};
};

// Reads what is there, into `kept` if given. False at the end.
bool readSome(const Descriptor& pipe, QByteArray* kept)
{
    std::array<char, 65536> buffer;
    const ssize_t count = ::read(pipe.value(), buffer.data(), buffer.size());
    if (count > 0 && kept) {
        kept->append(buffer.data(), count);
    }
    return count > 0 || (count < 0 && errno == EINTR);
}

int millisecondsUntil(Clock::time_point deadline)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(left.count(), 0, 1'000'000'000));
}

// Waits for the child's output to end and for the child itself, whichever comes last. `exit` is the child's process
// descriptor, which becomes readable at its end.
QByteArray readUntilEnd(Descriptor output, Descriptor errors, const Descriptor& exit, std::chrono::milliseconds limit,
                        const std::function<void()>& overdue)
{
    const Clock::time_point deadline = Clock::now() + limit;
    QByteArray kept;
    bool runs = true;
    bool asked = false;
    while (output.isOpen() || runs) {
        // Negative descriptors, those already closed, are passed over.
        std::array<pollfd, 3> watched{
            {{output.value(), POLLIN, 0}, {errors.value(), POLLIN, 0}, {runs ? exit.value() : -1, POLLIN, 0}}};
        const int ready = ::poll(watched.data(), watched.size(), runs && !asked ? millisecondsUntil(deadline) : -1);
        if (ready < 0) {
            continue;  // A signal came; with these arguments there is no other reason.
        }
        if (watched[0].revents != 0 && !readSome(output, &kept)) {
            output.close();
        }
        if (watched[1].revents != 0 && !readSome(errors, nullptr)) {
            errors.close();
        }
        runs = runs && watched[2].revents == 0;
        if (runs && !asked && Clock::now() >= deadline) {
            asked = true;
            overdue();
        }
    }
    return kept;
}

int reap(pid_t process)
{
    int status = 0;
    while (::waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace

void RunningChildren::terminate()
{
    const std::lock_guard guard(m_mutex);
    m_isEnding = true;
    for (const pid_t process : m_processes) {
        ::kill(process, SIGTERM);
    }
}

void RunningChildren::add(pid_t process)
{
    const std::lock_guard guard(m_mutex);
    m_processes.push_back(process);
    if (m_isEnding) {
        ::kill(process, SIGTERM);
    }
}

void RunningChildren::remove(pid_t process)
{
    const std::lock_guard guard(m_mutex);
    std::erase(m_processes, process);
}

Result<ChildResult> runChild(const QString& program, const QList<QByteArray>& arguments,
                             std::chrono::milliseconds limit, const std::function<void()>& beforeTermination,
                             RunningChildren& running)
{
    Result<Pipe> output = makePipe();
    Result<Pipe> errors = makePipe();
    if (!output || !errors) {
        return tl::unexpected<Error>(output ? errors.error() : output.error());
    }
    const Result<pid_t> process = SpawnPlan(*output, *errors).start(program, arguments);
    if (!process) {
        return tl::unexpected<Error>(process.error());
    }
    output->writingEnd.close();
    errors->writingEnd.close();

    const Descriptor exit(static_cast<int>(::syscall(SYS_pidfd_open, *process, 0)));
    if (!exit.isOpen()) {
        const Error error = systemError(errno);
        ::kill(*process, SIGTERM);
        reap(*process);
        return tl::unexpected<Error>(error);
    }
    running.add(*process);
    ChildResult result;
    result.output = readUntilEnd(std::move(output->readingEnd), std::move(errors->readingEnd), exit, limit, [&] {
        beforeTermination();
        ::kill(*process, SIGTERM);  // Not reaped yet: its number belongs to nobody else.
    });
    running.remove(*process);
    result.status = reap(*process);
    return result;
}

}  // namespace tavlo
