#include "linux/wayland/pipe_writer.h"

#include <cerrno>
#include <csignal>
#include <utility>

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

namespace tavlo {

namespace {

// Like write(), but a reader that has gone is an error (EPIPE) in place of a signal that ends the process.
ssize_t writeWithoutSignal(int descriptor, const char* bytes, std::size_t size)
{
    sigset_t brokenPipe;
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE);
    sigset_t before;
    pthread_sigmask(SIG_BLOCK, &brokenPipe, &before);
    const ssize_t count = write(descriptor, bytes, size);
    const int error = errno;
    if (count < 0 && error == EPIPE) {
        const timespec atOnce{};
        sigtimedwait(&brokenPipe, nullptr, &atOnce);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    errno = error;
    return count;
}

}  // namespace

PipeWriter::PipeWriter(int descriptor, QByteArray bytes, QObject* parent)
    : QObject(parent),
      m_descriptor(descriptor),
      m_bytes(std::move(bytes)),
      m_writable(descriptor, QSocketNotifier::Write)
{
    fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) | O_NONBLOCK);
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    connect(&m_writable, &QSocketNotifier::activated, this, [this] { write(); });
}

PipeWriter::~PipeWriter()
{
    m_writable.setEnabled(false);
    close(m_descriptor);
}

void PipeWriter::write()
{
    while (m_written < m_bytes.size()) {
        const ssize_t count = writeWithoutSignal(m_descriptor, m_bytes.constData() + m_written,
                                                 static_cast<std::size_t>(m_bytes.size() - m_written));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0 && errno == EAGAIN) {
            return;
        }
        if (count < 0) {
            break;
        }
        m_written += count;
    }
    m_writable.setEnabled(false);
    deleteLater();
}

}  // namespace tavlo
