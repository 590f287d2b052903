#pragma once

#include <QString>

#include <chrono>
#include <memory>

namespace tavlo {

// The plain log. Callable from any thread; returns at once and never fails to its caller.
class AppLog {
public:
    virtual ~AppLog() = default;
    virtual void appLog(const QString& message) = 0;
};

// A number as the log writes it: the shortest decimal that reads back as the same float, with at least one digit after
// the point. Any thread.
QString shortestDecimal(float value);

// The log as a text file. Lines are stamped on the caller's thread and written by one thread of the log's own, in
// the order of the calls, so that a slow or full disk never delays the caller. Whatever cannot be written is dropped
// without a word. The thread starts with the first line and sleeps, without waking up, between lines.
class FileLog : public AppLog {
public:
    // A log larger than this many bytes starts over, empty, at the next line.
    static constexpr qint64 kLargestSize = 512'000;
    // How long the end of the process waits for lines that are not written yet.
    static constexpr std::chrono::milliseconds kDrainTime{1000};

    // `path` is only a name until the first line; its folder is made by others.
    explicit FileLog(const QString& path, std::chrono::milliseconds drainTime = kDrainTime);
    // Writes what is left, within the drain time.
    ~FileLog() override;
    FileLog(const FileLog&) = delete;
    FileLog& operator=(const FileLog&) = delete;

    void appLog(const QString& message) override;

private:
    // Shared with the thread, which may outlast the log when a disk does not answer.
    struct Queue;

    std::shared_ptr<Queue> m_queue;
    std::chrono::milliseconds m_drainTime;
};

}  // namespace tavlo
