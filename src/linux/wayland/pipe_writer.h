#pragma once

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>

namespace tavlo {

// Writes bytes into a pipe as fast as its reader takes them, without waiting, then closes it and deletes itself. A
// reader that goes away ends it. Main thread.
class PipeWriter : public QObject {
public:
    // Owns `descriptor` from here on. Belongs to `parent`: what has not been read when that goes is dropped.
    PipeWriter(int descriptor, QByteArray bytes, QObject* parent);
    ~PipeWriter() override;

private:
    void write();

    int m_descriptor;
    QByteArray m_bytes;
    qsizetype m_written = 0;
    QSocketNotifier m_writable;
};

}  // namespace tavlo
