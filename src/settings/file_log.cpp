#include "settings/file_log.h"

#include "platform/text_literals.h"

#include <QByteArray>
#include <QDateTime>
#include <QFile>

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace tavlo {

struct FileLog::Queue {
    explicit Queue(const QString& file) : path(QFile::encodeName(file)) {}

    void run();
    void writeLine(const QByteArray& line) const;

    const QByteArray path;
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<QByteArray> lines;
    bool running = false;  // The thread has been started and has not ended.
    bool ending = false;
};

void FileLog::Queue::run()
{
    pthread_setname_np(pthread_self(), "tavlo.log");
    std::unique_lock guard(mutex);
    while (true) {
        changed.wait(guard, [this] { return ending || !lines.empty(); });
        if (lines.empty()) {
            break;
        }
        const QByteArray line = std::move(lines.front());
        lines.pop_front();
        guard.unlock();
        writeLine(line);
        guard.lock();
    }
    running = false;
    changed.notify_all();
}

void FileLog::Queue::writeLine(const QByteArray& line) const
{
    struct stat status = {};
    if (::stat(path.constData(), &status) == 0 && status.st_size > kLargestSize) {
        ::unlink(path.constData());
    }
    // What the log tells about its user is for the user only. A pipe without a reader must not hold up the queue.
    const int file =
        ::open(path.constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, S_IRUSR | S_IWUSR);
    if (file < 0) {
        return;
    }
    const bool isRegular = ::fstat(file, &status) == 0 && S_ISREG(status.st_mode);
    qint64 done = 0;
    while (done < line.size()) {
        const ssize_t count = ::write(file, line.constData() + done, static_cast<std::size_t>(line.size() - done));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            break;
        }
        done += count;
    }
    if (done < line.size() && isRegular) {
        // A full disk: half a line would swallow the start of the next one.
        static_cast<void>(!::ftruncate(file, status.st_size));
    }
    ::close(file);
}

FileLog::FileLog(const QString& path) : m_queue(std::make_shared<Queue>(path)) {}

FileLog::~FileLog()
{
    std::unique_lock guard(m_queue->mutex);
    m_queue->ending = true;
    m_queue->changed.notify_all();
    m_queue->changed.wait_for(guard, kDrainTime, [this] { return !m_queue->running; });
}

void FileLog::appLog(const QString& message)
{
    const QString stamp = QDateTime::currentDateTime().toString(u"yyyy-MM-dd HH:mm:ss"_s);
    QByteArray line = (stamp + QLatin1Char(' ') + message + QLatin1Char('\n')).toUtf8();
    const std::lock_guard guard(m_queue->mutex);
    if (!m_queue->running) {
        try {
            std::thread([queue = m_queue] { queue->run(); }).detach();
        } catch (const std::system_error&) {
            return;  // The system has no thread to spare: the line is dropped.
        }
        m_queue->running = true;
    }
    m_queue->lines.push_back(std::move(line));
    m_queue->changed.notify_all();
}

}  // namespace tavlo
