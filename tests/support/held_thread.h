#pragma once

#include "platform/text_literals.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/syscall.h>
#include <unistd.h>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

namespace tavlo {

// Holds a thread of this process up where it is, as a write to a dead network disk does.
class HeldThread {
public:
    explicit HeldThread(const QByteArray& name)
    {
        EXPECT_EQ(::pipe(m_gate.data()), 0);
        m_gateOfHandler = m_gate[0];
        struct sigaction action = {};
        action.sa_handler = [](int) {
            m_isHeld = true;
            char byte = 0;
            static_cast<void>(!::read(m_gateOfHandler, &byte, 1));
        };
        ::sigaction(SIGUSR1, &action, &m_oldAction);
        m_task = taskOf(name);
        m_isHeld = false;
        ::syscall(SYS_tgkill, ::getpid(), m_task, SIGUSR1);
        while (!m_isHeld) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    HeldThread(const HeldThread&) = delete;
    HeldThread& operator=(const HeldThread&) = delete;
    ~HeldThread()
    {
        letGo();
        ::sigaction(SIGUSR1, &m_oldAction, nullptr);
        ::close(m_gate[0]);
        ::close(m_gate[1]);
    }

    // Returns when the thread has ended.
    void letGo()
    {
        EXPECT_EQ(::write(m_gate[1], "x", 1), 1);
        while (QFileInfo::exists(u"/proc/self/task/%1"_s.arg(m_task))) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    // The thread of that name, once it waits for something.
    static pid_t taskOf(const QByteArray& name)
    {
        const QDir tasks(u"/proc/self/task"_s);
        while (true) {
            for (const QString& task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
                QFile status(tasks.filePath(task + u"/stat"_s));
                if (status.open(QIODevice::ReadOnly) && status.readAll().contains('(' + name + ") S ")) {
                    return task.toInt();
                }
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

private:
    static inline std::atomic<bool> m_isHeld = false;
    static inline int m_gateOfHandler = -1;

    std::array<int, 2> m_gate{};
    struct sigaction m_oldAction = {};
    pid_t m_task = 0;
};

}  // namespace tavlo
