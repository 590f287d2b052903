#pragma once

#include "platform/result.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

namespace tavlo {

// Owns an open file descriptor, or none.
class Descriptor {
public:
    explicit Descriptor(int value = -1) : m_value(value) {}
    Descriptor(Descriptor&& other) noexcept;
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor() { static_cast<void>(close()); }

    int value() const { return m_value; }
    bool isOpen() const { return m_value >= 0; }

    // False, with errno set, when the disk tells only now that it did not take everything. Does nothing when closed.
    bool close();

    // The size in bytes; none where it is no regular file.
    std::optional<qint64> regularSize() const;

private:
    int m_value;
};

// Opens a file; a new one is for its owner only. Never waits for the other end of a pipe, is not inherited by children
// and never makes a terminal this process' own. Not open, with errno set, on failure.
[[nodiscard]] Descriptor openFile(const QString& path, int flags);

// Writes all of `bytes` at the file's position. False, with errno set, when only some of them, or none, were taken.
[[nodiscard]] bool writeAll(const Descriptor& file, QByteArrayView bytes);

// The content of a regular file of at most `largestSize` bytes; none when there is no such file, it is larger, or it
// cannot be read. Never waits on a pipe or device that stands in a file's place. Any thread.
std::optional<QByteArray> readFile(const QString& path, qint64 largestSize);

// Replaces the content of the text file `path` in place, so that a link stays a link and the old content never
// vanishes before the new one is safe: room is reserved first, by blanks at the end, which no reader of JSON minds;
// then the text is written over in one go; the blanks left over are cut off last. On failure, such as a full disk,
// the old content stays, and a file that was not there before is not left behind. The file becomes readable by its
// owner only. Returns whether the text was written. Any thread.
bool writeTextInPlace(const QString& path, const QByteArray& text);

// Puts a file of `bytes`, readable by its owner only, in the place of `path`: it is written beside it and renamed, so
// that the old file is whole until the new one is. Does not wait for the disk to have taken it, which may take longer
// than a user should notice. Fails with the system's error; the old file then stays. Any thread.
[[nodiscard]] Result<void> replaceFile(const QString& path, const QByteArray& bytes);

// Appends `bytes` to a file, which is made, for its owner only, where there is none: all of them, or none to a regular
// file that a full disk cannot hold. A pipe without a reader takes nothing and holds nobody up. Returns whether all was
// written. Any thread.
bool appendToFile(const QString& path, const QByteArray& bytes);

// Makes a folder and those above it, where they are missing; the folder itself is for its owner only then. Fails with
// the system's error. Any thread.
[[nodiscard]] Result<void> makeFolder(const QString& path);

}  // namespace tavlo
