#include "settings/app_log.h"

#include "platform/text_literals.h"
#include "posix/file_access.h"

#include <QByteArray>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#include <pthread.h>

#include <array>
#include <charconv>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace tavlo {

QString shortestDecimal(float value)
{
    std::array<char, 64> buffer{};  // the longest float in fixed notation has 48 characters
    const auto [end, error] =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed);
    const auto length = error == std::errc() ? end - buffer.data() : 0;
    QString text = QString::fromLatin1(buffer.data(), static_cast<qsizetype>(length));
    if (!text.contains(QLatin1Char('.'))) {
        text += u".0"_s;
    }
    return text;
}

struct FileLog::Queue {
    explicit Queue(const QString& file) : path(file) {}

    void run();
    void writeLine(const QByteArray& line) const;

    const QString path;
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
    if (QFileInfo(path).size() > kLargestSize) {
        QFile::remove(path);
    }
    appendToFile(path, line);
}

FileLog::FileLog(const QString& path, std::chrono::milliseconds drainTime)
    : m_queue(std::make_shared<Queue>(path)), m_drainTime(drainTime)
{
}

FileLog::~FileLog()
{
    std::unique_lock guard(m_queue->mutex);
    m_queue->ending = true;
    m_queue->changed.notify_all();
    m_queue->changed.wait_for(guard, m_drainTime, [this] { return !m_queue->running; });
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
