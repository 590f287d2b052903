#include "support/x_server.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <vector>

namespace tavlo {

namespace {

// The line that the server writes once it listens: its display number.
QByteArray readNumber(int pipe)
{
    constexpr int kPatience = 20'000;
    QByteArray line;
    while (!line.endsWith('\n')) {
        pollfd wait{pipe, POLLIN, 0};
        char character = 0;
        if (::poll(&wait, 1, kPatience) != 1 || ::read(pipe, &character, 1) != 1) {
            return {};
        }
        line.append(character);
    }
    return line.trimmed();
}

}  // namespace

XServer::XServer(const QStringList& arguments)
{
    std::array<int, 2> pipe{};
    if (::pipe2(pipe.data(), O_CLOEXEC) != 0) {
        return;
    }
    std::vector<QByteArray> words{"Xvfb", "-displayfd", QByteArray::number(pipe[1]), "-noreset", "-nolisten", "tcp"};
    for (const QString& argument : arguments) {
        words.push_back(argument.toLocal8Bit());
    }
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (QByteArray& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    m_process = ::fork();
    if (m_process == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
        ::fcntl(pipe[1], F_SETFD, 0);
        const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
        ::dup2(nowhere, STDOUT_FILENO);
        ::dup2(nowhere, STDERR_FILENO);
        ::execvp(pointers[0], pointers.data());
        ::_exit(127);
    }
    ::close(pipe[1]);
    const QByteArray number = readNumber(pipe[0]);
    ::close(pipe[0]);
    if (!number.isEmpty()) {
        m_displayName = ':' + number;
    }
}

XServer::~XServer()
{
    if (m_process > 0) {
        ::kill(m_process, SIGTERM);
        ::waitpid(m_process, nullptr, 0);
    }
}

}  // namespace tavlo
